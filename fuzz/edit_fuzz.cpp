// Splitting, joining, words, replacing, line ends and paths against their models. The first byte of
// the input chooses the code page; then come a set of separators, a replacement and the text, with
// a zero byte after each of the first two.
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

#include "tesselkit/util/adutil_edit.h"
#include "tesselkit/util/adutil_line_ends.h"
#include "tesselkit/util/adutil_path.h"
#include "tests/support/code_page.h"
#include "tests/support/edit_model.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void FuzzParts(const std::string& text, const std::string& set, const std::string& other) {
  CStringArray parts;
  AdSplitString(text.c_str(), set.c_str(), parts);
  const test::Texts expected = test::Split(text, set);
  Require(static_cast<std::size_t>(parts.GetSize()) == expected.size());
  for (int i = 0; i < parts.GetSize(); ++i) Require(parts[i].View() == expected[i]);

  CString joined;
  AdCStringArrayToCString(parts, joined, other.c_str());
  Require(joined.View() == test::Joined(expected, other));

  CString rest(text);
  std::string expected_rest = text;
  for (int words = 0; words < 3; ++words) {
    Require(AdRemoveWord(rest, set.c_str()).View() == test::RemoveWord(expected_rest, set));
    Require(rest.View() == expected_rest);
  }
}

void FuzzWhole(const std::string& text, const std::string& set, const std::string& other) {
  CString replaced(text);
  AdReplaceString(replaced, set.c_str(), other.c_str());
  Require(replaced.View() == test::Replaced(text, set, other));
  Require(AdStringToNewlineFormat(text.c_str()).View() == test::WithLineEnds(text, "\n"));
  Require(AdStringToCRLFFormat(text.c_str()).View() == test::WithLineEnds(text, "\r\n"));
  Require(AdDirname(text.c_str()).View() == test::DirectoryOf(text));
  Require(AdBasename(text.c_str()).View() == test::FileOf(text));
}

// Takes what stands before the next zero byte off the input.
std::string TakeText(std::string& input) {
  const std::size_t end = input.find('\0') < input.size() ? input.find('\0') : input.size();
  const std::string text = input.substr(0, end);
  input.erase(0, end + 1);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const test::CodePage page(test::kCodePages[data[0] % std::size(test::kCodePages)]);
  std::string input(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string set = TakeText(input);
  const std::string other = TakeText(input);
  const std::string text = TakeText(input);
  FuzzParts(text, set, other);
  FuzzWhole(text, set, other);
  return 0;
}
