// How much of its stack a thread has left: for code that goes as deep as foreign data say.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

// The calling thread's own stack.
struct StackBounds {
  std::uintptr_t low = 0;   // its lowest address
  std::uintptr_t high = 0;  // its end
  std::size_t guard = 0;    // so much from `low` on must not be touched
  bool asked = false;
  bool known = false;
};

// Asks the host at a thread's first call, which may allocate; later calls do not.
const StackBounds& ThreadStack() noexcept;

// Whether the calling thread may go deeper: false when less than 256 KiB of its stack are left, or
// less than a quarter of a smaller one. On a stack that is not the thread's own, and where the host
// does not tell, always true. Never throws; may be called from any thread.
TESSELKIT_API bool StackHasRoom() noexcept;

}  // namespace tesselkit::platform
