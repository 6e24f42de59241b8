#include "tesselkit/util/adutil_predicates.h"

#include <algorithm>

#include "tesselkit/util/adutil_core.h"
#include "tesselkit/util/adutil_format.h"
#include "tests/support/code_page.h"
#include "tests/support/text_model.h"
#include "tests/support/traced_test.h"

namespace {

using test::Characters;
using test::Letters;

// Bytes that are leads, trails, letters or separators on some of the pages.
constexpr std::string_view kBytes =
    "aAzZ0'\\|@; \x5B\x60\x79\x7F\x80\x81\x82\x83\x9F\xA1\xB1\xBF\xC3\xE0\xE3\xF0\xFC\xFE\xFF";

// As the comparison without case sees it, in the "C" locale.
Letters Folded(const std::string& text) {
  Letters letters = Characters(text);
  for (std::string& each : letters) {
    if (each.size() == 1 && each[0] >= 'A' && each[0] <= 'Z') each[0] += 'a' - 'A';
    const bool wide = each.size() == 2 && each >= "\x82\x60" && each <= "\x82\x79";
    if (wide && _getmbcp() == 932) each[1] = static_cast<char>(each[1] + 0x21);
  }
  return letters;
}

// Everything against the characters of two texts.
void Compare(const std::string& a, const std::string& b) {
  const int same = a == b ? 1 : 0;
  const int same_folded = Folded(a) == Folded(b) ? 1 : 0;
  EXPECT_EQ(AdIsEqual(a.c_str(), b.c_str()), same);
  EXPECT_EQ(AdIsUnequal(a.c_str(), b.c_str()), 1 - same);
  EXPECT_EQ(AdIsEqualNoCase(a.c_str(), b.c_str()), same_folded);
  EXPECT_EQ(AdIsUnequalNoCase(a.c_str(), b.c_str()), 1 - same_folded);

  const Letters in_a = Characters(a), in_b = Characters(b);
  EXPECT_EQ(AdNumberOfLetters(a.c_str()), static_cast<long>(in_a.size()));
  EXPECT_EQ(AdNumberOfTCHARS(a.c_str()), a.empty() ? 0 : static_cast<long>(a.size()) + 1);
  EXPECT_EQ(AdIsEmpty(a.c_str()), a.empty() ? 1 : 0);
  EXPECT_EQ(AdIsNonEmpty(a.c_str()), a.empty() ? 0 : 1);
  EXPECT_EQ(AdIsCharNul(a.c_str()), a.empty() ? 1 : 0);
  const bool same_first = a.empty() || b.empty() ? a.empty() && b.empty() : in_a[0] == in_b[0];
  EXPECT_EQ(AdIsSameChar(a.c_str(), b.c_str()), same_first ? 1 : 0);
  std::string literal = "'";
  for (const std::string& each : in_a) literal += each == "'" ? "''" : each;
  EXPECT_EQ(AdSqlStr(a.c_str()).View(), a.empty() ? "NULL" : literal + "'");
  if (a.empty()) return;
  const bool occurs = std::find(in_b.begin(), in_b.end(), in_a[0]) != in_b.end();
  EXPECT_EQ(AdOccursIn(a.c_str(), b.c_str()), occurs ? 1 : 0);
}

// The bounded copy for one size, between guards.
void Copy(const std::string& a, std::size_t size) {
  std::string fitting;
  for (const std::string& each : Characters(a)) {
    if (fitting.size() + each.size() > size - 1) break;
    fitting += each;
  }
  std::string memory(size + 8, '\xAA');
  AdSafeStrcpy(a.c_str(), memory.data() + 4, static_cast<long>(size));
  EXPECT_STREQ(memory.c_str() + 4, fitting.c_str()) << size;
  EXPECT_EQ(memory.substr(0, 4) + memory.substr(4 + size), std::string(8, '\xAA')) << size;
}

TEST(Predicates, AgreeWithTheModelOnEveryPage) {
  unsigned long long state = 1;
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int i = 0; i < 4000; ++i) {
      const std::string a = test::RandomText(state, kBytes, 12);
      std::string b = i % 2 == 0 ? a : test::RandomText(state, kBytes, 12);
      if (!b.empty() && i % 4 == 0) b[b.size() / 2] ^= 0x20;  // near
      b = b.c_str();
      SCOPED_TRACE(testing::PrintToString(a) + testing::PrintToString(b));
      SCOPED_TRACE(number);
      Compare(a, b);
      for (std::size_t size = 1; size <= a.size() + 3; ++size) Copy(a, size);
      if (testing::Test::HasFailure()) return;
    }
  }
}

