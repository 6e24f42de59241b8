// Searching and changing a CString, by characters of the code page.
#include <algorithm>
#include <cstring>
#include <functional>

#include "tesselkit/platform/character_set.h"
#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/cstring.h"
#include "tesselkit/platform/text_scan.h"
#include "tesselkit/platform/text_writer.h"

using namespace tesselkit::platform;

namespace {

constexpr char kBlanks[] = " \t\n\v\f\r";

int PositionOf(std::size_t found) {
  return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

std::size_t FrontOf(std::string_view text, std::string_view characters) {
  return CharacterSet(characters).FrontOf(text);
}

std::size_t FrontWithout(std::string_view text, std::string_view characters) {
  return CharacterSet(characters).FrontWithout(text);
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

bool IsInside(std::string_view part, std::string_view text) {
  const std::less_equal<const char*> is_ordered;
  return is_ordered(text.data(), part.data()) && is_ordered(part.data(), text.data() + text.size());
}

// Replaces within the text; `replacement` is no longer than `wanted`. Returns how often.
int ReplaceInPlace(Text& text, std::string_view wanted, std::string_view replacement) {
  TextScan scan(text, wanted);
  int count = 0;
  char* out = text.data();
  std::size_t kept = 0;
  const auto keep = [&](std::size_t end) {
    if (out != text.data() + kept) std::memmove(out, text.data() + kept, end - kept);
    out += end - kept;
  };
  for (std::size_t at; (at = scan.Next(kept)) != std::string_view::npos; ++count) {
    keep(at);
    out = std::copy(replacement.begin(), replacement.end(), out);
    kept = at + wanted.size();
  }
  keep(text.size());
  text.resize(static_cast<std::size_t>(out - text.data()));
  return count;
}

// Replaces into a new text, which is counted out first.
int ReplaceAnew(Text& text, std::string_view wanted, const CString& replacement) {
  std::size_t count = 0;
  TextScan counting(text, wanted);
  for (std::size_t at, done = 0; (at = counting.Next(done)) != std::string_view::npos; ++count) {
    done = at + wanted.size();
  }
  if (count == 0) return 0;

  const std::size_t added = count * replacement.View().size();
  Text result(text.size() - count * wanted.size() + added, '\0');
  TextWriter writer(result.data(), result.size());
  const std::string_view all(text);
  std::size_t kept = 0;
  TextScan scan(text, wanted);
  for (std::size_t at; (at = scan.Next(kept)) != std::string_view::npos;) {
    writer.Put(all.substr(kept, at - kept), all.data() + all.size());
    writer.Put(replacement);
    kept = at + wanted.size();
  }
  writer.Put(all.substr(kept), all.data() + all.size());
  text.swap(result);
  return static_cast<int>(count);
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
  return PositionOf(FindLastCharacter(View(), c));
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
  const char* const end = m_text.data() + m_text.size();
  char* place = result.data() + result.size();
  for (const char* c = m_text.data(); c != end;) {
    const std::size_t length = CharacterLength(c, end);
    place -= length;
    std::memcpy(place, c, length);
    c += length;
  }
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
  const std::string_view replacement = ViewOf(to);
  if (wanted.empty()) return 0;
  const bool fits = replacement.size() <= wanted.size();
  if (fits && !IsInside(wanted, m_text) && !IsInside(replacement, m_text)) {
    return ReplaceInPlace(m_text, wanted, replacement);
  }
  return ReplaceAnew(m_text, wanted, CString(replacement));
}

int CString::Remove(char c) {
  return ReplaceInPlace(m_text, {&c, 1}, {});
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
