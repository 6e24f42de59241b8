// A text of the codec's, with a work buffer behind its end: what is written there belongs to the
// text when it is flushed. The memory goes with the object.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "tesselkit/encoding/text_buffer.h"
#include "tesselkit/platform/cstring.h"

namespace tesselkit::encoding {

class GrowingText {
 public:
  static constexpr std::size_t kWorkBuffer = 49152;

  GrowingText() = default;
  GrowingText(const GrowingText&) = delete;
  GrowingText& operator=(const GrowingText&) = delete;

  std::string_view View() const noexcept { return m_text.View(); }

  void Release() noexcept {
    m_text.Empty();
    m_position = m_end = nullptr;
  }

  // Empties the text and gives it a work buffer of `room` bytes. Memory is used again, unless it
  // would be far too much: fresh memory is dear.
  char* StartAnew(std::size_t room) {
    m_position = m_end = nullptr;
    if (View().size() / 4 > kWorkBuffer + room) m_text.Empty();
    m_text.ReleaseBuffer(0);
    AddRoom(room);
    return m_position;
  }

  // Gives the text away.
  CString Take() noexcept {
    m_position = m_end = nullptr;
    return std::move(m_text);
  }

  // Flushes the work buffer when it has no room for `size` bytes, and makes a new one.
  void MakeRoom(std::ptrdiff_t size) {
    if (m_end - m_position >= size) return;
    Flush();
    AddRoom(kWorkBuffer);
  }

  void Flush() {
    if (m_position != nullptr) CutTo(static_cast<std::size_t>(m_position - View().data()));
  }

  // Makes the text `size` bytes long, of those in the work buffer too, and ends the work buffer.
  void CutTo(std::size_t size) {
    m_text.ReleaseBuffer(static_cast<int>(size));
    m_position = m_end = nullptr;
  }

  void Put(char c) noexcept { *m_position++ = c; }
  void SetEnd(char* position) noexcept { m_position = position; }

 private:
  void AddRoom(std::size_t room) {
    const std::size_t length = View().size();
    m_position = BufferOf(m_text, length + room) + length;
    m_end = m_position + room;
  }

  CString m_text;
  char* m_position = nullptr;
  char* m_end = nullptr;
};

}  // namespace tesselkit::encoding
