// File names of the platform as the host wants them.
//
// A name's components are separated by `\` or `/`, by characters of the code page: a trail byte
// that looks like one separates nothing. A null name counts as the empty one.
#pragma once

#include <string_view>

#include "tesselkit/platform/cstring.h"

namespace tesselkit::platform {

// The name with `/` for every separator.
TESSELKIT_API CString HostPath(const char* name);

// The name from the root, separators as they are; a relative one is taken from the directory the
// process is in. The name itself when the host cannot tell that directory.
TESSELKIT_API CString FullPath(const char* name);

// What stands behind the last separator.
TESSELKIT_API std::string_view LastComponent(std::string_view path) noexcept;

}  // namespace tesselkit::platform
