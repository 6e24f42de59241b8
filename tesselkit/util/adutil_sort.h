// Sorting an array of texts in place.
//
// Texts are compared up to their first NUL. Nobody else may use the array meanwhile. When memory
// runs out, CMemoryException* is thrown and the array is as it was.
#pragma once

#include "tesselkit/platform/collections.h"
#include "tesselkit/platform/export.h"

// Sorts `array`: with `collate` nonzero as the locale collates (_mbscoll); otherwise by the codes
// of the characters (_mbscmp), or, with `case_sensitive` zero, by these with letters as lower case
// (_mbsicmp). `ascending` zero turns the order round. Where texts that compare equal end is not
// defined.
TESSELKIT_API void AdSortStrings(CStringArray& array, int case_sensitive, int ascending,
                                 int collate);
