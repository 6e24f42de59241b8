#include "tesselkit/platform/cstring.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/exceptions.h"
#include "tesselkit/platform/mbstring.h"
#include "tesselkit/platform/string_table.h"

using tesselkit::platform::Text;
using tesselkit::platform::ViewOf;

namespace {

std::size_t CountOf(int number) {
  return number > 0 ? static_cast<std::size_t>(number) : 0;
}

#ifdef __GLIBCXX__
// The standard has no way, before C++23, to lengthen a string whose new bytes somebody else will
// write. This library's own way is private; an explicit instantiation may name it all the same.
template <auto Member>
struct LengthSetter {
  friend void SetLengthOnly(Text& text, std::size_t length) { (text.*Member)(length); }
};
void SetLengthOnly(Text& text, std::size_t length);
template struct LengthSetter<&Text::_M_set_length>;

void ResizeUnfilled(Text& text, std::size_t length) {
  if (length > text.capacity()) text.reserve(length);
  SetLengthOnly(text, length);
}
#else
void ResizeUnfilled(Text& text, std::size_t length) {
  text.resize(length);
}
#endif

Text Join(std::string_view a, std::string_view b) {
  Text result;
  result.reserve(a.size() + b.size());
  result.append(a).append(b);
  return result;
}

[[noreturn]] void ThrowFormatFailed() {
  if (errno == ENOMEM) AfxThrowMemoryException();
  AfxThrowInvalidArgException();
}

}  // namespace

CString::CString(const char* text) : m_text(ViewOf(text)) {}

CString::CString(const char* text, int length)
    : m_text(text != nullptr ? std::string_view(text, CountOf(length)) : std::string_view()) {}

CString::CString(char c, int repeat) : m_text(CountOf(repeat), c) {}

CString::CString(std::string_view text) : m_text(text) {}

CString& CString::operator=(const char* text) {
  m_text = ViewOf(text);
  return *this;
}

CString& CString::operator=(char c) {
  m_text.assign(1, c);
  return *this;
}

void CString::Empty() noexcept {
  Text().swap(m_text);
}

char CString::GetAt(int index) const {
  if (index < 0 || index >= GetLength()) AfxThrowInvalidArgException();
  return m_text[static_cast<std::size_t>(index)];
}

void CString::SetAt(int index, char c) {
  if (index < 0 || index >= GetLength()) AfxThrowInvalidArgException();
  m_text[static_cast<std::size_t>(index)] = c;
}

CString& CString::operator+=(const CString& text) {
  return Append(text.m_text);
}

CString& CString::operator+=(const char* text) {
  return Append(ViewOf(text));
}

CString& CString::operator+=(char c) {
  m_text += c;
  return *this;
}

CString CString::Left(int count) const {
  return Mid(0, count);
}

CString CString::Right(int count) const {
  return Mid(GetLength() - std::min(std::max(count, 0), GetLength()));
}

CString CString::Mid(int first) const {
  return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
  const std::size_t start = std::min(CountOf(first), m_text.size());
  return CString(View().substr(start, CountOf(count)));
}

int CString::Compare(const char* other) const noexcept {
  return _mbscmp(m_text.c_str(), other != nullptr ? other : "");
}

int CString::CompareNoCase(const char* other) const noexcept {
  return _mbsicmp(m_text.c_str(), other != nullptr ? other : "");
}

int CString::Collate(const char* other) const noexcept {
  return _mbscoll(m_text.c_str(), other != nullptr ? other : "");
}

void CString::Format(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  // The list is ended also when memory runs out, as the standard asks.
  struct End {
    va_list& list;
    ~End() { va_end(list); }
  } end{arguments};
  FormatV(format, arguments);
}

void CString::FormatV(const char* format, va_list arguments) {
  if (format == nullptr) return m_text.clear();
  va_list measuring;
  va_copy(measuring, arguments);
  char short_text[256];
  const int length = std::vsnprintf(short_text, sizeof short_text, format, measuring);
  va_end(measuring);
  if (length < 0) ThrowFormatFailed();
  const auto size = static_cast<std::size_t>(length);
  if (size < sizeof short_text) {
    m_text.assign(short_text, size);
    return;
  }
  Text result(size, '\0');
  if (std::vsnprintf(result.data(), size + 1, format, arguments) < 0) ThrowFormatFailed();
  m_text.swap(result);
}

BOOL CString::LoadString(UINT id) {
  const tesselkit::platform::StringResource resource(id);
  m_text = resource.Text();
  return resource ? TRUE : FALSE;
}

char* CString::GetBuffer(int min_length) {
  if (CountOf(min_length) > m_text.size()) ResizeUnfilled(m_text, CountOf(min_length));
  return m_text.data();
}

char* CString::GetBufferSetLength(int length) {
  ResizeUnfilled(m_text, CountOf(length));
  return m_text.data();
}

void CString::ReleaseBuffer(int length) {
  m_text.resize(length >= 0 ? std::min(CountOf(length), m_text.size())
                            : strnlen(m_text.data(), m_text.size()));
}

void CString::FreeExtra() {
  m_text.shrink_to_fit();
}

CString operator+(const CString& a, const CString& b) {
  return CString(Join(a.m_text, b.m_text));
}

CString operator+(const CString& a, const char* b) {
  return CString(Join(a.m_text, ViewOf(b)));
}

CString operator+(const char* a, const CString& b) {
  return CString(Join(ViewOf(a), b.m_text));
}

CString operator+(const CString& a, char b) {
  return CString(Join(a.m_text, {&b, 1}));
}

CString operator+(char a, const CString& b) {
  return CString(Join({&a, 1}, b.m_text));
}

std::strong_ordering operator<=>(const CString& a, const CString& b) noexcept {
  return tesselkit::platform::CompareText(a.View(), b.View()) <=> 0;
}

std::strong_ordering operator<=>(const CString& a, const char* b) noexcept {
  return tesselkit::platform::CompareText(a.View(), ViewOf(b)) <=> 0;
}
