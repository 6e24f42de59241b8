// A value's data as people read and write them, by its type.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/platform/registry.h"

namespace twreg {

// A value as the registry stores it: texts with their NULs, numbers lowest byte first.
struct Value {
  std::string name;  // empty for the unnamed one
  DWORD type = REG_NONE;
  std::string data;
  bool operator==(const Value&) const = default;
};

// "REG_SZ"; "type 0x2a" for a number that has no name.
std::string TypeName(DWORD type);

// Reads "sz", "REG_SZ" (in any case) or a number, decimal or with "0x"; nothing for all else.
std::optional<DWORD> ParseType(std::string_view text);

// A number of 32 bits, decimal or, with "0x", hexadecimal; nothing for all else.
std::optional<DWORD> ParseNumber(std::string_view text);

// Whether values of that type are texts, or lists of them, in the code page.
bool IsTextType(DWORD type);

// Two digits for each byte.
std::string HexText(std::string_view data);

// The bytes that digits stand for; blanks between bytes do not count. Nothing when it is no such
// text.
std::optional<std::string> ParseHex(std::string_view text);

// The text of a REG_SZ or REG_EXPAND_SZ: the data without the NUL at its end, which may be missing.
// Nothing for other types.
std::optional<std::string> TextOfValue(const Value& value);

// The texts of a REG_MULTI_SZ, up to its first empty one. Nothing for other types.
std::optional<std::vector<std::string>> TextsOfValue(const Value& value);

// The number of a REG_DWORD or REG_DWORD_BIG_ENDIAN of four bytes; nothing for all else.
std::optional<DWORD> NumberOfValue(const Value& value);

// The data of a number of that type, one of the two.
std::string DataOfNumber(DWORD type, DWORD number);

// What `set` takes for the same value: a text as it is, the texts of a list with a line feed after
// each but the last, a number in decimal, everything else in hex digits.
std::string PlainText(const Value& value);

// The same in one line for a table: quoted texts, control characters escaped.
std::string TableText(const Value& value);

// `text` with control characters escaped, those of the code page and bytes that could be taken for
// such; a terminal shows it and obeys nothing in it.
std::string PrintableText(std::string_view text);

// The same with quotes and backslashes escaped, in quotes.
std::string QuotedText(std::string_view text);

// The data of that type that the words stand for: one word for a text, a number or hex digits (none
// for no data), any number of them for a list. Throws UsageError for words that do not fit the
// type.
std::string DataOfWords(DWORD type, const std::vector<std::string>& words);

}  // namespace twreg
