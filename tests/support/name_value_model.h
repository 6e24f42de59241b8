// Models of the two NAME=VALUE readers, for differential tests and the fuzz target: the state table
// taken literally, and the looser split of one pair step by step.
#pragma once

#include <map>
#include <string>

#include "tests/support/edit_model.h"

namespace test {

struct NameValueLine {
  std::map<std::string, std::string> entries;
  int error = 0;     // the message's id
  std::string near;  // its "str"
};

inline bool IsNameByte(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

inline bool IsLineBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// `line` holds no NUL.
inline NameValueLine ReadNameValueLine(const std::string& line, bool allow_duplicates) {
  enum { kBetween, kInName, kAfterName, kInValue } state = kBetween;
  NameValueLine result;
  std::string name, value;
  for (std::size_t at = 0;; ++at) {
    const bool ends = at == line.size();
    const char byte = ends ? '\0' : line[at];
    const std::size_t in_front = at < 40 ? at : 40;
    const auto fail = [&](int id, const std::string& near) {
      result.error = id;
      result.near = near;
      return result;
    };
    const std::string before = line.substr(at - in_front, in_front);

    if (state == kBetween) {
      if (ends) return result;
      if (IsNameByte(byte)) {
        name = byte;
        state = kInName;
      } else if (!IsLineBlank(byte) && byte != ';') {
        return fail(18059, line.substr(at, 40));
      }
    } else if (state == kInName) {
      if (ends) return fail(18061, before);
      if (IsNameByte(byte)) {
        name += byte;
      } else if (byte == '=') {
        value.clear();
        state = kInValue;
      } else if (IsLineBlank(byte)) {
        state = kAfterName;
      } else {
        return fail(18059, before);
      }
    } else if (state == kAfterName) {
      if (!ends && byte == '=') {
        value.clear();
        state = kInValue;
      } else if (ends || !IsLineBlank(byte)) {
        return fail(18061, before);
      }
    } else if (!ends && byte != ';') {
      value += byte;
    } else {
      for (char& c : name) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
      if (!allow_duplicates && result.entries.count(name) != 0) return fail(18060, name);
      result.entries[name] = value;
      if (ends) return result;
      state = kBetween;
    }
  }
}

struct NameValuePair {
  bool is_pair = false;
  std::string name;
  std::string value;
};

inline NameValuePair ReadNameValuePair(const std::string& text) {
  std::string rest = TrimLeading(text, " \t\r\n");
  const std::string name = RemoveWord(rest, " \t=");
  if (name.empty()) return {};
  rest = TrimLeading(rest, " \t\r\n");
  if (rest.empty() || rest[0] != '=') return {};
  rest.erase(0, 1);
  if (!rest.empty() && (rest[0] == ' ' || rest[0] == '\t')) rest.erase(0, 1);
  return {true, name, rest};
}

}  // namespace test
