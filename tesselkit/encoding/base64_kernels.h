// The bulk work of the Base64 codec: whole groups of three bytes to four characters and back, by
// the widest means that the processor has. Every kernel gives the same results.
//
// The kernel is chosen once, when the library is loaded. Kernels allocate nothing, keep nothing and
// may run on any thread; SetBase64Kernel is for tests and benchmarks, while nothing else runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "tesselkit/platform/export.h"

namespace tesselkit::encoding {

// How far a decoder got.
struct Base64Decoded {
  const char* stop;           // the first byte that was not taken: the end, "=", or an invalid one
  char* bytes_end;            // behind the bytes of the whole groups
  std::uint32_t accumulator;  // the 6-bit values of the last group, which is not whole
  int count;                  // how many these are, 0 to 3
};

struct Base64Kernel {
  const char* name;

  // Writes `groups` groups as characters, a line feed behind each `groups_per_line` of them (0:
  // nowhere), and returns the end of the text. Neither reads nor writes anything else.
  char* (*encode)(const char* bytes, std::size_t groups, std::size_t groups_per_line, char* text);

  // Reads the text up to its first byte that is neither of the alphabet nor a line feed. Beyond
  // the three bytes for each four characters, kBase64Slack bytes may be overwritten.
  Base64Decoded (*decode)(const char* text, const char* end, char* bytes);
};

inline constexpr std::size_t kBase64Slack = 64;

// The kernels that this processor can run, the best one first and the plain one last.
TESSELKIT_API std::span<const Base64Kernel* const> UsableBase64Kernels();

TESSELKIT_API const Base64Kernel& CurrentBase64Kernel();
TESSELKIT_API void SetBase64Kernel(const Base64Kernel& kernel);

}  // namespace tesselkit::encoding
