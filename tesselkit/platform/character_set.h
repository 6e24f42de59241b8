// A set of characters of the code page, given as a text that holds each of them.
#pragma once

#include <bitset>
#include <cstddef>
#include <string_view>

#include "tesselkit/platform/code_page.h"

namespace tesselkit::platform {

// Keeps a view of the text it was made from. Tests of one-byte characters cost a table look-up.
class CharacterSet {
 public:
  explicit CharacterSet(std::string_view characters) noexcept : m_characters(characters) {
    for (std::size_t at = 0; at < characters.size();) {
      const std::size_t length = LengthAt(at);
      if (length == 1) m_single.set(static_cast<unsigned char>(characters[at]));
      m_has_long = m_has_long || length > 1;
      at += length;
    }
  }

  // Whether the character of `length` bytes at `c` is in the set.
  bool Contains(const char* c, std::size_t length) const noexcept {
    if (length == 1) return m_single.test(static_cast<unsigned char>(*c));
    return m_has_long && FindText(m_characters, {c, length}) != std::string_view::npos;
  }

  // The length of the longest front of `text` made only of characters of the set, and of the
  // longest without any of them.
  std::size_t FrontOf(std::string_view text) const noexcept { return FrontWhere(text, true); }
  std::size_t FrontWithout(std::string_view text) const noexcept { return FrontWhere(text, false); }

 private:
  std::size_t FrontWhere(std::string_view text, bool is_in_set) const noexcept {
    const char* end = text.data() + text.size();
    std::size_t at = 0;
    while (at < text.size()) {
      const std::size_t length = CharacterLength(text.data() + at, end);
      if (Contains(text.data() + at, length) != is_in_set) break;
      at += length;
    }
    return at;
  }

  std::size_t LengthAt(std::size_t at) const noexcept {
    return CharacterLength(m_characters.data() + at, m_characters.data() + m_characters.size());
  }

  std::string_view m_characters;
  std::bitset<256> m_single;
  bool m_has_long = false;
};

}  // namespace tesselkit::platform
