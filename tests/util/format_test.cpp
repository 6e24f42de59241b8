#include "tesselkit/util/adutil_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "tesselkit/util/adutil_core.h"
#include "tests/support/code_page.h"
#include "tests/support/failures.h"

namespace {

template <class... Values>
std::string Printf(const char* format, Values... values) {
  char text[400];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

TEST(Format, DoublesAreWrittenWholeInFixedPoint) {
  const double special[] = {0.0,  -0.0,  1.5,  -0.25,   0.0000004, 0.0000005, 0.0000015,
                            1e91, -1e91, 1e92, DBL_MAX, -DBL_MAX,  DBL_MIN,   5e-324,
                            1e22, 1e23,  0.1,  1e6,     2.5e-7,    1.0000005, 0.9999995};
  for (const double number : special) EXPECT_EQ(AdStrDbl(number).View(), Printf("%f", number));
  std::uint64_t state = 1;
  for (int i = 0; i < 20000; ++i) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    const std::uint64_t bits = state ^ state >> 29;
    for (double number : {std::bit_cast<double>(bits), std::ldexp(double(bits), -70)}) {
      if (!std::isfinite(number)) number = 0;
      ASSERT_EQ(AdStrDbl(number).View(), Printf("%f", number));
    }
  }
  EXPECT_EQ(AdStrDbl(INFINITY), "inf");
  EXPECT_EQ(AdStrDbl(-INFINITY), "-inf");
  EXPECT_EQ(AdStrDbl(NAN), "nan");
  EXPECT_EQ(AdStrDbl(-NAN), "nan");
}

TEST(Format, LongsAreWrittenPlainly) {
  for (long number = 1; number < 2147483647; number = number * 7 / 3) {
    for (const long each : {number, -number}) EXPECT_EQ(AdStr(each).View(), Printf("%ld", each));
  }
  EXPECT_EQ(AdStr(0), "0");
  EXPECT_EQ(AdStr(2147483647), "2147483647");
  EXPECT_EQ(AdStr(-2147483648), "-2147483648");
}

TEST(Format, PointersHaveEightDigitsOrMore) {
  for (std::uintptr_t each = 0; each < UINTPTR_MAX / 32; each = each * 19 + 1) {
    EXPECT_EQ(AdHex(reinterpret_cast<const void*>(each)).View(), Printf("0x%08lx", each));
  }
  EXPECT_EQ(AdHex(reinterpret_cast<const void*>(0xFFFFFFFF)), "0xffffffff");
}

TEST(Format, SqlLiteralsDoubleTheirQuotes) {  // see also the predicates' model
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int lead = 0x80; lead < 0x100; ++lead) {  // no lead byte swallows a quote
      const std::string text = {static_cast<char>(lead), '\''};
      EXPECT_EQ(AdSqlStr(text.c_str()).View(), "'" + text + "''");
    }
  }
  EXPECT_EQ(AdSqlStr(nullptr), "NULL");
  EXPECT_EQ(AdSqlStr("''"), "''''''");
}

TEST(Format, QuotedTextsAreCopiedAsTheyAre) {
  EXPECT_EQ(AdQuotedStr(nullptr), "NULL pointer");
  EXPECT_EQ(AdQuotedStr(""), "empty string");
  EXPECT_EQ(AdQuotedStr("a \"b\" %s\\\x81"), "\"a \"b\" %s\\\x81\"");
}

}  // namespace
