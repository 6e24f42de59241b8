#include "tools/twreg/registry_file_writer.h"

#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include "tesselkit/platform/code_page.h"
#include "tools/twreg/failure.h"

namespace twreg {

namespace {

using tesselkit::platform::CharacterLength;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kColumns = 80;

std::string HexNumber(DWORD number) {
  std::array<char, 8> digits{};
  const auto end = std::to_chars(digits.begin(), digits.end(), number, 16).ptr;
  return {digits.begin(), end};
}

// Whether `before`, a character of its own so far, would take a backslash behind it for its trail.
bool SwallowsBackslash(std::string_view before) {
  if (before.size() != 1) return false;
  const char both[] = {before[0], '\\'};
  return CharacterLength(both, both + 2) == 2;
}

// `text` in quotes; nothing when it would not be read back.
std::optional<std::string> Quoted(std::string_view text) {
  std::string quoted = "\"";
  std::string_view before;
  while (!text.empty()) {
    const std::string_view c =
        text.substr(0, CharacterLength(text.data(), text.data() + text.size()));
    if (c == "\r" || c == "\n" || c[0] == '\0') return std::nullopt;
    const bool is_escaped = c == "\\" || c == "\"";
    if (is_escaped && SwallowsBackslash(before)) return std::nullopt;
    if (is_escaped) quoted += '\\';
    quoted += c;
    before = c;
    text.remove_prefix(c.size());
  }
  return quoted + '"';
}

std::string KeyLine(const FileKey& key) {
  const std::string name = key.path.Name();
  std::string line = (key.is_deleted ? "[-" : "[") + name + "]";
  const bool is_closed = tesselkit::platform::FindLastCharacter(line, ']') == line.size() - 1;
  if (!is_closed || name.find_first_of("\r\n") != std::string::npos) {
    throw Failure("A registry file cannot hold the name of the key " + QuotedText(name));
  }
  return line;
}

std::string NamePart(const std::string& name) {
  if (name.empty()) return "@=";
  const std::optional<std::string> quoted = Quoted(name);
  if (!quoted) {
    throw Failure("A registry file cannot hold the name of the value " + QuotedText(name));
  }
  return *quoted + "=";
}

// The text of a REG_SZ in quotes, if that is all there is to its data.
std::optional<std::string> QuotedData(const Value& value) {
  if (value.type != REG_SZ || !value.data.ends_with('\0')) return std::nullopt;
  return Quoted(std::string_view(value.data).substr(0, value.data.size() - 1));
}

std::optional<std::string> NumberData(const Value& value) {
  const std::optional<DWORD> number = NumberOfValue(value);
  if (value.type != REG_DWORD || !number) return std::nullopt;
  const std::string digits = HexNumber(*number);
  return "dword:" + std::string(8 - digits.size(), '0') + digits;
}

// Appends the bytes to the line at the end of `line`, and goes on in new lines where it is full.
void AppendBytes(std::string_view data, std::string& line) {
  constexpr std::size_t kByteCommaBackslash = 4;
  std::size_t column = line.size();
  for (std::size_t i = 0; i < data.size(); ++i) {
    if (column + kByteCommaBackslash > kColumns) {
      line += "\\\r\n  ";
      column = 2;
    }
    line += HexText(data.substr(i, 1));
    if (i + 1 < data.size()) line += ',';
    column += 3;
  }
}

std::string ValueLine(const FileValue& entry) {
  std::string line = NamePart(entry.value.name);
  if (entry.is_deleted) return line + '-';
  if (const auto text = QuotedData(entry.value)) return line + *text;
  if (const auto number = NumberData(entry.value)) return line + *number;
  line += entry.value.type == REG_BINARY ? "hex:" : "hex(" + HexNumber(entry.value.type) + "):";
  AppendBytes(entry.value.data, line);
  return line;
}

}  // namespace

std::string WriteRegistryFile(const RegistryFile& file) {
  std::string text = "REGEDIT4";
  text += kLineEnd;
  for (const FileKey& key : file) {
    text += kLineEnd;
    text += KeyLine(key);
    text += kLineEnd;
    for (const FileValue& value : key.values) {
      text += ValueLine(value);
      text += kLineEnd;
    }
  }
  return text;
}

}  // namespace twreg
