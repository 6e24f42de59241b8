// Plain models of what the text functions do, for differential tests: slow and literal. They go by
// the characters of the code page that is set.
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/platform/code_page.h"

namespace test {

using Letters = std::vector<std::string>;

// The characters of a text, one by one.
inline Letters Characters(std::string_view text) {
  Letters letters;
  while (!text.empty()) {
    const char* c = text.data();
    letters.emplace_back(c, tesselkit::platform::CharacterLength(c, c + text.size()));
    text.remove_prefix(letters.back().size());
  }
  return letters;
}

// Strict decimal parsing, step by step. 0, or the id of the message that refuses. `text` holds no
// NUL.
inline int ParseLong(const std::string& text, long& value) {
  value = 0;
  const Letters letters = Characters(text);
  if (letters.empty()) return 18044;
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const std::string allowed = i == 0 ? "-+0123456789" : "0123456789";
    if (letters[i].size() != 1 || allowed.find(letters[i]) == std::string::npos) return 18045;
  }
  if (letters.size() > 11) return 18046;
  double number = 0;
  if (std::sscanf(text.c_str(), "%lf", &number) != 1) return 18047;
  if (number > 2147483647.0 || number < -2147483648.0) return 18046;
  value = static_cast<long>(number);
  return 0;
}

// The full text of message `id` about `text`; empty for 0.
inline std::string RefusalText(int id, const std::string& text) {
  if (id == 18044) return "Cannot convert an empty string to an integer value.";
  if (id == 18045) {
    return "The value \"" + text +
           "\" contains invalid characters for an integer value.  The value may begin with a sign "
           "(+ or -) or a numeral, and the remaining characters must all be numerals.";
  }
  if (id == 18046) {
    return "The magnitude of the value \"" + text +
           "\" is too large; it must be within the range -2147483648 through 2147483647.";
  }
  if (id == 0) return "";
  return "_stscanf failure for value \"" + text +
         "\". This is probably an internal error.  Please report this.";
}

using Values = std::map<std::string, std::string>;

// One-pass filling of placeholders.
inline std::string Fill(std::string_view text, std::string_view begin, std::string_view end,
                        const Values& values) {
  if (begin.empty() || end.empty()) return std::string(text);
  const Letters letters = Characters(text);
  const auto behind = [&](std::string_view wanted, std::size_t at) -> std::size_t {
    for (const std::string& each : Characters(wanted)) {
      if (at == letters.size() || letters[at++] != each) return 0;  // does not stand there
    }
    return at;
  };
  std::string out;
  for (std::size_t at = 0; at < letters.size();) {
    const std::size_t name_begin = behind(begin, at);
    std::size_t close = name_begin;
    std::string name;
    while (close < letters.size() && behind(end, close) == 0) name += letters[close++];
    if (name_begin != 0 && close < letters.size() && values.count(name) != 0) {
      out += values.at(name);
      at = behind(end, close);
    } else {  // a delimiter that opens nothing is text, whole
      do out += letters[at++];
      while (at < name_begin);
    }
  }
  return out;
}

// Up to `max_length` bytes of `alphabet`, the same in every run; `state` is all that is remembered.
inline std::string RandomText(unsigned long long& state, std::string_view alphabet,
                              unsigned max_length) {
  const auto next = [&state](std::size_t limit) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return (state >> 33) % limit;
  };
  std::string text(next(max_length + 1), '\0');
  for (char& c : text) c = alphabet[next(alphabet.size())];
  return text;
}

}  // namespace test
