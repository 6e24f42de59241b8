// The core string primitives: whether a text is given, whether two texts begin with the same
// character, and a number's decimal text.
//
// A null pointer is an empty text but no NUL character. Every truth value is exactly 1 or 0. The
// functions look at the first character of each argument at most, allocate nothing but AdStr's
// result, never fail, and may be called from any thread.
#pragma once

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/export.h"

// Whether both texts begin with the same character of the code page; two nulls do, and two texts
// that are both at their NUL.
TESSELKIT_API int AdIsSameChar(const char* a, const char* b);

// 1 when `p` points at a terminating NUL; 0 for null.
inline int AdIsCharNul(const char* const p) {
  return p != nullptr && *p == '\0' ? 1 : 0;
}

// 1 when `s` is neither null nor ""; AdIsEmpty is its negation.
inline int AdIsNonEmpty(const char* const s) {
  return s != nullptr && *s != '\0' ? 1 : 0;
}
inline int AdIsEmpty(const char* const s) {
  return AdIsNonEmpty(s) ? 0 : 1;
}

// "-12", "0", "2147483647".
TESSELKIT_API CString AdStr(long n);
