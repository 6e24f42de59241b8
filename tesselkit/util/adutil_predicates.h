// Tests on texts and characters, counts, and a bounded copy.
//
// A null text counts as the empty one. A letter is a character of the code page; a TCHAR is a
// byte. Every truth value is exactly 1 or 0. Nothing is allocated, each text is walked once, and
// the functions may be called from any thread. AdOccursIn and AdSafeStrcpy check their arguments
// and throw a condition failure (PaMsgException*, message 18019 or 18020) for broken ones; the
// others never fail.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"

// Whether two texts are the same, exactly or without regard to case (by _mbsicmp).
TESSELKIT_API int AdIsEqual(const char* a, const char* b);
TESSELKIT_API int AdIsUnequal(const char* a, const char* b);
TESSELKIT_API int AdIsEqualNoCase(const char* a, const char* b);
TESSELKIT_API int AdIsUnequalNoCase(const char* a, const char* b);

// Whether the first character at `a_char` is one of `chars`. `a_char` must be neither null nor at
// a NUL.
TESSELKIT_API int AdOccursIn(const char* a_char, const char* chars);

// The number of characters; for a text of two two-byte characters, 2.
TESSELKIT_API long AdNumberOfLetters(const char* s);

// The number of bytes that a copy of the text needs, its terminator included; 0 for "" and null.
TESSELKIT_API long AdNumberOfTCHARS(const char* s);

// Copies as many whole leading characters of `source` as fit in one byte less than
// `destination_size_in_tchars`, and a NUL. No byte at or past that size is written. Neither
// pointer may be null, and the size must be at least 1; otherwise nothing is written at all.
TESSELKIT_API void AdSafeStrcpy(const char* const source, char* const destination,
                                long destination_size_in_tchars);

// Whether an element equals `s`; a null `s` equals an empty element.
TESSELKIT_API int AdIsStringInArray(const char* s, CStringArray& array);
TESSELKIT_API int AdIsStringInArrayNoCase(const char* s, CStringArray& array);
