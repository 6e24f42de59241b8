#include "tesselkit/platform/alternate_stack.h"

#include <signal.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t kSize = 256 * 1024;
constexpr std::size_t kGuard = 64 * 1024;  // room for a frame to miss the stack by

// Where the guard lies, for handlers of signals; 0 for none.
constinit thread_local std::uintptr_t guard_start __attribute__((tls_model("initial-exec"))) = 0;

bool IsSet(const void* start) {
  stack_t current = {};
  return sigaltstack(nullptr, &current) == 0 && current.ss_sp == start;
}

}  // namespace

namespace tesselkit::platform {

AlternateStack::AlternateStack() noexcept {
  void* const memory = mmap(nullptr, kGuard + kSize, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) return;
  mprotect(memory, kGuard, PROT_NONE);
  const stack_t stack = {static_cast<char*>(memory) + kGuard, 0, kSize};
  stack_t before = {};
  if (sigaltstack(&stack, &before) != 0) {
    munmap(memory, kGuard + kSize);
    return;
  }
  m_memory = memory;
  m_before = before.ss_sp;
  m_size_before = before.ss_size;
  m_flags_before = before.ss_flags;
  guard_start = reinterpret_cast<std::uintptr_t>(memory);
}

AlternateStack::~AlternateStack() {
  if (m_memory == nullptr) return;
  guard_start = 0;
  const stack_t before = {m_before, m_flags_before, m_size_before};
  const bool is_ours = IsSet(static_cast<char*>(m_memory) + kGuard);
  if (!is_ours || sigaltstack(&before, nullptr) == 0) munmap(m_memory, kGuard + kSize);
}

bool IsAlternateStackFull(std::uintptr_t stack_pointer) noexcept {
  return guard_start != 0 && stack_pointer - guard_start < kGuard;
}

}  // namespace tesselkit::platform
