// Writing a text of known length straight into the CString that is to hold it.
#pragma once

#include <cstddef>
#include <limits>

#include "tesselkit/platform/cstring.h"

namespace tesselkit::encoding {

// Makes `text` exactly `length` bytes long, which the caller then writes. A length that no CString
// can have is memory that runs out.
inline char* BufferOf(CString& text, std::size_t length) {
  constexpr auto kLongest = static_cast<std::size_t>(std::numeric_limits<int>::max());
  if (length > kLongest) AfxThrowMemoryException();
  return text.GetBufferSetLength(static_cast<int>(length));
}

}  // namespace tesselkit::encoding
