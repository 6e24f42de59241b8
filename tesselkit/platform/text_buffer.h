// Writing a text of known length straight into the CString that is to hold it.
#pragma once

#include <cstddef>
#include <limits>

#include "tesselkit/platform/cstring.h"

namespace tesselkit::platform {

// A length or a count as texts and collections have it. One that none of them can have is memory
// that runs out.
inline int LengthOf(std::size_t count) {
  constexpr auto kLongest = static_cast<std::size_t>(std::numeric_limits<int>::max());
  if (count > kLongest) AfxThrowMemoryException();
  return static_cast<int>(count);
}

// Makes `text` exactly `length` bytes long, which the caller then writes.
inline char* BufferOf(CString& text, std::size_t length) {
  return text.GetBufferSetLength(LengthOf(length));
}

}  // namespace tesselkit::platform
