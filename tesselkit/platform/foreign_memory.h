// Reading memory that may not be there.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tesselkit::platform {

// Copies `size` bytes from `address`. False, with `to` unset, when not all of them can be read.
bool ReadForeign(std::uintptr_t address, void* to, std::size_t size) noexcept;

// Reads the calling thread's stack, from `low` up. What lies there is known to be readable; what
// lies elsewhere is read through the system.
class StackReader {
 public:
  explicit StackReader(std::uintptr_t low) noexcept;

  // Whether the stack can be read from `address` on; also when the stack has just overflowed there.
  bool IsOnStack(std::uintptr_t address) noexcept;

  // The words at `address` and behind it. False when they cannot be read or are not aligned.
  bool ReadWords(std::uintptr_t address, std::uintptr_t* words, std::size_t count) noexcept;

 private:
  std::uintptr_t m_low = 1;
  std::uintptr_t m_high = 0;
};

}  // namespace tesselkit::platform
