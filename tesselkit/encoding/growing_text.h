// A text of the codec's, with a work buffer behind its end: what is written there belongs to the
// text when it is flushed. The memory goes with the object. When it runs out, CMemoryException* is
// thrown and the text is empty or as it was.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/text_buffer.h"

namespace tesselkit::encoding {

class GrowingText {
 public:
  static constexpr std::size_t kWorkBuffer = 49152;

  GrowingText() = default;
  GrowingText(const GrowingText&) = delete;
  GrowingText& operator=(const GrowingText&) = delete;

  std::string_view View() const noexcept { return m_memory.View().substr(0, m_length); }

  // Lets the memory go.
  void Release() noexcept {
    CutTo(0);
    m_memory.Empty();
  }

  // Empties the text and gives it a work buffer of `room` bytes at least. Memory is used again,
  // since fresh memory is dear, unless it is far too much.
  char* StartAnew(std::size_t room) {
    CutTo(0);
    const std::size_t memory = m_memory.View().size();
    if (memory < room || memory / 4 > room + kWorkBuffer) m_memory.Empty();
    SetWorkBuffer(m_memory.IsEmpty() ? platform::BufferOf(m_memory, room) : m_memory.GetBuffer(0));
    return m_position;
  }

  // Gives the text away, and its memory with it.
  CString Take() {
    if (m_length != m_memory.View().size()) m_memory.ReleaseBuffer(static_cast<int>(m_length));
    CutTo(0);
    return std::move(m_memory);
  }

  // Flushes the work buffer when it has no room for `size` bytes, and makes a new one.
  void MakeRoom(std::ptrdiff_t size) {
    if (m_end - m_position >= size) return;
    Flush();
    SetWorkBuffer(platform::BufferOf(m_memory, m_length + kWorkBuffer) + m_length);
  }

  void Flush() noexcept {
    if (m_position != nullptr) CutTo(static_cast<std::size_t>(m_position - m_memory.View().data()));
  }

  // Ends the work buffer. The text is `size` bytes long, of what was written there too.
  void CutTo(std::size_t size) noexcept {
    m_length = size;
    m_position = m_end = nullptr;
  }

  void Put(char c) noexcept { *m_position++ = c; }
  void SetEnd(char* position) noexcept { m_position = position; }

 private:
  void SetWorkBuffer(char* start) noexcept {
    m_position = start;
    m_end = start + (m_memory.View().data() + m_memory.View().size() - start);
  }

  CString m_memory;  // its length is that of the memory
  std::size_t m_length = 0;
  char* m_position = nullptr;
  char* m_end = nullptr;
};

}  // namespace tesselkit::encoding
