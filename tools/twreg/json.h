// JSON documents, written from the front to the back.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace twreg {

// The text, which is in the code page, in UTF-8. What the page cannot read becomes U+FFFD.
std::string Utf8Of(std::string_view text);

//   Json json;
//   json.BeginObject().Name("type").Text("REG_SZ").EndObject();
//   json.Document();  // {"type":"REG_SZ"}
//
// The calls must be in the order of a document; commas are put in where they belong.
class Json {
 public:
  Json& BeginObject() { return Begin('{'); }
  Json& EndObject() { return End('}'); }
  Json& BeginArray() { return Begin('['); }
  Json& EndArray() { return End(']'); }

  // The name of the member whose value comes next.
  Json& Name(std::string_view name);

  // A text in the code page.
  Json& Text(std::string_view text);
  Json& Texts(const std::vector<std::string>& texts);
  Json& Number(std::uint64_t number);
  Json& Bool(bool value);

  const std::string& Document() const { return m_document; }

 private:
  Json& Begin(char bracket);
  Json& End(char bracket);
  Json& Put(std::string_view item);

  std::string m_document;
  bool m_is_first = true;  // no comma before what comes next
};

}  // namespace twreg
