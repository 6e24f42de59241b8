// The memory between a buffered file and its user: bytes read ahead, or bytes still to be written.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "tesselkit/platform/allocator.h"

namespace tesselkit::platform {

class StreamBlock {
 public:
  StreamBlock() = default;
  ~StreamBlock() { Allocator<char>().deallocate(m_bytes, m_capacity); }
  StreamBlock(const StreamBlock&) = delete;
  StreamBlock& operator=(const StreamBlock&) = delete;

  static void* operator new(std::size_t size) { return Allocator<char>().allocate(size); }
  static void operator delete(void* memory) noexcept { ::operator delete(memory); }

  bool IsWriting() const noexcept { return m_writing; }
  std::string_view Unread() const noexcept { return m_writing ? std::string_view() : Bytes(); }
  std::string_view Pending() const noexcept { return m_writing ? Bytes() : std::string_view(); }
  std::size_t Room() const noexcept { return m_capacity - m_end; }

  // Forgets what is there and turns to reading or writing.
  void Reset(bool writing) noexcept {
    m_begin = 0;
    m_end = 0;
    m_writing = writing;
  }

  // Reading: takes bytes from the front.
  void Skip(std::size_t count) noexcept { m_begin += count; }

  // Reading: where bytes can be added, Room() of them, after more room has been made at need.
  char* MakeRoom() {
    std::memmove(m_bytes, m_bytes + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    if (Room() == 0) Grow();
    return m_bytes + m_end;
  }
  void Added(std::size_t count) noexcept { m_end += count; }

  // Writing: adds as many bytes as there is room for and returns how many those are.
  std::size_t Put(std::string_view bytes) noexcept {
    const std::size_t count = bytes.size() < Room() ? bytes.size() : Room();
    bytes.copy(m_bytes + m_end, count);
    m_end += count;
    return count;
  }

 private:
  static constexpr std::size_t kFirstCapacity = std::size_t{64} << 10;

  std::string_view Bytes() const noexcept { return {m_bytes + m_begin, m_end - m_begin}; }

  void Grow() {
    const std::size_t capacity = m_capacity * 2;
    char* const bytes = Allocator<char>().allocate(capacity);
    std::memcpy(bytes, m_bytes, m_end);
    Allocator<char>().deallocate(m_bytes, m_capacity);
    m_bytes = bytes;
    m_capacity = capacity;
  }

  std::size_t m_capacity = kFirstCapacity;
  char* m_bytes = Allocator<char>().allocate(kFirstCapacity);
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
  bool m_writing = false;
};

}  // namespace tesselkit::platform
