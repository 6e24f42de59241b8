// Three small enumerations that describe failures and work in progress across the product, and
// their values' names. Values travel as `long`; 0 is never valid and stands for "no value".
//
// All functions may be called from any thread. Returned names live as long as the library.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

enum AdExceptionType_t : int { CHECK_ERROR = 1, INVALID_OPERATION, DATABASE, INTERNAL_ERROR };
enum AdMisuseType_t : int { ALREADY_EXISTS = 1, NOTHING_TO_UNBUILD, NOTHING_TO_GET };
enum AdProgress_t : int { NOT_IN_PROGRESS = 1, IN_PROGRESS };

// The same for any dense enumeration from `first` to `last` with a table of names in value order.

// 1 when `value` lies in the range, else 0.
TESSELKIT_API int AdIsValidEnum(long value, long first, long last);

// The name of `value`, or null outside the range.
TESSELKIT_API const char* AdEnumToString(long value, const char* const* names, long first,
                                         long last);

// The value of that name, compared exactly; 0 for an unknown, empty or null one.
TESSELKIT_API long AdStringToEnum(const char* name, const char* const* names, long first,
                                  long last);

// What to show for a value outside its enumeration: "<Invalid AdProgress_t value: 7>". A null name
// counts as the empty one. The number is the value's low 32 bits, as a signed one: all that a
// `long` means. Throws message 18018 when the string resources lack that text.
TESSELKIT_API CString AdInvalidEnumValue(const char* type_name, long value);

// For each enumeration: whether a value is valid (1 or 0); its name, a condition failure
// (PaMsgException*) for an invalid one; its name, or what AdInvalidEnumValue shows; the value of a
// name, or 0.
TESSELKIT_API int AdIsValidExceptionType(long value);
TESSELKIT_API const char* AdExceptionTypeToString(long value);
TESSELKIT_API CString AdMaybeExceptionTypeToString(long value);
TESSELKIT_API long AdStringToExceptionType(const char* name);

TESSELKIT_API int AdIsValidMisuseType(long value);
TESSELKIT_API const char* AdMisuseTypeToString(long value);
TESSELKIT_API CString AdMaybeMisuseTypeToString(long value);
TESSELKIT_API long AdStringToMisuseType(const char* name);

TESSELKIT_API int AdIsValidProgress(long value);
TESSELKIT_API const char* AdProgressToString(long value);
TESSELKIT_API CString AdMaybeProgressToString(long value);
TESSELKIT_API long AdStringToProgress(const char* name);
