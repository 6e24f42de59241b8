// A text in the process's code page that owns its bytes.
//
// Lengths, counts and positions are in bytes. Searches and changes of case go by the characters of
// the code page: no byte inside a character is ever taken for one. A null `const char*` is the
// empty text. A text may hold NUL bytes where it was made with a length; what takes a
// `const char*` sees it up to the first one.
// A position outside the text throws CInvalidArgException* where one character is wanted (GetAt,
// SetAt, []); where a part is wanted, the part is cut to what is there.
// When memory runs out, CMemoryException* is thrown and the text is as it was.
// Different objects may be used by different threads at once; one object only for reading.
#pragma once

#include <compare>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <string_view>

#include "tesselkit/platform/allocator.h"
#include "tesselkit/platform/export.h"
#include "tesselkit/platform/types.h"

class TESSELKIT_API CString {
 public:
  CString() noexcept = default;
  CString(const CString&) = default;
  CString(CString&&) noexcept = default;
  CString(const char* text);
  CString(const char* text, int length);  // `length` bytes, NUL bytes included
  CString(char c, int repeat = 1);
  explicit CString(std::string_view text);
  ~CString() = default;

  CString& operator=(const CString&) = default;
  CString& operator=(CString&&) noexcept = default;
  CString& operator=(const char* text);
  CString& operator=(char c);

  // The whole text.
  int GetLength() const noexcept { return static_cast<int>(m_text.size()); }
  BOOL IsEmpty() const noexcept { return m_text.empty() ? TRUE : FALSE; }
  void Empty() noexcept;  // gives the memory back as well
  operator const char*() const noexcept { return m_text.c_str(); }
  std::string_view View() const noexcept { return m_text; }

  // One byte of it.
  char GetAt(int index) const;
  void SetAt(int index, char c);
  template <std::integral Index>
  char operator[](Index index) const {
    const auto place = static_cast<long long>(index);
    return GetAt(place == static_cast<int>(place) ? static_cast<int>(place) : -1);
  }

  // Appending.
  CString& operator+=(const CString& text);
  CString& operator+=(const char* text);
  CString& operator+=(char c);
  CString& Append(std::string_view text) {
    m_text.append(text);
    return *this;
  }
  void Preallocate(std::size_t length) { m_text.reserve(length); }
  void Truncate(std::size_t length) {
    m_text.resize(length < m_text.size() ? length : m_text.size());
  }
  void RemoveFront(std::size_t length) { m_text.erase(0, length); }

  // Parts, cut to what is there; negative numbers count as 0.
  CString Left(int count) const;
  CString Right(int count) const;
  CString Mid(int first) const;
  CString Mid(int first, int count) const;
  // The longest front made only of characters of `characters`; the longest without any of them.
  CString SpanIncluding(const char* characters) const;
  CString SpanExcluding(const char* characters) const;

  // Comparing up to the first NUL: below 0, 0 or above 0, by _mbscmp, _mbsicmp and _mbscoll.
  int Compare(const char* other) const noexcept;
  int CompareNoCase(const char* other) const noexcept;
  int Collate(const char* other) const noexcept;

  // Where something stands, or -1. A start inside a character counts as the end of it.
  int Find(char c, int start = 0) const noexcept;
  int Find(const char* text, int start = 0) const noexcept;
  int ReverseFind(char c) const noexcept;
  int FindOneOf(const char* characters) const noexcept;

  // Changing in place.
  void MakeUpper() noexcept;
  void MakeLower() noexcept;
  void MakeReverse();
  void TrimLeft();  // blanks: space, tab, line feed, vertical tab, form feed, carriage return
  void TrimLeft(char c);
  void TrimLeft(const char* characters);
  void TrimRight();
  void TrimRight(char c);
  void TrimRight(const char* characters);
  int Replace(char from, char to);  // these two and Remove return how many were changed
  int Replace(const char* from, const char* to);
  int Remove(char c);
  int Insert(int index, char c);  // these three return the new length
  int Insert(int index, const char* text);
  int Delete(int index, int count = 1);

  // Formatting in the manner of printf; the arguments may point into this text.
  void Format(const char* format, ...) TESSELKIT_PRINTF(2, 3);
  void FormatV(const char* format, va_list arguments) TESSELKIT_PRINTF(2, 0);

  // Becomes the string `id` of the process's resources. FALSE, with an empty text, when there is
  // none.
  BOOL LoadString(UINT id);

  // Direct access: at least `min_length` bytes to write at, and one for the terminator. Until
  // ReleaseBuffer is called, with the new length or -1 for "up to the first NUL", nothing else may
  // use the object.
  char* GetBuffer(int min_length);
  char* GetBufferSetLength(int length);
  void ReleaseBuffer(int length = -1);
  void FreeExtra();  // gives back memory that the text does not need

  // The whole text in UTF-16; what cannot be read in the code page becomes U+FFFD. The caller ends
  // it with SysFreeString.
  BSTR AllocSysString() const;

  friend void swap(CString& a, CString& b) noexcept { a.m_text.swap(b.m_text); }

 private:
  explicit CString(tesselkit::platform::Text&& text) noexcept : m_text(std::move(text)) {}

  friend TESSELKIT_API CString operator+(const CString& a, const CString& b);
  friend TESSELKIT_API CString operator+(const CString& a, const char* b);
  friend TESSELKIT_API CString operator+(const char* a, const CString& b);
  friend TESSELKIT_API CString operator+(const CString& a, char b);
  friend TESSELKIT_API CString operator+(char a, const CString& b);

  tesselkit::platform::Text m_text;
};

TESSELKIT_API CString operator+(const CString& a, const CString& b);
TESSELKIT_API CString operator+(const CString& a, const char* b);
TESSELKIT_API CString operator+(const char* a, const CString& b);
TESSELKIT_API CString operator+(const CString& a, char b);
TESSELKIT_API CString operator+(char a, const CString& b);

// Two objects are compared whole, NUL bytes included; an object and a `const char*` as far as the
// latter goes. The order is that of _mbscmp.
inline bool operator==(const CString& a, const CString& b) noexcept {
  return a.View() == b.View();
}
inline bool operator==(const CString& a, const char* b) noexcept {
  return a.View() == (b != nullptr ? std::string_view(b) : std::string_view());
}
TESSELKIT_API std::strong_ordering operator<=>(const CString& a, const CString& b) noexcept;
TESSELKIT_API std::strong_ordering operator<=>(const CString& a, const char* b) noexcept;
