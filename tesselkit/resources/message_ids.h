// The ids of the library's messages, by name. The texts stand in message_table.inc.
#pragma once

namespace tesselkit::message_id {

enum Id : int {
#define TESSELKIT_MESSAGE(id, name, text) name = id,
#include "tesselkit/resources/message_table.inc"
#undef TESSELKIT_MESSAGE
};

}  // namespace tesselkit::message_id
