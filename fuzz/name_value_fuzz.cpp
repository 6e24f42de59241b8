// The two NAME=VALUE readers against their models, and the writer against the reader. The first
// byte of the input chooses the code page and whether a name may come twice.
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

#include "tesselkit/failure/message_exception.h"
#include "tesselkit/util/adutil_name_value.h"
#include "tests/support/code_page.h"
#include "tests/support/name_value_model.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void RequireSame(const CMapStringToString& map, const test::NameValueLine& expected) {
  Require(static_cast<std::size_t>(map.GetCount()) == expected.entries.size());
  for (const auto& [name, value] : expected.entries) {
    CString found;
    Require(map.Lookup(name.c_str(), found) != 0 && found.View() == value);
  }
}

// Takes the exception over.
void RequireError(CException* error, const test::NameValueLine& expected) {
  Require((error != nullptr) == (expected.error != 0));
  if (error == nullptr) return;
  const PaMessage& message = static_cast<PaMsgException*>(error)->m_msgList.First();
  PaMessage wanted(expected.error);
  wanted.SetParam("str", CString(expected.near));
  Require(message.GetID() == expected.error && message.GetFullMsg() == wanted.GetFullMsg());
  error->Delete();
}

void FuzzLine(const std::string& line, bool allow_duplicates) {
  const test::NameValueLine expected = test::ReadNameValueLine(line, allow_duplicates);
  CMapStringToString map;
  CException* error = nullptr;
  const int is_read = AdParseNameValueString(line.c_str(), map, &error, allow_duplicates);
  Require(is_read == (expected.error == 0 ? 1 : 0));
  RequireSame(map, expected);
  RequireError(error, expected);
  for (const int sorted : {0, 1}) {
    CString written;
    CMapStringToString read;
    AdMakeNameValueString(map, written, sorted);
    Require(AdParseNameValueString(written, read, nullptr, 0) == 1);
    RequireSame(read, expected);
  }
}

void FuzzPair(const std::string& text) {
  const test::NameValuePair expected = test::ReadNameValuePair(text);
  CString name, value;
  Require(AdParseNameValue(text.c_str(), name, value) == (expected.is_pair ? 1 : 0));
  Require(name.View() == expected.name && value.View() == expected.value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const test::CodePage page(test::kCodePages[data[0] / 2 % std::size(test::kCodePages)]);
  std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  text.resize(text.find('\0') < text.size() ? text.find('\0') : text.size());
  FuzzLine(text, data[0] % 2 != 0);
  FuzzPair(text);
  return 0;
}
