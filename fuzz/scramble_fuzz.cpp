// The scrambling: any text is either refused by the test and by AdDecryptString alike, or gives a
// text that, scrambled again, begins with the same digits; and any text comes back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tesselkit/encoding/adcrypt.h"
#include "tesselkit/failure/message_exception.h"
#include "tesselkit/platform/debug_output.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

bool IsRefused(const std::string& text) {
  try {
    AdDecryptString(text.c_str());
    return false;
  } catch (PaMsgException* exception) {
    exception->Delete();
    return true;
  }
}

void RunDigits(const std::string& digits) {
  const std::string text(AdDecryptString(digits.c_str()).View());
  if (text.empty()) return;
  const std::string again(AdEncryptStringReversibly(text.c_str()).View());
  // The NUL's own digits are missing where the text was not cut at one.
  const std::size_t known = std::min(again.size(), digits.size());
  Require(known + 2 >= again.size());
  Require(again.compare(0, known, digits, 0, known) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = [] {
    tesselkit::platform::SetDebugOutputSink([](const char*) {});
    return true;
  }();
  std::string text(reinterpret_cast<const char*>(data), quiet ? size : 0);
  text.resize(text.find('\0') != std::string::npos ? text.find('\0') : text.size());
  const bool is_scrambled = !text.empty() && text.size() % 2 == 0 &&
                            text.find_first_not_of("0123456789abcdef") == std::string::npos;
  Require(AdIsReversiblyEncryptedString(text.c_str()) == (is_scrambled ? 1 : 0));
  Require(IsRefused(text) == !is_scrambled);
  if (is_scrambled) RunDigits(text);
  if (text.empty()) return 0;
  const CString digits = AdEncryptStringReversibly(text.c_str());
  Require(static_cast<std::size_t>(digits.GetLength()) == 2 * text.size() + 2);
  Require(AdDecryptString(digits).View() == text);
  return 0;
}
