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

std::size_t FrontOf(std::string_view text, const char* characters) {
  const CharacterSet set(ViewOf(characters));
  return FrontLength(text, [&](const char* c, std::size_t n) { return set.Contains(c, n); });
}

std::size_t FrontWithout(std::string_view text, const char* characters) {
  const CharacterSet set(ViewOf(characters));
  return FrontLength(text, [&](const char* c, std::size_t n) { return !set.Contains(c, n); });
}

// How long `text` is without the characters of `characters` at its end.
std::size_t LengthWithoutTail(std::string_view text, const char* characters) {
  const CharacterSet set(ViewOf(characters));
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

}  // namespace

CString CString::SpanIncluding(const char* characters) const {
  return CString(View().substr(0, FrontOf(View(), characters)));
}

CString CString::SpanExcluding(const char* characters) const {
  return CString(View().substr(0, FrontWithout(View(), characters)));
}

int CString::Find(char c, int start) const noexcept {
  if (start > GetLength()) return -1;
  return PositionOf(FindText(View(), {&c, 1}, Limit(start, m_text.size())));
}

int CString::Find(const char* text, int start) const noexcept {
  if (start > GetLength()) return -1;
  return PositionOf(FindText(View(), ViewOf(text), Limit(start, m_text.size())));
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
  const std::size_t at = FrontWithout(View(), characters);
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
  TrimLeft(CString(c));
}

void CString::TrimLeft(const char* characters) {
  m_text.erase(0, FrontOf(View(), characters));
}

void CString::TrimRight() {
  TrimRight(kBlanks);
}

void CString::TrimRight(char c) {
  TrimRight(CString(c));
}

void CString::TrimRight(const char* characters) {
  m_text.resize(LengthWithoutTail(View(), characters));
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
  const std::string_view replacement = ViewOf(to);
  if (wanted.empty()) return 0;
  std::size_t found = FindText(View(), wanted);
  if (found == std::string_view::npos) return 0;

  int count = 0;
  std::size_t kept = 0;
  Text result;
  result.reserve(m_text.size());
  for (; found != std::string_view::npos; found = FindText(View(), wanted, kept)) {
    result.append(View().substr(kept, found - kept)).append(replacement);
    kept = found + wanted.size();
    ++count;
  }
  result.append(View().substr(kept));
  m_text.swap(result);
  return count;
}

int CString::Remove(char c) {
  return Replace(CString(c), "");
}

int CString::Insert(int index, char c) {
  return Insert(index, CString(c));
}

int CString::Insert(int index, const char* text) {
  m_text.insert(Limit(index, m_text.size()), ViewOf(text));
  return GetLength();
}

int CString::Delete(int index, int count) {
  m_text.erase(Limit(index, m_text.size()), Limit(count, m_text.size()));
  return GetLength();
}
