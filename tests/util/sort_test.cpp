#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <numeric>
#include <type_traits>

#include "tesselkit/platform/mbstring.h"
#include "tesselkit/util/adutil_sort.h"
#include "tesselkit/util/sort_string_array.h"
#include "tests/support/code_page.h"
#include "tests/support/edit_model.h"
#include "tests/support/failures.h"
#include "tests/support/texts.h"
#include "tests/support/vtable_slot.h"

namespace {

using test::Fill;
using test::Texts;
using test::TextsOf;
using Comparison = int (*)(const char*, const char*);

// Texts with common fronts that end on both sides of where a key of eight bytes does, and doubles.
Texts RandomTexts(test::Random& random) {
  const Texts fronts = {"", "", "commonfront", "sixsix", "\x95\x5C\x95\x5C\x95\x5C", "abcdefg\x81"};
  Texts texts;
  for (std::size_t count = random() % 40; count > 0; --count) {
    const std::string& front = fronts[random() % fronts.size()];
    texts.push_back(front + test::RandomPieces(random, 4));
    if (count % 4 == 0) texts.push_back(texts[random() % texts.size()]);
  }
  return texts;
}

Texts StablySorted(Texts texts, Comparison compare, bool ascending) {
  std::stable_sort(texts.begin(), texts.end(), [=](const std::string& a, const std::string& b) {
    const int order = compare(a.c_str(), b.c_str());
    return ascending ? order < 0 : order > 0;
  });
  return texts;
}

// The same texts, in an order that the comparison agrees with.
void ExpectSorted(const Texts& before, const CStringArray& array, Comparison compare,
                  bool ascending) {
  const Texts after = TextsOf(array);
  EXPECT_TRUE(std::is_permutation(after.begin(), after.end(), before.begin(), before.end()));
  for (int i = 0; i + 1 < array.GetSize(); ++i) {
    const int order = compare(array[i], array[i + 1]);
    EXPECT_TRUE(ascending ? order <= 0 : order >= 0)
        << i << testing::PrintToString(after) << (ascending ? "up" : "down");
  }
}

struct Order {
  int case_sensitive;
  int collate;
  Comparison compare;
};

const Order kOrders[] = {{1, 0, _mbscmp}, {0, 0, _mbsicmp}, {1, 1, _mbscoll}, {0, 2, _mbscoll}};

void CheckOrders(const Texts& texts) {
  for (const Order& order : kOrders) {
    for (const int ascending : {0, 1, -2}) {
      CStringArray array;
      Fill(array, texts);
      AdSortStrings(array, order.case_sensitive, ascending, order.collate);
      ExpectSorted(texts, array, order.compare, ascending != 0);
    }
  }
}

TEST(Sort, EachOrderInEachDirectionUnderEachPage) {
  test::Random random(27);
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    SCOPED_TRACE(number);
    for (int i = 0; i < 300 && !HasFailure(); ++i) CheckOrders(RandomTexts(random));
  }
}

TEST(Sort, SelfSortingArrayIsStable) {
  test::Random random(28);
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    SCOPED_TRACE(number);
    for (int i = 0; i < 1000 && !HasFailure(); ++i) {
      const Texts texts = RandomTexts(random);
      AdSortStringArray array;
      Fill(array, texts);
      array.Sort(i % 2);
      EXPECT_EQ(TextsOf(array), StablySorted(texts, _mbsicmp, i % 2 != 0));
    }
  }
}

struct SortCase {
  int line;
  int case_sensitive;
  int ascending;
  Texts texts;
  Texts sorted;
};

const SortCase kSortCases[] = {
    // line     case up texts                 sorted
    {__LINE__, 0, 1, {}, {}},
    {__LINE__, 0, 1, {"C", "b"}, {"b", "C"}},
    {__LINE__, 1, 1, {"b", "C"}, {"C", "b"}},
    {__LINE__, 0, 1, {"AB", "A_B"}, {"A_B", "AB"}},
    {__LINE__, 1, 0, {"12345678", "123456789", "1234567"}, {"123456789", "12345678", "1234567"}},
    // Half-width letters of one byte come before every pair.
    {__LINE__, 1, 1, {"\x81\x40", "\xB1", "z"}, {"z", "\xB1", "\x81\x40"}},
    // Full-width letters: "b", "B", "a".
    {__LINE__, 1, 1, {"\x82\x82", "\x82\x61", "\x82\x81"}, {"\x82\x61", "\x82\x81", "\x82\x82"}},
};

