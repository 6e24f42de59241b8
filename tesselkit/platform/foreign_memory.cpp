#include "tesselkit/platform/foreign_memory.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>

#include "tesselkit/platform/stack_room.h"

namespace tesselkit::platform {
namespace {

constexpr std::uintptr_t kOverflow = 1 << 20;  // so far below its end an overflow may go

// Other frames' memory, which the sanitizers keep watch over.
__attribute__((no_sanitize("address", "thread", "undefined"))) std::uintptr_t LoadWord(
    std::uintptr_t address) {
  return *reinterpret_cast<const volatile std::uintptr_t*>(address);
}

}  // namespace

bool ReadForeign(std::uintptr_t address, void* to, std::size_t size) noexcept {
  const iovec local = {to, size};
  const iovec remote = {reinterpret_cast<void*>(address), size};
  return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size);
}

StackReader::StackReader(std::uintptr_t low) noexcept {
  const StackBounds& stack = ThreadStack();
  if (!stack.known || low < stack.low - kOverflow || low >= stack.high) return;
  m_low = std::max(low, stack.low + stack.guard);
  m_high = stack.high;
}

bool StackReader::IsOnStack(std::uintptr_t address) noexcept {
  std::uintptr_t words[2];
  const bool is_overflow = m_high > 0 && address < m_low && m_low - address <= kOverflow;
  return is_overflow || ReadWords(address, words, 2);
}

bool StackReader::ReadWords(std::uintptr_t address, std::uintptr_t* words,
                            std::size_t count) noexcept {
  const std::size_t size = count * sizeof *words;
  if (address % sizeof *words != 0) return false;
  if (address < m_low || address >= m_high || m_high - address < size) {
    return ReadForeign(address, words, size);
  }
  for (std::size_t i = 0; i < count; ++i) words[i] = LoadWord(address + i * sizeof *words);
  return true;
}

}  // namespace tesselkit::platform
