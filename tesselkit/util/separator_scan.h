// Finding the separators of a text: the characters of a set, from the front on.
#pragma once

#include <cstddef>
#include <string_view>

#include "tesselkit/platform/byte_scan.h"
#include "tesselkit/platform/character_set.h"
#include "tesselkit/platform/code_page.h"

namespace tesselkit::util {

// Keeps views of both texts. The bytes that a separator may begin with are looked for; unless all
// separators are bytes that stand alone in the code page, each find is then checked.
class SeparatorScan {
 public:
  SeparatorScan(std::string_view text, std::string_view separators) noexcept
      : m_text(text), m_separators(separators), m_bytes(text, FirstBytesOf(separators)) {
    for (char byte : separators) m_is_plain = m_is_plain && platform::StandsAlone(byte);
  }

  // Where the next separator begins and ends; false when there is none.
  bool Next(std::size_t& begin, std::size_t& end) noexcept {
    while (m_bytes.Next(begin)) {
      end = m_is_plain ? begin + 1 : EndOfSeparatorAt(begin);
      if (end != begin) return true;
    }
    return false;
  }

  // How many there are from here on.
  std::size_t Count() const noexcept {
    if (m_is_plain) return m_bytes.Count();
    SeparatorScan rest(*this);
    std::size_t count = 0;
    for (std::size_t begin, end; rest.Next(begin, end);) ++count;
    return count;
  }

 private:
  static platform::ByteSet FirstBytesOf(std::string_view separators) noexcept {
    platform::ByteSet bytes;
    const char* end = separators.data() + separators.size();
    for (const char* c = separators.data(); c != end; c += platform::CharacterLength(c, end)) {
      bytes.Add(*c);
    }
    return bytes;
  }

  // Where the separator at `at` ends; `at` when none begins there.
  std::size_t EndOfSeparatorAt(std::size_t at) noexcept {
    m_known = platform::CharacterStart(m_text, at, m_known);
    if (m_known != at) return at;
    const char* c = m_text.data() + at;
    const std::size_t length = platform::CharacterLength(c, m_text.data() + m_text.size());
    return m_separators.Contains(c, length) ? at + length : at;
  }

  std::string_view m_text;
  platform::CharacterSet m_separators;
  platform::ByteScan m_bytes;
  std::size_t m_known = 0;  // where a character begins
  bool m_is_plain = true;
};

}  // namespace tesselkit::util
