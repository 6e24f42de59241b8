// The allocator of the platform's strings and collections. Where the standard one throws
// std::bad_alloc, it throws the platform's memory exception (CMemoryException*), so that every
// caller sees memory run out in one way.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "tesselkit/platform/export.h"

// Throws the process's one CMemoryException*. Allocates nothing. Never returns.
[[noreturn]] TESSELKIT_API void AfxThrowMemoryException();

namespace tesselkit::platform {

template <class T>
struct Allocator {
  using value_type = T;

  Allocator() noexcept = default;
  template <class U>
  Allocator(const Allocator<U>&) noexcept {}

  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(T)) AfxThrowMemoryException();
    void* memory = ::operator new(count * sizeof(T), std::nothrow);
    if (memory == nullptr) AfxThrowMemoryException();
    return static_cast<T*>(memory);
  }

  void deallocate(T* memory, std::size_t) noexcept { ::operator delete(memory); }

  template <class U>
  bool operator==(const Allocator<U>&) const noexcept {
    return true;
  }
};

// A new object, with the same failure; for classes without an operator new of their own.
template <class T, class... Arguments>
std::unique_ptr<T> MakeOwned(Arguments&&... arguments) {
  T* const made = new (std::nothrow) T(std::forward<Arguments>(arguments)...);
  if (made == nullptr) AfxThrowMemoryException();
  return std::unique_ptr<T>(made);
}

using Text = std::basic_string<char, std::char_traits<char>, Allocator<char>>;

}  // namespace tesselkit::platform
