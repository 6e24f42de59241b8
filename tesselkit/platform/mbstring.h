// Characters of the process's multibyte code page: how long one is, stepping, comparing.
//
// The page is chosen once, at start, from the codeset of the environment's locale (LC_ALL,
// LC_CTYPE, LANG), and by _setmbcp afterwards. Known pages: 932, 936, 949 and 950 (two-byte),
// 65001 (UTF-8, one to four bytes) and the single-byte pages 0 and 1250 to 1258.
// A lead byte whose trail is missing (NUL, or a byte that no trail can be) is a character of one
// byte, so no walk steps past a terminator. Texts are NUL-terminated and must not be null.
// All functions may be called from any thread; _setmbcp takes effect for all of them.
#pragma once

#include <cstddef>

#include "tesselkit/platform/export.h"

constexpr int _MB_CP_SBCS = 0;  // a single-byte page
constexpr int _MB_CP_OEM = -2;  // these three: the page of the environment's locale
constexpr int _MB_CP_ANSI = -3;
constexpr int _MB_CP_LOCALE = -4;

// Makes `code_page` the page of the process. Returns 0, or -1 for an unknown page, which changes
// nothing.
TESSELKIT_API int _setmbcp(int code_page) noexcept;

// The number of the page, as it was set; 0 when nothing chose one.
TESSELKIT_API int _getmbcp() noexcept;

// 1 when a character of more than one byte may begin with the low eight bits of `byte` (a `char`
// may come sign-extended), else 0.
TESSELKIT_API int _ismbblead(unsigned byte) noexcept;

// Orders two texts by the codes of their characters: below 0, 0 or above 0. A character of one
// byte comes before every longer one.
TESSELKIT_API int _mbscmp(const char* a, const char* b) noexcept;

// The same with letters compared as lower case: the ASCII letters, the full-width letters of page
// 932, and on single-byte pages whatever the locale's lower-casing (LC_CTYPE) folds.
TESSELKIT_API int _mbsicmp(const char* a, const char* b) noexcept;

// Orders two texts as the locale collates them (LC_COLLATE, as the process has set it).
TESSELKIT_API int _mbscoll(const char* a, const char* b) noexcept;

namespace tesselkit::platform {

// Length in bytes of the character at `c`, whose first byte is 0x80 or above.
TESSELKIT_API std::size_t LongCharacterLength(const char* c) noexcept;

}  // namespace tesselkit::platform

// Length in bytes of the character at `c`; 1 at the terminating NUL.
inline std::size_t _mbclen(const char* c) noexcept {
  // Bytes below 0x80 lead nothing in any of the pages.
  return static_cast<unsigned char>(*c) < 0x80 ? 1 : tesselkit::platform::LongCharacterLength(c);
}

// Where the next character begins.
inline const char* _mbsinc(const char* c) noexcept {
  return c + _mbclen(c);
}
inline char* _mbsinc(char* c) noexcept {
  return c + _mbclen(c);
}

// Copies the one character at `source`, which may be the NUL.
inline void _mbccpy(char* destination, const char* source) noexcept {
  for (std::size_t left = _mbclen(source); left > 0; --left) *destination++ = *source++;
}

// The same for texts of unsigned bytes.
inline std::size_t _mbclen(const unsigned char* c) noexcept {
  return _mbclen(reinterpret_cast<const char*>(c));
}
inline unsigned char* _mbsinc(const unsigned char* c) noexcept {
  return const_cast<unsigned char*>(c) + _mbclen(c);
}
inline void _mbccpy(unsigned char* destination, const unsigned char* source) noexcept {
  _mbccpy(reinterpret_cast<char*>(destination), reinterpret_cast<const char*>(source));
}
inline int _mbscmp(const unsigned char* a, const unsigned char* b) noexcept {
  return _mbscmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b));
}
inline int _mbsicmp(const unsigned char* a, const unsigned char* b) noexcept {
  return _mbsicmp(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b));
}
inline int _mbscoll(const unsigned char* a, const unsigned char* b) noexcept {
  return _mbscoll(reinterpret_cast<const char*>(a), reinterpret_cast<const char*>(b));
}
