#include "tools/twreg/value_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

#include "tesselkit/platform/code_page.h"
#include "tesselkit/platform/mbstring.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/page_conversion.h"

namespace twreg {

namespace {

constexpr std::string_view kTypePrefix = "REG_";
constexpr std::string_view kDigits = "0123456789abcdef";

struct TypeOfName {
  DWORD type;
  std::string_view name;
};

constexpr TypeOfName kTypes[] = {
    {REG_NONE, "REG_NONE"},           {REG_SZ, "REG_SZ"},
    {REG_EXPAND_SZ, "REG_EXPAND_SZ"}, {REG_BINARY, "REG_BINARY"},
    {REG_DWORD, "REG_DWORD"},         {REG_DWORD_BIG_ENDIAN, "REG_DWORD_BIG_ENDIAN"},
    {REG_LINK, "REG_LINK"},           {REG_MULTI_SZ, "REG_MULTI_SZ"},
};

bool IsNamed(const TypeOfName& type, std::string_view name) {
  using tesselkit::platform::CompareTextNoCase;
  return CompareTextNoCase(type.name, name) == 0 ||
         CompareTextNoCase(type.name.substr(kTypePrefix.size()), name) == 0;
}

bool IsText(DWORD type) {
  return type == REG_SZ || type == REG_EXPAND_SZ;
}

int DigitValue(char c) {
  if (c >= 'A' && c <= 'F') c = static_cast<char>(c - 'A' + 'a');
  const std::size_t at = kDigits.find(c);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// The bytes of a number in the order of `type`, which is its own inverse.
std::string InOrderOf(DWORD type, std::string bytes) {
  const bool is_stored_high_first = type == REG_DWORD_BIG_ENDIAN;
  const bool is_host_high_first = std::endian::native == std::endian::big;
  if (is_stored_high_first != is_host_high_first) std::ranges::reverse(bytes);
  return bytes;
}

std::string DataOfTexts(const std::vector<std::string>& texts) {
  std::string data;
  for (const std::string& text : texts) {
    if (text.empty()) throw UsageError("An empty text would end the list");
    data += text + '\0';
  }
  return data + '\0';
}

std::string EscapedByte(char c) {
  if (c == '\n') return "\\n";
  if (c == '\r') return "\\r";
  if (c == '\t') return "\\t";
  if (c == '"' || c == '\\') return {'\\', c};
  return "\\x" + HexText({&c, 1});
}

// Whether the character is U+0080 to U+009F, or a byte of theirs that is no text: some terminals
// obey either.
bool IsLateControl(std::string_view c) {
  const auto first = static_cast<unsigned char>(c[0]);
  const bool may_be = c.size() == 1 ? first >= 0x80 && first < 0xA0 : first == 0xC2;
  if (!may_be) return false;
  const char16_t unit = WideOf(CString(c), _getmbcp())[0];
  return unit == kUnreadable || (unit >= 0x80 && unit < 0xA0);
}

bool IsControl(std::string_view c) {
  const auto first = static_cast<unsigned char>(c[0]);
  return first < 0x20 || first == 0x7F || IsLateControl(c);
}

std::string Escaped(std::string_view text, std::string_view more_to_escape) {
  std::string escaped;
  while (!text.empty()) {
    const char* const end = text.data() + text.size();
    const std::string_view c =
        text.substr(0, tesselkit::platform::CharacterLength(text.data(), end));
    if (IsControl(c) || (c.size() == 1 && more_to_escape.find(c[0]) != std::string_view::npos)) {
      for (const char byte : c) escaped += EscapedByte(byte);
    } else {
      escaped += c;
    }
    text.remove_prefix(c.size());
  }
  return escaped;
}

std::string HexOfTable(std::string_view data) {
  constexpr std::size_t kMost = 32;
  std::string shown = HexText(data.substr(0, kMost));
  if (data.size() <= kMost) return shown;
  return shown + "... (" + std::to_string(data.size()) + " bytes)";
}

std::string NumberOfTable(DWORD number) {
  std::array<char, 8> digits{};
  const auto end = std::to_chars(digits.begin(), digits.end(), number, 16).ptr;
  const std::string hex(digits.begin(), end);
  return "0x" + std::string(8 - hex.size(), '0') + hex + " (" + std::to_string(number) + ")";
}

}  // namespace

std::string TypeName(DWORD type) {
  const auto* found = std::ranges::find(kTypes, type, &TypeOfName::type);
  if (found != std::end(kTypes)) return std::string(found->name);
  std::array<char, 8> digits{};
  const auto end = std::to_chars(digits.begin(), digits.end(), type, 16).ptr;
  return "type 0x" + std::string(digits.begin(), end);
}

std::optional<DWORD> ParseType(std::string_view text) {
  const auto* found =
      std::ranges::find_if(kTypes, [&](const TypeOfName& type) { return IsNamed(type, text); });
  return found != std::end(kTypes) ? found->type : ParseNumber(text);
}

std::optional<DWORD> ParseNumber(std::string_view text) {
  const bool is_hex = text.starts_with("0x") || text.starts_with("0X");
  if (is_hex) text.remove_prefix(2);
  DWORD number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, is_hex ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

bool IsTextType(DWORD type) {
  return IsText(type) || type == REG_MULTI_SZ;
}

std::string HexText(std::string_view data) {
  std::string text;
  text.reserve(data.size() * 2);
  for (const char c : data) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

std::optional<std::string> ParseHex(std::string_view text) {
  std::string data;
  while (!text.empty()) {
    if (text[0] == ' ') {
      text.remove_prefix(1);
      continue;
    }
    const int high = DigitValue(text[0]);
    const int low = text.size() > 1 ? DigitValue(text[1]) : -1;
    if (high < 0 || low < 0) return std::nullopt;
    data += static_cast<char>(high << 4 | low);
    text.remove_prefix(2);
  }
  return data;
}

std::optional<std::string> TextOfValue(const Value& value) {
  if (!IsText(value.type)) return std::nullopt;
  std::string text = value.data;
  if (text.ends_with('\0')) text.pop_back();
  return text;
}

std::optional<std::vector<std::string>> TextsOfValue(const Value& value) {
  if (value.type != REG_MULTI_SZ) return std::nullopt;
  std::vector<std::string> texts;
  std::string_view rest = value.data;
  while (!rest.empty() && rest[0] != '\0') {
    const std::string_view text = rest.substr(0, rest.find('\0'));
    texts.emplace_back(text);
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
  }
  return texts;
}

std::optional<DWORD> NumberOfValue(const Value& value) {
  const bool is_number = value.type == REG_DWORD || value.type == REG_DWORD_BIG_ENDIAN;
  if (!is_number || value.data.size() != sizeof(DWORD)) return std::nullopt;
  DWORD number = 0;
  std::memcpy(&number, InOrderOf(value.type, value.data).data(), sizeof number);
  return number;
}

std::string DataOfNumber(DWORD type, DWORD number) {
  std::string bytes(sizeof number, '\0');
  std::memcpy(bytes.data(), &number, sizeof number);
  return InOrderOf(type, bytes);
}

std::string PlainText(const Value& value) {
  if (const auto text = TextOfValue(value)) return *text;
  if (const auto number = NumberOfValue(value)) return std::to_string(*number);
  const auto texts = TextsOfValue(value);
  if (!texts) return HexText(value.data);
  std::string lines;
  for (const std::string& text : *texts) lines.append(lines.empty() ? "" : "\n") += text;
  return lines;
}

std::string TableText(const Value& value) {
  if (const auto text = TextOfValue(value)) return QuotedText(*text);
  if (const auto number = NumberOfValue(value)) return NumberOfTable(*number);
  const auto texts = TextsOfValue(value);
  if (!texts) return HexOfTable(value.data);
  std::string list;
  for (const std::string& text : *texts) list.append(list.empty() ? "" : " ") += QuotedText(text);
  return list;
}

std::string PrintableText(std::string_view text) {
  return Escaped(text, "");
}

std::string QuotedText(std::string_view text) {
  return '"' + Escaped(text, "\"\\") + '"';
}

std::string DataOfWords(DWORD type, const std::vector<std::string>& words) {
  if (type == REG_MULTI_SZ) return DataOfTexts(words);
  if (words.size() > 1) throw UsageError(TypeName(type) + " takes one VALUE");
  if (IsText(type) || type == REG_DWORD || type == REG_DWORD_BIG_ENDIAN) {
    if (words.empty()) throw UsageError(TypeName(type) + " takes one VALUE");
    if (IsText(type)) return words[0] + '\0';
    const auto number = ParseNumber(words[0]);
    if (!number) throw UsageError("No number of 32 bits: \"" + words[0] + "\"");
    return DataOfNumber(type, *number);
  }
  if (words.empty()) return {};
  const auto data = ParseHex(words[0]);
  if (!data) throw UsageError("No bytes in hex digits: \"" + words[0] + "\"");
  return *data;
}

}  // namespace twreg