TEST(Predicates, NullCountsAsEmptyButAsNoCharacter) {
  EXPECT_EQ(AdIsEmpty(nullptr), 1);
  EXPECT_EQ(AdIsNonEmpty(nullptr), 0);
  EXPECT_EQ(AdIsCharNul(nullptr), 0);
  EXPECT_EQ(AdIsSameChar(nullptr, nullptr), 1);
  EXPECT_EQ(AdIsSameChar(nullptr, ""), 0);
  EXPECT_EQ(AdIsSameChar("a", nullptr), 0);
  for (auto* is_equal : {AdIsEqual, AdIsEqualNoCase}) {
    EXPECT_EQ(is_equal(nullptr, nullptr), 1);
    EXPECT_EQ(is_equal(nullptr, ""), 1);
    EXPECT_EQ(is_equal("a", nullptr), 0);
  }
  EXPECT_EQ(AdOccursIn("a", nullptr), 0);
  EXPECT_EQ(AdNumberOfLetters(nullptr), 0);
  EXPECT_EQ(AdNumberOfTCHARS(nullptr), 0);
}

class PredicateChecks : public test::TracedTest {};

TEST_F(PredicateChecks, ComeInOrderAndBeforeAnythingIsWritten) {
  const auto condition = [](const char* text, const char* values = "") {
    return (*values == '\0' ? "18019 " : "18020 ") + test::ConditionText(text, "adutil", values);
  };
  for (const char* chars : {static_cast<const char*>(nullptr), "", "a"}) {
    EXPECT_EQ(ThrownBy([&] { AdOccursIn(nullptr, chars); }), condition("a_char != 0"));
    EXPECT_EQ(ThrownBy([&] { AdOccursIn("", chars); }), condition("!AdIsCharNul(a_char)"));
  }
  char old[] = "old";
  EXPECT_EQ(ThrownBy([] { AdSafeStrcpy(nullptr, nullptr, 0); }), condition("source != 0"));
  EXPECT_EQ(ThrownBy([&] { AdSafeStrcpy(nullptr, old, 4); }), condition("source != 0"));
  EXPECT_EQ(ThrownBy([] { AdSafeStrcpy("a", nullptr, 0); }), condition("destination != 0"));
  const char* const size = "destination_size_in_tchars >= 1";
  EXPECT_EQ(ThrownBy([&] { AdSafeStrcpy("a", old, 0); }),
            condition(size, "\ndestination_size_in_tchars=0"));
  EXPECT_EQ(ThrownBy([&] { AdSafeStrcpy("", old, -2147483648L); }),
            condition(size, "\ndestination_size_in_tchars=-2147483648"));
  EXPECT_STREQ(old, "old");
}

TEST(Predicates, ArraySearches) {
  const test::CodePage page(932);
  CStringArray array;
  EXPECT_EQ(AdIsStringInArray(nullptr, array), 0);
  EXPECT_EQ(AdIsStringInArrayNoCase("", array), 0);
  for (const char* text : {"one", "Two", "\x82\x60"}) array.Add(text);
  EXPECT_EQ(AdIsStringInArray(nullptr, array), 0);
  EXPECT_EQ(AdIsStringInArray("Two", array), 1);
  EXPECT_EQ(AdIsStringInArray("two", array), 0);
  EXPECT_EQ(AdIsStringInArrayNoCase("tWO", array), 1);
  EXPECT_EQ(AdIsStringInArrayNoCase("tw", array), 0);
  EXPECT_EQ(AdIsStringInArray("\x82\x81", array), 0);
  EXPECT_EQ(AdIsStringInArrayNoCase("\x82\x81", array), 1);
  array.Add("");
  EXPECT_EQ(AdIsStringInArray(nullptr, array), 1);
  EXPECT_EQ(AdIsStringInArrayNoCase(nullptr, array), 1);
}

}  // namespace
