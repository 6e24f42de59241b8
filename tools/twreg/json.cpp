#include "tools/twreg/json.h"

#include <memory>

#include "tesselkit/platform/automation.h"
#include "tesselkit/platform/cstring.h"
#include "tools/twreg/value_text.h"

namespace twreg {

namespace {

// The character at `wide[at]`, which is stepped over. The texts hold no half pairs.
std::uint32_t TakeCode(std::u16string_view wide, std::size_t& at) {
  const std::uint32_t unit = wide[at++];
  if (unit < 0xD800 || unit > 0xDBFF || at == wide.size()) return unit;
  return 0x10000 + ((unit - 0xD800) << 10 | (wide[at++] - 0xDC00u));
}

void AppendUtf8(std::uint32_t code, std::string& out) {
  const auto tail = [&](int shift) { out += static_cast<char>(0x80 | (code >> shift & 0x3F)); };
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | code >> 6);
    tail(0);
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | code >> 12);
    tail(6);
    tail(0);
  } else {
    out += static_cast<char>(0xF0 | code >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

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
  const std::unique_ptr<OLECHAR, decltype(&SysFreeString)> wide(CString(text).AllocSysString(),
                                                                &SysFreeString);
  const std::u16string_view units(wide.get(), SysStringLen(wide.get()));
  std::string utf8;
  for (std::size_t at = 0; at < units.size();) AppendUtf8(TakeCode(units, at), utf8);
  return utf8;
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
