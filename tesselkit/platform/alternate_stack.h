// The stack on which a thread's faults are dealt with.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tesselkit::platform {

// Gives the calling thread an alternate stack of 256 KiB with a guard below it, for as long as the
// object lives. Afterwards the thread has the one it had before, unless somebody has set another.
// What cannot be had is gone without.
class AlternateStack {
 public:
  AlternateStack() noexcept;
  ~AlternateStack();
  AlternateStack(const AlternateStack&) = delete;
  AlternateStack& operator=(const AlternateStack&) = delete;

 private:
  void* m_memory = nullptr;
  void* m_before = nullptr;  // where that one begins; null for none
  std::size_t m_size_before = 0;
  int m_flags_before = 0;
};

// Whether that stack of the calling thread is used up, with its stack pointer there. For handlers
// of signals.
bool IsAlternateStackFull(std::uintptr_t stack_pointer) noexcept;

}  // namespace tesselkit::platform
