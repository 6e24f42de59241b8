// AdStrToLong and the filling of messages against the models that the tests use, under every kind
// of code page.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tesselkit/failure/message.h"
#include "tesselkit/util/adutil_parse.h"
#include "tests/support/code_page.h"
#include "tests/support/text_model.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void FuzzNumber(FuzzedDataProvider& data) {
  const std::string bytes = data.ConsumeRemainingBytesAsString();
  const std::string text = bytes.substr(0, bytes.find('\0'));
  long expected = 0, value = 99;
  const int refusal = test::ParseLong(text, expected);
  CString problem = "before";
  AdStrToLong(text.c_str(), value, problem);
  Require(value == expected);
  Require(problem.View() == test::RefusalText(refusal, text));
}

void FuzzMessage(FuzzedDataProvider& data) {
  const std::string begin = data.ConsumeBool() ? "%" : data.ConsumeRandomLengthString(3);
  const std::string end = data.ConsumeBool() ? begin : data.ConsumeRandomLengthString(3);
  test::Values values;
  PaMessage message;
  for (int count = data.ConsumeIntegralInRange(0, 4); count > 0; --count) {
    const std::string name = data.ConsumeRandomLengthString(8);
    const std::string value = data.ConsumeRandomLengthString(8);
    message.SetParam(CString(name), CString(value));
    values[name] = value;
  }
  const std::string text = data.ConsumeRemainingBytesAsString();
  message.SetBeginDelim(CString(begin)).SetEndDelim(CString(end)).SetMsg(CString(text));
  Require(message.GetFullMsg().View() == test::Fill(text, begin, end, values));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  // The last byte chooses the page, the one before it what is tried.
  const test::CodePage page(data.PickValueInArray(test::kCodePages));
  if (data.ConsumeBool()) {
    FuzzNumber(data);
  } else {
    FuzzMessage(data);
  }
  return 0;
}
