// Searching and changing a CString, by characters of the code page.
#include <algorithm>
#include <cstring>

#include "tesselkit/platform/character_set.h"
#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/cstring.h"

using namespace tesselkit::platform;

namespace {

constexpr char kBlanks[] = " \t\n\v\f\r";

std::string_view ViewOf(const char* text) {
  return text != nullptr ? std::string_view(text) : std::string_view();
}

int PositionOf(std::size_t found) {
  return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

// The length of the longest front of `text` whose characters `accepts` accepts.
template <class Accepts>
std::size_t FrontLength(std::string_view text, Accepts accepts) {
  const char* end = text.data() + text.size();
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t length = CharacterLength(text.data() + at, end);
    if (!accepts(text.data() + at, length)) break;
    at += length;
  }
  return at;
}

std::size_t FrontOf(std::string_view text, std::string_view characters) {
  const CharacterSet set(characters);
  return FrontLength(text, [&](const char* c, std::size_t n) { return set.Contains(c, n); });
}

std::size_t FrontWithout(std::string_view text, std::string_view characters) {
  const CharacterSet set(characters);
  return FrontLength(text, [&](const char* c, std::size_t n) { return !set.Contains(c, n); });
}

// How long `text` is without the characters of `characters` at its end.
std::size_t LengthWithoutTail(std::string_view text, std::string_view characters) {
  const CharacterSet set(characters);
  std::size_t at = 0;
  std::size_t kept = 0;
  while (at < text.size()) {
    const std::size_t length = CharacterLength(text.data() + at, text.data() + text.size());
    if (!set.Contains(text.data() + at, length)) kept = at + length;
    at += length;
  }
  return kept;
}

// A position or count, cut to what is there.
std::size_t Limit(int index, std::size_t size) {
  return std::min(index > 0 ? static_cast<std::size_t>(index) : 0, size);
}

int FindIn(std::string_view text, std::string_view wanted, int start) {
  if (start > static_cast<int>(text.size())) return -1;
  return PositionOf(FindText(text, wanted, CharacterAtOrAfter(text, Limit(start, text.size()))));
}

// Replaces every `wanted`, which is not empty, and returns how many there were.
int ReplaceIn(Text& text, std::string_view wanted, std::string_view replacement) {
  std::size_t found = FindText(text, wanted);
  if (found == std::string_view::npos) return 0;

  int count = 0;
  std::size_t kept = 0;
  Text result;
  result.reserve(text.size());
  for (; found != std::string_view::npos; found = FindText(text, wanted, kept)) {
    result.append(text, kept, found - kept).append(replacement);
    kept = found + wanted.size();
    ++count;
  }
  result.append(text, kept);
  text.swap(result);
  return count;
}

}  // namespace

CString CString::SpanIncluding(const char* characters) const {
  return CString(View().substr(0, FrontOf(View(), ViewOf(characters))));
}

CString CString::SpanExcluding(const char* characters) const {
  return CString(View().substr(0, FrontWithout(View(), ViewOf(characters))));
}

int CString::Find(char c, int start) const noexcept {
  return FindIn(View(), {&c, 1}, start);
}

int CString::Find(const char* text, int start) const noexcept {
  return FindIn(View(), ViewOf(text), start);
}

int CString::ReverseFind(char c) const noexcept {
  std::size_t last = std::string_view::npos;
  for (std::size_t found = FindText(View(), {&c, 1}); found != std::string_view::npos;
       found = FindText(View(), {&c, 1}, found + 1)) {
    last = found;
  }
  return PositionOf(last);
}

int CString::FindOneOf(const char* characters) const noexcept {
  const std::size_t at = FrontWithout(View(), ViewOf(characters));
  return at < m_text.size() ? static_cast<int>(at) : -1;
}

void CString::MakeUpper() noexcept {
  MakeUpperCase(m_text.data(), m_text.size());
}

void CString::MakeLower() noexcept {
  MakeLowerCase(m_text.data(), m_text.size());
}

void CString::MakeReverse() {
  Text result(m_text.size(), '\0');
  char* place = result.data() + result.size();
  FrontLength(View(), [&](const char* c, std::size_t length) {
    place -= length;
    std::memcpy(place, c, length);
    return true;
  });
  m_text.swap(result);
}

void CString::TrimLeft() {
  TrimLeft(kBlanks);
}

void CString::TrimLeft(char c) {
  m_text.erase(0, FrontOf(View(), {&c, 1}));
}

void CString::TrimLeft(const char* characters) {
  m_text.erase(0, FrontOf(View(), ViewOf(characters)));
}

void CString::TrimRight() {
  TrimRight(kBlanks);
}

void CString::TrimRight(char c) {
  m_text.resize(LengthWithoutTail(View(), {&c, 1}));
}

void CString::TrimRight(const char* characters) {
  m_text.resize(LengthWithoutTail(View(), ViewOf(characters)));
}

int CString::Replace(char from, char to) {
  int count = 0;
  if (from == to) return count;
  for (std::size_t at = FindText(View(), {&from, 1}); at != std::string_view::npos;
       at = FindText(View(), {&from, 1}, at + 1)) {
    m_text[at] = to;
    ++count;
  }
  return count;
}

int CString::Replace(const char* from, const char* to) {
  const std::string_view wanted = ViewOf(from);
  return wanted.empty() ? 0 : ReplaceIn(m_text, wanted, ViewOf(to));
}

int CString::Remove(char c) {
  return ReplaceIn(m_text, {&c, 1}, {});
}

int CString::Insert(int index, char c) {
  m_text.insert(Limit(index, m_text.size()), 1, c);
  return GetLength();
}

int CString::Insert(int index, const char* text) {
  m_text.insert(Limit(index, m_text.size()), ViewOf(text));
  return GetLength();
}

int CString::Delete(int index, int count) {
  m_text.erase(Limit(index, m_text.size()), Limit(count, m_text.size()));
  return GetLength();
}
