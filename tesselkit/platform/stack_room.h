// How much of its stack a thread has left, for code that goes as deep as foreign data say; and a
// reserve at the stack's floor, for what has to run there when the stack has overflowed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

// The calling thread's own stack.
struct StackBounds {
  std::uintptr_t low = 0;   // its lowest address
  std::uintptr_t high = 0;  // its end
  std::size_t guard = 0;    // so much from `low` on must not be touched, the reserve with it
  std::size_t reserve = 0;  // so much of the guard's end is the reserve
  bool asked = false;
  bool known = false;
  bool reserve_asked = false;
  bool reserve_mapped = false;  // below what the host gave, rather than taken from it

  std::uintptr_t Floor() const { return low + guard; }
};

// Asks the host at a thread's first call, which may allocate; later calls do not.
const StackBounds& ThreadStack() noexcept;

// Whether the calling thread may go deeper: false when less than 256 KiB of its stack are left, or
// less than a quarter of a smaller one. On a stack that is not the thread's own, and where the host
// does not tell, always true. Never throws; may be called from any thread.
TESSELKIT_API bool StackHasRoom() noexcept;

// Takes the lowest 64 KiB of the calling thread's stack from use (an eighth of a small one), or
// does so again. False, with nothing done, while the thread uses what lies there, may use it, or
// runs on another stack. A thread without a reserve goes without.
bool CloseStackReserve() noexcept;

// Lets the thread use the reserve until it is closed again. Returns whether it was closed. For
// handlers of signals.
bool OpenStackReserve() noexcept;

// Closes what was opened just now, whatever uses it.
void UndoOpenStackReserve() noexcept;

// Gives the reserve back for good, since a later thread may get the stack. For handlers of signals.
void EndStackReserve() noexcept;

}  // namespace tesselkit::platform
