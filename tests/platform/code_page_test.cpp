#include "tesselkit/platform/code_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tesselkit/platform/mbstring.h"
#include "tests/platform/character_model.h"
#include "tests/support/child.h"
#include "tests/support/code_page.h"

namespace {

using namespace tesselkit::platform;

TEST(CodePages, EveryTextOfTwoBytes) {
  for (const int page : test::kCodePages) {
    const test::CodePage set(page);
    bool leads[256] = {};
    for (int number = 0; number < 0x10000; ++number) {
      const std::string text = {static_cast<char>(number >> 8), static_cast<char>(number)};
      const auto characters = test::Characters(page, text);
      const std::size_t expected = characters[0].size();
      // Of exactly the text's size, so that the sanitizer sees a step too far.
      const std::unique_ptr<char[]> exact(new char[3]{text[0], text[1], '\0'});
      char copy[3] = "";
      _mbccpy(copy, exact.get());
      ASSERT_EQ(_mbclen(exact.get()), expected) << page << " " << number;
      ASSERT_EQ(std::string(copy, 2), text.substr(0, expected) + std::string(2 - expected, '\0'));
      ASSERT_EQ(CharacterLength(exact.get(), exact.get() + 2), expected);
      ASSERT_EQ(CharacterLength(exact.get(), exact.get() + 1), 1u);
      leads[number >> 8] |=
          expected > 1 || (page == 65001 && test::Within(number >> 8, 0xE0, 0xF4));

      std::string lower;
      for (const std::string& each : characters) lower += test::Lower(page, each);
      MakeLowerCase(exact.get(), 2);
      ASSERT_EQ(exact.get(), std::string(lower.c_str())) << page << " " << number;
      std::string upper = text;
      MakeUpperCase(upper.data(), 2);
      MakeUpperCase(lower.data(), 2);
      ASSERT_EQ(lower, upper) << page << " " << number;
    }
    for (int byte = 0; byte < 256; ++byte) {
      EXPECT_EQ(_ismbblead(static_cast<unsigned>(byte)), leads[byte]) << page << " " << byte;
      EXPECT_EQ(_ismbblead(static_cast<unsigned>(static_cast<char>(byte))), leads[byte]);
    }
  }
}

TEST(CodePages, LongUtf8Sequences) {
  const test::CodePage set(65001);
  for (int lead = 0xE0; lead < 0x100; ++lead) {
    for (int second = 0; second < 0x100; ++second) {
      for (const char third : {'\0', '\x7F', '\x80', '\x9F', '\xBF', '\xC0'}) {
        for (const char fourth : {'\0', '\x7F', '\x80', '\xBF', '\xC0'}) {
          const char text[] = {static_cast<char>(lead), static_cast<char>(second), third, fourth,
                               0};
          ASSERT_EQ(_mbclen(text), test::Utf8Length({text, 4})) << testing::PrintToString(text);
          ASSERT_LE(CharacterLength(text, text + 3), 3u);
        }
      }
    }
  }
}

// Longer characters have higher codes.
using Codes = std::vector<std::pair<std::size_t, std::string>>;

int Order(int page, const std::string& a, const std::string& b, bool fold) {
  const auto codes_of = [&](const std::string& text) {
    Codes codes;
    for (std::string& each : test::Characters(page, text)) {
      codes.emplace_back(each.size(), fold ? test::Lower(page, each) : each);
    }
    return codes;
  };
  const Codes x = codes_of(a);
  const Codes y = codes_of(b);
  return x < y ? -1 : x > y ? 1 : 0;
}

TEST(CodePages, RandomTextsCompareAndSplitAsTheModelSays) {
  for (const int page : test::kCodePages) {
    const test::CodePage set(page);
    std::mt19937 random(static_cast<unsigned>(page));
    for (int round = 0; round < 1500; ++round) {
      SCOPED_TRACE(std::to_string(page) + ", round " + std::to_string(round));
      const std::string front = test::RandomText(random, 6);
      // Sixteen letters in front: equal ones may be passed over several at a time.
      const std::string a = "sixteen_letters|" + front;
      const std::string b =
          "SixTeen_letteRs|" + (round % 2 != 0 ? "" : front) + test::RandomText(random, 3);
      ASSERT_EQ(_mbscmp(a.c_str() + 16, b.c_str() + 16),
                Order(page, a.substr(16), b.substr(16), false));
      ASSERT_EQ(_mbsicmp(a.c_str(), b.c_str()), Order(page, a, b, true));
      ASSERT_EQ(CompareTextNoCase(std::string_view(a), std::string_view(b)),
                Order(page, a, b, true));
      std::vector<std::size_t> begins = {0};
      for (const std::string& each : test::Characters(page, a))
        begins.push_back(begins.back() + each.size());
      for (std::size_t at = 0; at <= a.size(); ++at) {
        const std::size_t next = *std::lower_bound(begins.begin(), begins.end(), at);
        const std::size_t whole = *(std::upper_bound(begins.begin(), begins.end(), at) - 1);
        ASSERT_EQ(CharacterAtOrAfter(a, at), next) << at;
        ASSERT_EQ(WholeCharactersWithin(a, at), whole) << at;
      }
    }
  }
}

TEST(CodePages, AnUnknownPageChangesNothing) {
  const test::CodePage set(949);
  for (const int unknown : {-1, -5, 1, 874, 1249, 1259, 65000}) {
    EXPECT_EQ(_setmbcp(unknown), -1) << unknown;
    EXPECT_EQ(_getmbcp(), 949) << unknown;
  }
}

struct Choice {
  int line;
  const char* environment;
  const char* page;
};

TEST(CodePages, TheEnvironmentChooses) {
  const Choice kChoices[] = {
      // line    environment                                   page
      {__LINE__, "", "0"},
      {__LINE__, "LANG=C.UTF-8", "65001"},
      {__LINE__, "LC_ALL=C LC_CTYPE=ko_KR.UHC LANG=C.UTF-8", "0"},
      {__LINE__, "LC_ALL=ja_JP.SJIS LC_CTYPE=C LANG=C.UTF-8", "932"},
      {__LINE__, "LC_ALL= LC_CTYPE=zh_CN.GBK LANG=C.UTF-8", "936"},
      {__LINE__, "LC_CTYPE= LANG=ko_KR.eucKR@x", "949"},
      {__LINE__, "LC_MESSAGES=ja_JP.SJIS LANG=zh_TW.Big5-HKSCS", "950"},
      {__LINE__, "LANG=ru_RU.CP1251", "1251"},
      {__LINE__, "LANG=xx_YY", "0"},
      {__LINE__, "LANG=ja_JP.SJIS2", "0"},
      {__LINE__, "LANG=ja_JP.SJI", "0"},
  };
  for (const Choice& row : kChoices) {
    const std::string page = row.page;
    EXPECT_EQ(test::OutputOf(row.environment, TEST_PROBE " pages"), page + " 932 " + page + "\n")
        << "line " << row.line;
  }
}

}  // namespace
