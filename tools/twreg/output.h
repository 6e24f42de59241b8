// What a command answers, gathered and written at its end: lines for people, or one JSON document.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/twreg/json.h"
#include "tools/twreg/key_path.h"
#include "tools/twreg/value_text.h"

namespace twreg {

enum class Style { kPlain, kKey, kName, kType, kGood, kBad };

class Output {
 public:
  Output(bool is_json, bool is_colored) : m_is_json(is_json), m_is_colored(is_colored) {}

  // Whether the answer is to be the JSON document; the text counts for nothing then, and the
  // document for nothing else.
  bool IsJson() const { return m_is_json; }
  Json& Document() { return m_json; }

  void Text(std::string_view text, Style style = Style::kPlain);
  void Line(std::string_view text, Style style = Style::kPlain);

  // Lines of a name, a type and the data, in columns.
  void Table(const std::vector<Value>& values);

  // What went wrong while the rest was done, for standard error.
  void Complain(std::string text) { m_complaints.push_back(std::move(text)); }
  const std::vector<std::string>& Complaints() const { return m_complaints; }

  // Everything, in bytes for standard output.
  std::string Whole() const;

 private:
  bool m_is_json;
  bool m_is_colored;
  std::string m_text;
  Json m_json;
  std::vector<std::string> m_complaints;
};

// A name as a table shows it: "@" for the unnamed value's, in quotes what could be mistaken.
std::string TableName(const std::string& name);

// The value as an object: its name, its type, its data in hex digits, and what they say: "text",
// "texts" or "number", where the type has such.
void PutValue(const Value& value, Json& json);

// The members "name", "type", "data", ... of an object that is open.
void PutValueMembers(const Value& value, Json& json);

}  // namespace twreg
