#include "tesselkit/objects/pointer_tags.h"

#include <algorithm>
#include <bit>

#include "tesselkit/platform/exceptions.h"

namespace tesselkit::objects {

namespace {

constexpr std::size_t kFirstSlots = 1024;
constexpr std::size_t kMostSlots = 2 * PointerTags::kMostPointers;

// The part of a hash that a slot keeps, and of a slot.
constexpr std::uint32_t Mark(std::uint64_t bits) {
  return static_cast<std::uint32_t>(bits) & 0xFFFF0000U;
}

constexpr unsigned short TagIn(std::uint32_t slot) {
  return static_cast<unsigned short>(slot);
}

// The lowest bits of an address are the same for all objects.
std::uint64_t HashOf(const void* pointer) {
  return std::uint64_t{reinterpret_cast<std::uintptr_t>(pointer) >> 3} * 0x9E3779B97F4A7C15U;
}

}  // namespace

PointerTags::PointerTags()
    : m_pointers(1, nullptr),
      m_slots(kFirstSlots, kFree),
      m_shift(64 - std::countr_zero(kFirstSlots)) {}

std::size_t PointerTags::Probe(const void* pointer, std::uint64_t hash) const {
  const std::size_t last = m_slots.size() - 1;
  for (std::size_t at = hash >> m_shift;; at = (at + 1) & last) {
    const Slot slot = m_slots[at];
    if (slot == kFree) return at;
    if (Mark(slot) == Mark(hash) && m_pointers[TagIn(slot)] == pointer) return at;
  }
}

bool PointerTags::Contains(const void* pointer) const {
  return pointer == nullptr || m_slots[Probe(pointer, HashOf(pointer))] != kFree;
}

bool PointerTags::FindOrAdd(const void* pointer, unsigned short& tag) {
  if (pointer == nullptr) {
    tag = 0;
    return true;
  }
  const std::uint64_t hash = HashOf(pointer);
  std::size_t place = Probe(pointer, hash);
  if (m_slots[place] != kFree) {
    tag = TagIn(m_slots[place]);
    return true;
  }
  if (m_pointers.size() == kMostPointers) AfxThrowArchiveException(CArchiveException::badIndex);
  if (m_pointers.size() > m_slots.size() / 2) {
    Grow();
    place = Probe(pointer, hash);
  }
  m_pointers.push_back(pointer);
  tag = static_cast<unsigned short>(m_pointers.size() - 1);
  m_slots[place] = Mark(hash) | tag;
  return false;
}

void PointerTags::Grow() {
  const std::size_t size = std::min(4 * m_slots.size(), kMostSlots);
  m_slots = Vector<Slot>(size, kFree);
  m_shift = 64 - std::countr_zero(size);
  for (std::size_t tag = 1; tag < m_pointers.size(); ++tag) {
    const std::uint64_t hash = HashOf(m_pointers[tag]);
    m_slots[Probe(m_pointers[tag], hash)] = Mark(hash) | static_cast<Slot>(tag);
  }
}

}  // namespace tesselkit::objects
