#include "tesselkit/platform/stack_room.h"

#include <pthread.h>
#include <sys/auxv.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

using tesselkit::platform::StackBounds;

namespace {

constexpr std::size_t kReserve = 256 * 1024;

constinit thread_local StackBounds stack_bounds;

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

}  // namespace

const StackBounds& tesselkit::platform::ThreadStack() noexcept {
  if (!stack_bounds.asked) stack_bounds = FindStackBounds();
  return stack_bounds;
}

bool tesselkit::platform::StackHasRoom() noexcept {
  const StackBounds& stack = ThreadStack();
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  const std::size_t reserve = std::min(kReserve, (stack.high - stack.low) / 4);
  return !stack.known || here >= stack.low + stack.guard + reserve || here < stack.low;
}
