#include "tesselkit/platform/stack_room.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t kReserve = 256 * 1024;

struct StackBounds {
  std::uintptr_t low = 0;   // the lowest address of the stack
  std::uintptr_t stop = 0;  // where going deeper ends
  bool known = false;
};

constinit thread_local StackBounds stack_bounds;

StackBounds FindStackBounds() noexcept {
  StackBounds bounds;
  bounds.known = true;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return bounds;
  void* lowest = nullptr;
  std::size_t size = 0;
  std::size_t guard = 0;
  if (pthread_attr_getstack(&attributes, &lowest, &size) == 0 &&
      pthread_attr_getguardsize(&attributes, &guard) == 0) {
    bounds.low = reinterpret_cast<std::uintptr_t>(lowest);
    bounds.stop = bounds.low + guard + std::min(kReserve, size / 4);
  }
  pthread_attr_destroy(&attributes);
  return bounds;
}

}  // namespace

bool tesselkit::platform::StackHasRoom() noexcept {
  if (!stack_bounds.known) stack_bounds = FindStackBounds();
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  return here >= stack_bounds.stop || here < stack_bounds.low;
}
