// Values as text, in the fixed forms of the product's messages, traces and generated SQL.
//
// Results are new texts of the caller's. No value fails; when memory runs out, CMemoryException*
// is thrown. The functions may be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// "0x" and the address in lower-case hexadecimal: eight digits at least, all that are needed.
TESSELKIT_API CString AdHex(const void* p);

// Fixed-point decimal text with six digits after the point, never cut and never with an exponent:
// "-0.250000". An infinity gives "inf" or "-inf", no number "nan".
TESSELKIT_API CString AdStrDbl(double x);

// The literal that stands for `s` in SQL: NULL for null and "", otherwise the text between single
// quotes, each single quote in it written twice. Nothing else is escaped.
TESSELKIT_API CString AdSqlStr(const char* s);

// The text between double quotes, unchanged; for null and for "" the texts of messages 18041 and
// 18042, without quotes. Throws message 18018 when the string resources lack these.
TESSELKIT_API CString AdQuotedStr(const char* s);
