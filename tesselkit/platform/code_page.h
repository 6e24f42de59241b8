// The code pages behind mbstring.h, for the library's own walks over text with a length.
//
// A text here may hold NUL bytes; `end` is where it ends. Nothing reads at or past `end`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tesselkit/platform/export.h"

namespace tesselkit::platform {

enum class CodePageKind : std::uint8_t { kSingleByte, kDoubleByte, kUtf8 };

// A text whose length is not known yet; null is the empty one.
inline std::string_view ViewOf(const char* text) noexcept {
  return text != nullptr ? std::string_view(text) : std::string_view();
}

// Makes a page the process's. False for an unknown number, which changes nothing.
TESSELKIT_API bool SetCodePage(int number) noexcept;
TESSELKIT_API bool SetCodePageOfEnvironment() noexcept;

// The process's code page.
TESSELKIT_API int CodePageNumber() noexcept;
TESSELKIT_API CodePageKind CurrentCodePageKind() noexcept;

// Whether a character of more than one byte may begin with `byte`.
TESSELKIT_API bool IsLeadByte(unsigned char byte) noexcept;

// Whether `byte` is a character of its own wherever it stands: it begins no longer character and
// is part of none.
TESSELKIT_API bool StandsAlone(char byte) noexcept;

// Length in bytes of the character at `c`, which lies before `end`.
TESSELKIT_API std::size_t LongCharacterLength(const char* c, const char* end) noexcept;

inline std::size_t CharacterLength(const char* c, const char* end) noexcept {
  return static_cast<unsigned char>(*c) < 0x80 ? 1 : LongCharacterLength(c, end);
}

// Where the character begins that covers position `at` of `text`; the text's size for its end.
// Looks back no further than to `known`, where a character is known to begin, and mostly not that
// far.
TESSELKIT_API std::size_t CharacterStart(std::string_view text, std::size_t at,
                                         std::size_t known = 0) noexcept;

// FindText for what is not one byte below 0x40.
TESSELKIT_API std::size_t FindLongText(std::string_view text, std::string_view wanted,
                                       std::size_t from) noexcept;

// The first position at or after `from` where `wanted` stands as whole characters of `text`;
// std::string_view::npos when there is none. A character must begin at `from`. An empty `wanted`
// is found at once.
inline std::size_t FindText(std::string_view text, std::string_view wanted,
                            std::size_t from = 0) noexcept {
  // No page continues a character with a byte below 0x40.
  const bool is_plain = wanted.size() == 1 && static_cast<unsigned char>(wanted[0]) < 0x40;
  return is_plain ? text.find(wanted[0], from) : FindLongText(text, wanted, from);
}

// The first position at or after `at` where a character of `text` begins; its end when there is
// none.
TESSELKIT_API std::size_t CharacterAtOrAfter(std::string_view text, std::size_t at) noexcept;

// The last position where the one-byte character `wanted` stands.
TESSELKIT_API std::size_t FindLastCharacter(std::string_view text, char wanted) noexcept;

// A text and where it ends; a null `end` stands for "at its NUL".
struct TextSpan {
  TextSpan(const char* text) noexcept : begin(text) {}
  TextSpan(std::string_view text) noexcept
      : begin(text.data() != nullptr ? text.data() : ""), end(begin + text.size()) {}

  const char* begin;
  const char* end = nullptr;
};

// Orders by the codes of the characters: below 0, 0 or above 0.
TESSELKIT_API int CompareText(TextSpan a, TextSpan b) noexcept;
TESSELKIT_API int CompareTextNoCase(TextSpan a, TextSpan b) noexcept;

// Changes the letters of `length` bytes at `text` in place, by the rule of _mbsicmp.
TESSELKIT_API void MakeLowerCase(char* text, std::size_t length) noexcept;
TESSELKIT_API void MakeUpperCase(char* text, std::size_t length) noexcept;

// The number of whole characters' bytes of `text` that fit in `limit` bytes.
TESSELKIT_API std::size_t WholeCharactersWithin(std::string_view text, std::size_t limit) noexcept;

}  // namespace tesselkit::platform
