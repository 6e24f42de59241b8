// The attributes of files and directories, by name.
#pragma once

#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;   // nobody may write it
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;  // it is a directory
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;     // none of the others
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

// The attributes of what the name leads to, INVALID_FILE_ATTRIBUTES when it leads to nothing or
// that cannot be told. Both `\` and `/` separate components; a null name counts as the empty one,
// which leads to nothing. May be called from any thread.
TESSELKIT_API DWORD GetFileAttributesA(const char* name);

namespace tesselkit::platform {

// Whether the name, as above, leads to a named pipe: opening one waits for its other end.
TESSELKIT_API bool IsPipe(const char* name);

}  // namespace tesselkit::platform
