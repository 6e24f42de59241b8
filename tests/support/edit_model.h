// Plain models of the editing functions and of the order of texts, for differential tests and the
// fuzz targets: slow and literal. They go by the characters of the code page that is set.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tesselkit/platform/code_page.h"
#include "tests/support/text_model.h"
#include "tests/support/texts.h"

namespace test {

using Random = std::mt19937;

// Texts made of pieces that are separators, line ends, and whole and broken characters of several
// pages, with trail bytes that look like separators.
inline std::string RandomPieces(Random& random, unsigned max_pieces) {
  static const Texts pieces = {"a",        "B",        "b",
                               "C1",       "_",        " ",
                               "\t",       "\r",       "\n",
                               "\r\n",     ";",        ",",
                               "=",        "\\",       "|",
                               "@",        "\x81",     "\x95",
                               "\xB1",     "\xE3",     "\x95\x5C",
                               "\x83\x7C", "\x81\x40", "\x81\x43",
                               "\x82\x61", "\x82\x82", "\xC3\xA9",
                               "\xB0\xA1", "\x81",     "\xE3\x81\x82",
                               "\xFE\xFE", "\xFF",     "\xF0\x9F\x98\x80"};
  std::string text;
  for (std::size_t count = random() % (max_pieces + 1); count > 0; --count) {
    text += pieces[random() % pieces.size()];
  }
  return text;
}

inline std::string Concatenated(const Letters& letters, std::size_t from, std::size_t to) {
  std::string text;
  for (std::size_t i = from; i < to; ++i) text += letters[i];
  return text;
}

inline bool IsIn(const std::string& letter, const std::string& set) {
  const Letters letters = Characters(set);
  return std::find(letters.begin(), letters.end(), letter) != letters.end();
}

inline std::string TrimLeading(const std::string& text, const std::string& chars) {
  const Letters letters = Characters(text);
  std::size_t at = 0;
  while (at < letters.size() && IsIn(letters[at], chars)) ++at;
  return Concatenated(letters, at, letters.size());
}

inline std::string RemoveWord(std::string& text, const std::string& separators) {
  text = TrimLeading(text, separators);
  const Letters letters = Characters(text);
  std::size_t at = 0;
  while (at < letters.size() && !IsIn(letters[at], separators)) ++at;
  text = Concatenated(letters, at, letters.size());
  return Concatenated(letters, 0, at);
}

inline Texts Split(const std::string& text, const std::string& separators) {
  Texts parts;
  const Letters letters = Characters(text);
  for (std::size_t at = 0; !letters.empty();) {
    parts.emplace_back();
    while (at < letters.size() && !IsIn(letters[at], separators)) parts.back() += letters[at++];
    if (at == letters.size()) break;
    if (++at < letters.size()) continue;
    parts.emplace_back();
    break;
  }
  return parts;
}

inline std::string Joined(const Texts& texts, const std::string& separator) {
  std::string joined;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) joined += separator.empty() ? "\n" : separator;
    joined += texts[i];
  }
  return joined;
}

inline std::string Replaced(const std::string& text, const std::string& from,
                            const std::string& to) {
  const Letters letters = Characters(text);
  const Letters wanted = Characters(from);
  std::string replaced;
  for (std::size_t at = 0; at < letters.size();) {
    std::size_t same = 0;
    while (same < wanted.size() && at + same < letters.size() &&
           letters[at + same] == wanted[same]) {
      ++same;
    }
    const bool stands_here = !wanted.empty() && same == wanted.size();
    replaced += stands_here ? to : letters[at];
    at += stands_here ? same : 1;
  }
  return replaced;
}

inline std::string WithLineEnds(const std::string& text, const std::string& line_end) {
  const Letters letters = Characters(text);
  std::string converted;
  for (std::size_t at = 0; at < letters.size(); ++at) {
    const bool is_cr = letters[at] == "\r";
    if (is_cr && at + 1 < letters.size() && letters[at + 1] == "\n") ++at;
    converted += is_cr || letters[at] == "\n" ? line_end : letters[at];
  }
  return converted;
}

inline std::string DirectoryOf(const std::string& path) {
  const Letters letters = Characters(path);
  std::size_t end = letters.size();
  while (end > 0 && letters[end - 1] != "\\") --end;
  return Concatenated(letters, 0, end);
}

inline std::string FileOf(const std::string& path) {
  return path.substr(DirectoryOf(path).size());
}

}  // namespace test
