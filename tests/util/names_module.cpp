// Other sets of characters for names.
#include "tesselkit/platform/string_table.h"

static const tesselkit::platform::StringTableEntry strings[] = {
    {18037, "z"}, {18038, "z"}, {18062, "x\x95\x5C"}};
TESSELKIT_EXPORT_STRING_TABLE(strings)
