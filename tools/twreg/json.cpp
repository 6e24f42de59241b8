#include "tools/twreg/json.h"

#include "tesselkit/platform/mbstring.h"
#include "tools/twreg/page_conversion.h"
#include "tools/twreg/value_text.h"

namespace twreg {

namespace {

std::string Quoted(std::string_view utf8) {
  std::string quoted = "\"";
  for (const char c : utf8) {
    if (c == '"' || c == '\\') {
      quoted += {'\\', c};
    } else if (static_cast<unsigned char>(c) < 0x20) {
      quoted += "\\u00" + HexText({&c, 1});
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

}  // namespace

std::string Utf8Of(std::string_view text) {
  constexpr int kUtf8Page = 65001;
  return std::string(NarrowOf(WideOf(CString(text), _getmbcp()), kUtf8Page).View());
}

Json& Json::Begin(char bracket) {
  Put({&bracket, 1});
  m_is_first = true;
  return *this;
}

Json& Json::End(char bracket) {
  m_document += bracket;
  m_is_first = false;
  return *this;
}

Json& Json::Put(std::string_view item) {
  if (!m_is_first) m_document += ',';
  m_document += item;
  m_is_first = false;
  return *this;
}

Json& Json::Name(std::string_view name) {
  Put(Quoted(name) + ":");
  m_is_first = true;
  return *this;
}

Json& Json::Text(std::string_view text) {
  return Put(Quoted(Utf8Of(text)));
}

Json& Json::Texts(const std::vector<std::string>& texts) {
  BeginArray();
  for (const std::string& text : texts) Text(text);
  return EndArray();
}

Json& Json::Number(std::uint64_t number) {
  return Put(std::to_string(number));
}

Json& Json::Bool(bool value) {
  return Put(value ? "true" : "false");
}

}  // namespace twreg
