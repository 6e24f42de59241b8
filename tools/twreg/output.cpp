#include "tools/twreg/output.h"

#include <algorithm>

#include "tesselkit/platform/code_page.h"

namespace twreg {

namespace {

constexpr std::string_view kPlainAgain = "\x1b[0m";

std::string_view CodeOf(Style style) {
  switch (style) {
    case Style::kKey:
      return "\x1b[1;34m";
    case Style::kName:
      return "\x1b[1m";
    case Style::kType:
      return "\x1b[36m";
    case Style::kGood:
      return "\x1b[32m";
    case Style::kBad:
      return "\x1b[1;31m";
    case Style::kPlain:
      break;
  }
  return {};
}

// A two-byte character takes two columns, one of UTF-8 mostly one.
std::size_t Columns(std::string_view text) {
  using namespace tesselkit::platform;
  if (CurrentCodePageKind() != CodePageKind::kUtf8) return text.size();
  const auto is_begin = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  return static_cast<std::size_t>(std::ranges::count_if(text, is_begin));
}

std::string Padding(std::string_view text, std::size_t columns) {
  const std::size_t taken = Columns(text);
  return std::string(taken < columns ? columns - taken : 0, ' ') + "  ";
}

}  // namespace

void Output::Text(std::string_view text, Style style) {
  const std::string_view code = m_is_colored ? CodeOf(style) : std::string_view();
  m_text += code;
  m_text += text;
  if (!code.empty()) m_text += kPlainAgain;
}

void Output::Line(std::string_view text, Style style) {
  Text(text, style);
  m_text += '\n';
}

void Output::Table(const std::vector<Value>& values) {
  constexpr std::size_t kWidest = 40;
  std::size_t name_columns = 0;
  std::size_t type_columns = 0;
  for (const Value& value : values) {
    name_columns = std::max(name_columns, Columns(TableName(value.name)));
    type_columns = std::max(type_columns, TypeName(value.type).size());
  }
  name_columns = std::min(name_columns, kWidest);
  for (const Value& value : values) {
    const std::string name = TableName(value.name);
    const std::string type = TypeName(value.type);
    Text(name, Style::kName);
    Text(Padding(name, name_columns));
    Text(type, Style::kType);
    Text(Padding(type, type_columns));
    Line(TableText(value));
  }
}

std::string Output::Whole() const {
  return m_is_json ? m_json.Document() + "\n" : m_text;
}

std::string TableName(const std::string& name) {
  if (name.empty()) return "@";
  const std::string quoted = QuotedText(name);
  const bool is_plain = quoted.size() == name.size() + 2 && name != "@";
  return is_plain ? name : quoted;
}

void PutValueMembers(const Value& value, Json& json) {
  json.Name("name").Text(value.name);
  json.Name("type").Text(TypeName(value.type));
  json.Name("data").Text(HexText(value.data));
  if (const auto text = TextOfValue(value)) json.Name("text").Text(*text);
  if (const auto texts = TextsOfValue(value)) json.Name("texts").Texts(*texts);
  if (const auto number = NumberOfValue(value)) json.Name("number").Number(*number);
}

void PutValue(const Value& value, Json& json) {
  json.BeginObject();
  PutValueMembers(value, json);
  json.EndObject();
}

}  // namespace twreg
