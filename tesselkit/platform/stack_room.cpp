#include "tesselkit/platform/stack_room.h"

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

using tesselkit::platform::StackBounds;

namespace {

constexpr std::size_t kRoom = 256 * 1024;
constexpr std::size_t kMostReserve = 64 * 1024;

// At fixed distances from the thread's pointer, for handlers of signals.
constinit thread_local StackBounds stack_bounds __attribute__((tls_model("initial-exec")));
constinit thread_local bool is_reserve_closed __attribute__((tls_model("initial-exec"))) = false;

// The first thread's stack where no /proc shows it: the program's name stands at its very top, and
// its limit says how far down it may grow.
StackBounds FirstThreadsBounds() noexcept {
  StackBounds bounds;
  bounds.asked = true;
  const auto* const name = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  rlimit limit;
  if (name == nullptr || gettid() != getpid() || getrlimit(RLIMIT_STACK, &limit) != 0) {
    return bounds;
  }
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto end = reinterpret_cast<std::uintptr_t>(name + std::strlen(name));
  bounds.high = (end + page) / page * page;
  bounds.low = bounds.high - std::min<std::uintptr_t>(limit.rlim_cur, bounds.high);
  bounds.known = limit.rlim_cur != RLIM_INFINITY;
  return bounds;
}

StackBounds FindStackBounds() noexcept {
  StackBounds bounds;
  bounds.asked = true;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return FirstThreadsBounds();
  void* lowest = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attributes, &lowest, &size) == 0 &&
      pthread_attr_getguardsize(&attributes, &bounds.guard) == 0) {
    bounds.low = reinterpret_cast<std::uintptr_t>(lowest);
    bounds.high = bounds.low + size;
    bounds.known = true;
  }
  pthread_attr_destroy(&attributes);
  return bounds;
}

std::uintptr_t Here() {
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
}

void* ReserveOf(const StackBounds& stack) {
  return reinterpret_cast<void*>(stack.Floor() - stack.reserve);
}

std::size_t ReserveSize(const StackBounds& stack) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return std::min(kMostReserve, (stack.high - stack.low) / 8) / page * page;
}

// The first thread's stack grows as it is used and ends where it may not: there is nothing yet to
// take from. Pages that are no stack's stand in its way only where they lie.
bool MapReserveBelow(StackBounds& stack, std::size_t size) {
  if (stack.guard != 0) return false;
  void* const wanted = reinterpret_cast<void*>(stack.low - size);
  constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE;
  void* const mapped = mmap(wanted, size, PROT_NONE, kFlags, -1, 0);
  if (mapped == MAP_FAILED) return false;
  if (mapped != wanted) {  // an old kernel's answer
    munmap(mapped, size);
    return false;
  }
  stack.low -= size;
  return stack.reserve_mapped = true;
}

void MakeReserve(StackBounds& stack) {
  stack.reserve_asked = true;
  const std::size_t size = ReserveSize(stack);
  if (size == 0) return;
  void* const lowest = reinterpret_cast<void*>(stack.Floor());
  if (!MapReserveBelow(stack, size) && mprotect(lowest, size, PROT_NONE) != 0) return;
  stack.guard += size;
  stack.reserve = size;
  is_reserve_closed = true;
}

// Makes a stack that grows reach down to its reserve: where usable pages lie near, it does not.
__attribute__((no_sanitize("address", "thread", "undefined"))) void GrowToFloor(
    const StackBounds& stack) {
  *reinterpret_cast<volatile char*>(stack.Floor());
}

}  // namespace

namespace tesselkit::platform {

const StackBounds& ThreadStack() noexcept {
  if (!stack_bounds.asked) stack_bounds = FindStackBounds();
  return stack_bounds;
}

bool StackHasRoom() noexcept {
  const StackBounds& stack = ThreadStack();
  const std::uintptr_t here = Here();
  const std::size_t room = std::min(kRoom, (stack.high - stack.low) / 4);
  return !stack.known || here >= stack.Floor() + room || here < stack.low;
}

bool CloseStackReserve() noexcept {
  StackBounds& stack = stack_bounds;
  if (!ThreadStack().known) return true;
  if (is_reserve_closed || (stack.reserve_asked && stack.reserve == 0)) return true;
  const std::uintptr_t here = Here();
  if (here < stack.Floor() + 2 * ReserveSize(stack) || here >= stack.high) return false;
  if (stack.reserve_asked) {
    is_reserve_closed = mprotect(ReserveOf(stack), stack.reserve, PROT_NONE) == 0;
  } else {
    MakeReserve(stack);
  }
  return true;
}

bool OpenStackReserve() noexcept {
  const StackBounds& stack = stack_bounds;
  if (!is_reserve_closed) return false;
  if (stack.reserve_mapped) GrowToFloor(stack);
  is_reserve_closed = mprotect(ReserveOf(stack), stack.reserve, PROT_READ | PROT_WRITE) != 0;
  return !is_reserve_closed;
}

void UndoOpenStackReserve() noexcept {
  is_reserve_closed = mprotect(ReserveOf(stack_bounds), stack_bounds.reserve, PROT_NONE) == 0;
}

void EndStackReserve() noexcept {
  StackBounds& stack = stack_bounds;
  stack.reserve_asked = true;
  if (stack.reserve == 0) return;
  if (stack.reserve_mapped) {
    munmap(ReserveOf(stack), stack.reserve);
  } else {
    mprotect(ReserveOf(stack), stack.reserve, PROT_READ | PROT_WRITE);
  }
  stack.guard -= stack.reserve;
  if (stack.reserve_mapped) stack.low += stack.reserve;
  stack.reserve = 0;
  is_reserve_closed = false;
}

}  // namespace tesselkit::platform
