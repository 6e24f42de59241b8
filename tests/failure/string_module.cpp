#include "tesselkit/platform/string_table.h"

#define TEN(text) text text text text text text text text text text
#define HUNDRED(text) TEN(TEN(text))

static const tesselkit::platform::StringTableEntry strings[] = {
    {1, HUNDRED("0123456789") TEN(TEN("abcde"))},  // 1500 letters
    {2, ""},
    {3, HUNDRED("0123456789") TEN("ab") "cd\x83\x5C."},  // byte 1023 leads a pair on page 932
    {4, "four"},
};
TESSELKIT_EXPORT_STRING_TABLE(strings)
