// Strict decimal parsing of 32-bit integers, and the check of date-time text.
//
// Null counts as the empty text. A text must not lie in the `problem` that it is checked into.
// Nothing is kept between calls, and the functions may be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// Converts `str`: one of "-+0123456789", then digits only, at most 11 letters in all.
// On success `value` is the number and `problem` is empty. On refusal `value` is 0 and `problem`
// is the full text of message 18044 (empty), 18045 (other characters), 18046 (more letters, or
// outside -2147483648 to 2147483647) or 18047 (a sign alone), tested in this order except that the
// value comes last. Never throws for bad text.
TESSELKIT_API void AdStrToLong(const char* str, long& value, CString& problem);

// The same as a result. Throws message 18055 (PaMsgException*), which carries the other's problem,
// where it refuses.
TESSELKIT_API long AdStrToLong(const char* str);

// Whether the product's date-time library takes `str` as a time in the form YYYY-MM-DD hh:mm:ss.
// When it does not, the result is 0 and `problem` the full text of message 18051; when it does,
// `problem` is left alone.
TESSELKIT_API int AdIsValidDateTimeString(const char* str, CString& problem);
