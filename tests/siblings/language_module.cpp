// A language module with one of the library's texts.
#include "tesselkit/platform/string_table.h"

static const tesselkit::platform::StringTableEntry entries[] = {{18017, TEST_CORE_NAME}};
TESSELKIT_EXPORT_STRING_TABLE(entries)