TEST(Sort, Cases) {
  const test::CodePage page(932);
  for (const SortCase& each : kSortCases) {
    CStringArray array;
    Fill(array, each.texts);
    AdSortStrings(array, each.case_sensitive, each.ascending, 0);
    EXPECT_EQ(TextsOf(array), each.sorted) << "line " << each.line;
  }
}

// Fronts of thousands of bytes, which a sort that goes deeper by calling itself does not survive.
TEST(Sort, LongCommonFronts) {
  const std::string front(3000000, 'x');
  CStringArray array;
  Fill(array, {front + "b", front + "A", front, front + "a"});
  AdSortStrings(array, 1, 1, 0);
  EXPECT_EQ(TextsOf(array), (Texts{front, front + "A", front + "a", front + "b"}));
}

// What follows a NUL takes no part in the order but stays with its text.
TEST(Sort, TextsWithNulBytes) {
  CStringArray array;
  array.Add(CString("b\0x", 3));
  array.Add(CString("a\0z", 3));
  AdSortStrings(array, 0, 1, 0);
  EXPECT_EQ(TextsOf(array), (Texts{std::string("a\0z", 3), std::string("b\0x", 3)}));
}

// The fold of a single-byte page and the collating order are those of the process's locale.
class SortInLocale : public testing::Test {
 protected:
  static constexpr char kName[] = "de_DE.ISO-8859-1";

  void SetUp() override {
    m_folder = std::filesystem::temp_directory_path() / ("sort_test." + std::to_string(getpid()));
    std::filesystem::create_directories(m_folder);
    const std::string command = "localedef -i de_DE -f ISO-8859-1 '" + m_folder.string() + "/" +
                                kName + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no localedef here";
    setenv("LOCPATH", m_folder.c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, kName), nullptr);
  }
  void TearDown() override {
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    std::filesystem::remove_all(m_folder);
  }

 private:
  std::filesystem::path m_folder;
};

TEST_F(SortInLocale, CollatesAndFoldsAsItDoes) {
  const test::CodePage page(1252);
  const std::string lower = "\xE4", upper = "\xC4";  // "a" with two dots
  const Texts texts = {"z", lower + "b", upper + "a", "a", "B"};
  const auto sorted = [&](int collate) {
    CStringArray array;
    Fill(array, texts);
    AdSortStrings(array, 0, 1, collate);
    return TextsOf(array);
  };
  EXPECT_EQ(sorted(1), (Texts{"a", upper + "a", lower + "b", "B", "z"}));
  EXPECT_EQ(sorted(0), (Texts{"a", "B", "z", upper + "a", lower + "b"}));
  test::Random random(29);
  for (int i = 0; i < 300 && !HasFailure(); ++i) CheckOrders(RandomTexts(random));

  std::setlocale(LC_COLLATE, "C");
  EXPECT_EQ(sorted(1), (Texts{"B", "a", "z", upper + "a", lower + "b"}));
}

static_assert(std::is_base_of_v<CStringArray, AdSortStringArray>);
static_assert(sizeof(AdSortStringArray) == sizeof(CStringArray));

TEST(Sort, SelfSortingArrayHasItsBasesClassAndSlots) {
  using A = AdSortStringArray;
  EXPECT_EQ(A().GetRuntimeClass(), RUNTIME_CLASS(CStringArray));
  EXPECT_EQ((std::vector{test::SlotOf(&A::GetRuntimeClass), test::SlotOf(&A::Serialize),
                         test::SlotOf(&A::AssertValid), test::SlotOf(&A::Dump)}),
            (std::vector<std::size_t>{0, 3, 4, 5}));  // the destructor has 1 and 2
}

}  // namespace
