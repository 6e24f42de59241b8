#include "tesselkit/util/adutil_parse.h"

#include "tests/support/code_page.h"
#include "tests/support/text_model.h"
#include "tests/support/traced_test.h"

namespace {

class Parse : public test::TracedTest {};

// The three-argument form against the model. Returns the model's answer.
int Check(const std::string& text) {
  SCOPED_TRACE(testing::PrintToString(text) + " on page " + std::to_string(_getmbcp()));
  long expected = 0, value = 99;
  const int refusal = test::ParseLong(text, expected);
  CString problem = "before";
  AdStrToLong(text.c_str(), value, problem);
  EXPECT_EQ(value, expected);
  EXPECT_EQ(problem.View(), test::RefusalText(refusal, text));
  return refusal;
}

TEST_F(Parse, AgreesWithTheModelOnEveryPage) {
  std::vector<std::string> all_short = {""};
  for (std::size_t i = 0; all_short[i].size() < 4; ++i) {
    for (const char c : std::string_view("+-019 a")) all_short.push_back(all_short[i] + c);
  }
  unsigned long long state = 1;
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (const std::string& text : all_short) Check(text);
    for (int i = 0; i < 3000; ++i) {
      std::string text = test::RandomText(state, "0123456789", i % 2 == 0 ? 11 : 40);
      if (i % 3 == 0) text.insert(0, 1, "+-"[i % 2]);
      if (i % 5 == 0) text.insert(text.size() / 2, test::RandomText(state, "0 +\x81\x30\xB2", 3));
      Check(text);
    }
  }
}

TEST_F(Parse, Borders) {
  const test::CodePage page(932);
  const std::map<int, std::vector<std::string>> rows = {
      {0, {"-0", "+0", "007", "2147483647", "-2147483648", "+2147483647", "-0000000001"}},
      {18044, {""}},
      {18045,
       {"+-1", " 12", "12 ", "1,000", "0x1F", "1e3", "1.", "%badint%", "1/", "1:", "1\xB2",
        "\x82\x50", "18446744073709551616x"}},  // \x82\x50 is a full-width digit one
      {18046,
       {"2147483648", "-2147483649", "+2147483648", "+02147483647", "000000000000", "-00000000001",
        "18446744073709551616"}},  // 0 in 64 bits
      {18047, {"+", "-"}},
  };
  const auto thrown = [](int refusal, const std::string& text) {
    return "18055 The string \"" + text + "\" cannot be interpreted as an integer.  " +
           test::RefusalText(refusal, text);
  };
  for (const auto& [refusal, texts] : rows) {
    for (const std::string& text : texts) {
      EXPECT_EQ(Check(text), refusal) << text;
      if (refusal == 0) {
        EXPECT_EQ(AdStrToLong(text.c_str()), std::stol(text));
      } else {
        EXPECT_EQ(ThrownBy([&] { AdStrToLong(text.c_str()); }), thrown(refusal, text));
      }
    }
  }
  long value = 99;
  CString problem = "before";
  AdStrToLong(nullptr, value, problem);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(problem.View(), test::RefusalText(18044, ""));
  EXPECT_EQ(ThrownBy([] { AdStrToLong(nullptr); }), thrown(18044, ""));
}

TEST_F(Parse, DateTimes) {
  CString problem = "before";
  for (const char* text : {"2024-02-29 23:59:59", "0001-01-01 00:00:00"}) {
    EXPECT_NE(AdIsValidDateTimeString(text, problem), 0) << text;
    EXPECT_EQ(problem, "before");
  }
  for (const char* text : {static_cast<const char*>(nullptr), "", "2023-02-29 00:00:00",
                           "2024-13-01 00:00:00", "2024-01-01 24:00:00", "2024-01-01T00:00:00",
                           "2024-01-01 00:00:0:", "2024-01-01 00:00:00 ", "2024-01-01"}) {
    problem = "before";
    EXPECT_EQ(AdIsValidDateTimeString(text, problem), 0) << text;
    EXPECT_EQ(problem, "Invalid datetime string. The format must be YYYY-MM-DD hh:mm:ss.");
  }
}

}  // namespace
