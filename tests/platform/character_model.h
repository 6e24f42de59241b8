// What a character of each code page is, written down a second time and as plainly as possible,
// and random texts to compare with.
#pragma once

#include <cctype>
#include <random>
#include <string>
#include <vector>

namespace test {

inline bool Within(int byte, int first, int last) {
  return first <= byte && byte <= last;
}

inline bool IsPair(int page, int a, int b) {
  if (page == 932)
    return (Within(a, 0x81, 0x9F) || Within(a, 0xE0, 0xFC)) && Within(b, 0x40, 0xFC) && b != 0x7F;
  if (page == 936) return Within(a, 0x81, 0xFE) && Within(b, 0x40, 0xFE) && b != 0x7F;
  if (page == 949) return Within(a, 0x81, 0xFE) && (Within(b, 0x81, 0xFE) || std::isalpha(b));
  return page == 950 && Within(a, 0x81, 0xFE) && (Within(b, 0x40, 0x7E) || Within(b, 0xA1, 0xFE));
}

// The length of the UTF-8 sequence at the front of `text`, by its code point; 1 when it is none.
inline std::size_t Utf8Length(const std::string& text) {
  const int lead = text[0] & 0xFF;
  const std::size_t length = lead >> 5 == 6 ? 2 : lead >> 4 == 14 ? 3 : lead >> 3 == 30 ? 4 : 1;
  if (length == 1 || text.size() < length) return 1;
  int point = lead & (0x7F >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xC0) != 0x80) return 1;
    point = point << 6 | (text[i] & 0x3F);
  }
  const int smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_surrogate = Within(point, 0xD800, 0xDFFF);
  return Within(point, smallest[length], 0x10FFFF) && !is_surrogate ? length : 1;
}

inline std::vector<std::string> Characters(int page, const std::string& text) {
  std::vector<std::string> characters;
  for (std::size_t at = 0; at < text.size(); at += characters.back().size()) {
    std::size_t length = page == 65001 ? Utf8Length(text.substr(at, 4)) : 1;
    if (at + 1 < text.size() && IsPair(page, text[at] & 0xFF, text[at + 1] & 0xFF)) length = 2;
    characters.push_back(text.substr(at, length));
  }
  return characters;
}

// A character in lower case: the ASCII letters, and 0x8260 to 0x8279 of page 932.
inline std::string Lower(int page, std::string character) {
  char& last = character.back();
  if (character.size() == 1 && Within(last, 'A', 'Z')) last += 'a' - 'A';
  const bool is_wide = page == 932 && character.size() == 2 && character[0] == '\x82';
  if (is_wide && Within(last, 0x60, 0x79)) last = static_cast<char>(last + 0x21);
  return character;
}

// A text of up to `longest` pieces that matter to some page: letters, separators, leads that are
// trails as well, half-width and full-width letters, UTF-8 sequences.
inline std::string RandomText(std::mt19937& random, unsigned longest) {
  static const char* const pieces[] = {"a",
                                       "A",
                                       "b",
                                       "|",
                                       "\\",
                                       " ",
                                       "\t",
                                       "\x81",
                                       "\x82",
                                       "\xB1",
                                       "\xFE",
                                       "\xE0",
                                       "\x82\x60",
                                       "\x82\x81",
                                       "\xC3\xA4",
                                       "\xE2\x82\xAC",
                                       "\xF0\x9F\x98\x80"};
  std::string text;
  for (unsigned left = random() % (longest + 1); left > 0; --left) text += pieces[random() % 17];
  return text;
}

}  // namespace test
