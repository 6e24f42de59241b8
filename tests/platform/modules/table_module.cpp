// A module that carries a string table and links nothing of the library.
#include "tesselkit/platform/string_table.h"

#define TEN(text) text text text text text text text text text text

static const tesselkit::platform::StringTableEntry entries[] = {
    {900, "nine hundred"},
    {5, "first five"},
    {4294967295u, "last"},
    {5, "second five"},
    {6, nullptr},
    {7, ""},
    {8, TEN(TEN("15 characters: "))},    // 1500 characters
    {9, "x" TEN(TEN(TEN("\x93\xFA")))},  // a one-byte character and 1000 of two bytes
    {1, TEST_MODULE_NAME},
};
TESSELKIT_EXPORT_STRING_TABLE(entries)
