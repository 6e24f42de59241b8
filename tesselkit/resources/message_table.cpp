#include "tesselkit/platform/string_table.h"

namespace {

constexpr tesselkit::platform::StringTableEntry kMessages[] = {
#define TESSELKIT_MESSAGE(id, name, text) {id, text},
#include "tesselkit/resources/message_table.inc"
#undef TESSELKIT_MESSAGE
};

}  // namespace

TESSELKIT_EXPORT_STRING_TABLE(kMessages)
