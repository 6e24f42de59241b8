// The tags of an archive's objects: 1, 2, ... in the order in which the objects are met; null is
// known from the beginning and has tag 0. Finding a tag takes one probe, whatever the number of
// objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tesselkit/platform/allocator.h"

namespace tesselkit::objects {

class PointerTags {
 public:
  // With null there are as many as 16 bits can tell apart.
  static constexpr std::size_t kMostPointers = 65536;

  PointerTags();

  bool Contains(const void* pointer) const;

  // Sets `tag` to the pointer's tag. True when it was known; otherwise it has been given the next
  // one. When all tags are taken, throws CArchiveException::badIndex and changes nothing.
  bool FindOrAdd(const void* pointer, unsigned short& tag);

 private:
  template <class T>
  using Vector = std::vector<T, platform::Allocator<T>>;
  // The tag in the lower half, a part of the pointer's hash in the upper one.
  using Slot = std::uint32_t;
  static constexpr Slot kFree = 0;

  // The slot of the pointer, or the free one where it belongs.
  std::size_t Probe(const void* pointer, std::uint64_t hash) const;
  void Grow();

  Vector<const void*> m_pointers;  // at their tags
  Vector<Slot> m_slots;            // a power of two, at most half of them taken
  int m_shift;                     // leaves as many bits of a hash as number a slot
};

}  // namespace tesselkit::objects
