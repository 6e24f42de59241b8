#include "tesselkit/platform/stack_room.h"

#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

constexpr std::size_t kReserve = 256 * 1024;

constinit thread_local tesselkit::platform::StackBounds stack_bounds;

tesselkit::platform::StackBounds FindStackBounds() noexcept {
  tesselkit::platform::StackBounds bounds;
  bounds.asked = true;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return bounds;
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

const tesselkit::platform::StackBounds& tesselkit::platform::ThreadStack() noexcept {
  if (!stack_bounds.asked) stack_bounds = FindStackBounds();
  return stack_bounds;
}

bool tesselkit::platform::StackHasRoom() noexcept {
  const StackBounds& stack = ThreadStack();
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  const std::size_t reserve = std::min(kReserve, (stack.high - stack.low) / 4);
  return !stack.known || here >= stack.low + stack.guard + reserve || here < stack.low;
}
