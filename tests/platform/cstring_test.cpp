#include "tesselkit/platform/cstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <set>

#include "tests/platform/character_model.h"
#include "tests/support/code_page.h"
#include "tests/support/failures.h"
#include "tests/support/thrown.h"

namespace {

using namespace std::string_literals;
using test::Throws;

std::string Plain(const CString& text) {
  return std::string(text.View());
}

// `text` after a change.
template <class Change>
std::string After(const std::string& text, Change change) {
  CString changed(text);
  change(changed);
  return Plain(changed);
}

// A text as a row of characters: what the searches are to give, in the plainest way.
struct Model {
  Model(int page, const std::string& whole)
      : text(whole), characters(test::Characters(page, whole)) {
    for (const std::string& each : characters) begins.push_back(begins.back() + each.size());
  }

  bool IsBegin(std::size_t at) const { return std::count(begins.begin(), begins.end(), at) != 0; }

  int Find(const std::string& wanted, int start) const {
    for (auto at = static_cast<std::size_t>(std::max(start, 0)); at + wanted.size() <= text.size();
         ++at) {
      const bool stands = text.compare(at, wanted.size(), wanted) == 0;
      if (stands && IsBegin(at) && IsBegin(at + wanted.size())) return static_cast<int>(at);
    }
    return -1;
  }

  // The text with every `from` replaced, and how often.
  std::pair<std::string, int> Replaced(const std::string& from, const std::string& to) const {
    std::pair<std::string, int> result;
    int kept = 0;
    for (int at = Find(from, 0); at >= 0; at = Find(from, kept), ++result.second) {
      result.first.append(text, kept, at - kept).append(to);
      kept = at + static_cast<int>(from.size());
    }
    result.first.append(text, kept);
    return result;
  }

  // How many bytes of characters in (or not in) a set stand at the front.
  std::size_t Front(const std::set<std::string>& set, bool in) const {
    std::size_t number = 0;
    while (number < characters.size() && (set.count(characters[number]) != 0) == in) ++number;
    return begins[number];
  }

  std::size_t WithoutTail(const std::set<std::string>& set) const {
    std::size_t number = characters.size();
    while (number > 0 && set.count(characters[number - 1]) != 0) --number;
    return begins[number];
  }

  std::string text;
  std::vector<std::string> characters;
  std::vector<std::size_t> begins = {0};
};

void CompareSearches(const Model& model, const std::string& wanted, char c, int start) {
  const CString text(model.text);
  const std::string one(1, c);
  EXPECT_EQ(text.Find(wanted.c_str(), start), model.Find(wanted, start));
  EXPECT_EQ(text.Find(c, start), model.Find(one, start));
  int last = -1;
  for (int at = model.Find(one, 0); at >= 0; at = model.Find(one, at + 1)) last = at;
  EXPECT_EQ(text.ReverseFind(c), last);

  const auto compare = [&](std::pair<std::string, int> expected, auto change) {
    CString changed = text;
    EXPECT_EQ(change(changed), expected.second);
    EXPECT_EQ(Plain(changed), expected.first);
  };
  compare(model.Replaced(one, ""), [&](CString& s) { return s.Remove(c); });
  compare(model.Replaced(one, "+"), [&](CString& s) { return s.Replace(c, '+'); });
  if (wanted.empty()) return;
  compare(model.Replaced(wanted, "<\x81>"),
          [&](CString& s) { return s.Replace(wanted.c_str(), "<\x81>"); });
}

void CompareSets(int page, const Model& model, const std::string& characters, char c) {
  const std::string& whole = model.text;
  const CString text(whole);
  const char* list = characters.c_str();
  const auto listed = test::Characters(page, characters);
  const std::set<std::string> set(listed.begin(), listed.end());
  const std::set<std::string> one = {std::string(1, c)};
  const std::set<std::string> blanks = {" ", "\t", "\n", "\v", "\f", "\r"};
  const std::size_t without = model.Front(set, false);
  EXPECT_EQ(text.FindOneOf(list), without < whole.size() ? static_cast<int>(without) : -1);
  EXPECT_EQ(Plain(text.SpanExcluding(list)), whole.substr(0, without));
  EXPECT_EQ(Plain(text.SpanIncluding(list)), whole.substr(0, model.Front(set, true)));
  EXPECT_EQ(After(whole, [&](CString& s) { s.TrimLeft(list); }),
            whole.substr(model.Front(set, true)));
  EXPECT_EQ(After(whole, [&](CString& s) { s.TrimLeft(c); }), whole.substr(model.Front(one, true)));
  EXPECT_EQ(After(whole, [](CString& s) { s.TrimLeft(); }),
            whole.substr(model.Front(blanks, true)));
  EXPECT_EQ(After(whole, [&](CString& s) { s.TrimRight(list); }),
            whole.substr(0, model.WithoutTail(set)));
  EXPECT_EQ(After(whole, [&](CString& s) { s.TrimRight(c); }),
            whole.substr(0, model.WithoutTail(one)));
  EXPECT_EQ(After(whole, [](CString& s) { s.TrimRight(); }),
            whole.substr(0, model.WithoutTail(blanks)));
  std::string reversed;
  for (const std::string& each : model.characters) reversed.insert(0, each);
  EXPECT_EQ(After(whole, [](CString& s) { s.MakeReverse(); }), reversed);
}

void CompareParts(const std::string& text, const std::string& inserted, int first, int count) {
  const CString subject(text);
  const int size = static_cast<int>(text.size());
  const int at = std::clamp(first, 0, size);
  const int bytes = std::clamp(count, 0, size);
  EXPECT_EQ(Plain(subject.Left(count)), text.substr(0, bytes));
  EXPECT_EQ(Plain(subject.Right(count)), text.substr(size - bytes));
  EXPECT_EQ(Plain(subject.Mid(first)), text.substr(at));
  EXPECT_EQ(Plain(subject.Mid(first, count)), text.substr(at, bytes));
  EXPECT_EQ(After(text, [&](CString& s) { s.Delete(first, count); }),
            std::string(text).erase(at, bytes));
  EXPECT_EQ(After(text, [&](CString& s) { s.Insert(first, inserted.c_str()); }),
            std::string(text).insert(at, inserted));
  EXPECT_EQ(After(text, [&](CString& s) { s.Insert(first, '\0'); }),
            std::string(text).insert(at, 1, 0));
}

TEST(String, RandomTextsBehaveAsTheModelSays) {
  const int kNumbers[] = {INT_MIN, -1, 0, 1, 2, 3, 5, 8, 13, INT_MAX};
  for (const int page : test::kCodePages) {
    const test::CodePage set(page);
    std::mt19937 random(static_cast<unsigned>(page));
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
      SCOPED_TRACE(std::to_string(page) + ", round " + std::to_string(round));
      std::string text = test::RandomText(random, 8);
      if (round % 4 == 0) text.insert(random() % (text.size() + 1), 1, '\0');
      const std::string other = test::RandomText(random, 2);
      const char c = "aA| \x81\x82\xB1\0"[random() % 8];
      const Model model(page, text);
      CompareSearches(model, other, c, kNumbers[random() % 10]);
      CompareSets(page, model, other, c);
      CompareParts(text, other, kNumbers[random() % 10], kNumbers[random() % 10]);
    }
  }
}

TEST(String, NullIsTheEmptyText) {
  const char* null = nullptr;
  CString text(null, 5);
  EXPECT_TRUE(text == null && null == text && text <= null && null >= text && text == "");
  text = "abc";
  text += null;
  EXPECT_EQ(null + text + null, "abc");
  EXPECT_EQ(text.Find(null), 0);
  EXPECT_EQ(text.FindOneOf(null), -1);
  EXPECT_EQ(text.SpanIncluding(null) + text.SpanExcluding(null), "abc");
  EXPECT_EQ(text.Replace(null, "x") + text.Replace("", "x") + text.Replace("b", null), 1);
  EXPECT_EQ(text.Insert(1, null), 2);
  text.TrimLeft(null);
  text.TrimRight(null);
  EXPECT_EQ(text, "ac");
  EXPECT_TRUE(text.Compare(null) > 0 && text.CompareNoCase(null) > 0 && text.Collate(null) > 0);
  text.FormatV(null, {});
  EXPECT_EQ(text, "");
}

TEST(String, NulBytesBelongToATextWithALength) {
  CString text("a\0b", 3);
  EXPECT_EQ(Plain('\0' + text + text + '\0'), "\0a\0ba\0b\0"s);
  EXPECT_EQ(text.Compare("a"), 0);
  EXPECT_TRUE(text != "a" && text > "a" && text < CString("a\0c", 3));
  text.MakeUpper();
  EXPECT_EQ(Plain(text += '\0'), "A\0B\0"s);
  EXPECT_EQ(CString('x', 3) + CString('x', -3) + CString("x", -1), "xxx");
}

TEST(String, OrdersByCharacterCodesOnBothSides) {
  const test::CodePage set(932);
  const CString half("\xB1");
  const CString whole("\x81\x40");
  EXPECT_TRUE(half < whole && half < "\x81\x40" && "\xB1" < whole && half.Compare(whole) < 0);
  EXPECT_TRUE(whole > half && whole > "\xB1" && "\x81\x40" > half);
  EXPECT_TRUE(half <= half && half >= "\xB1" && "\xB1" == half && half != whole && "b" != half);
}

TEST(String, OneByteOutsideTheTextIsRefused) {
  CString text("abc");
  for (const int index : {INT_MIN, -1, 3, INT_MAX}) {
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { text.GetAt(index); })) << index;
    EXPECT_TRUE(Throws<CInvalidArgException>([&] { text.SetAt(index, 'x'); })) << index;
  }
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { (void)text[std::size_t{1} << 32]; }));
  EXPECT_TRUE(Throws<CInvalidArgException>([&] { (void)text[~std::size_t{0}]; }));
  EXPECT_EQ(text[std::size_t{2}], 'c');
}

TEST(String, TakesItsOwnBytesAsArguments) {
  for (const int length : {0, 15, 16, 255, 256, 257, 1000}) {
    const std::string part(static_cast<std::size_t>(length), 'x');
    EXPECT_EQ(
        After(part, [](CString& s) { s.Format("%s-%d-%s", s.GetBuffer(0), 7, s.GetBuffer(0)); }),
        part + "-7-" + part);
    EXPECT_EQ(After(part, [](CString& s) { s += s; }), part + part);
    EXPECT_EQ(After(part, [](CString& s) { s.Insert(s.GetLength() / 2, s); }), part + part);
    EXPECT_EQ(After(part + "y", [](CString& s) { s = s.GetBuffer(0) + s.GetLength() - 1; }), "y");
  }
  EXPECT_EQ(After("", [](CString& s) { s.Format("%c|%5.2f|%%", '\0', 1.5); }), "\0| 1.50|%"s);
}

TEST(String, GivesItsBufferAway) {
  CString text("abc");
  std::strcpy(text.GetBuffer(100), "a longer text than before");
  text.ReleaseBuffer();
  EXPECT_EQ(text, "a longer text than before");
  std::memcpy(text.GetBuffer(-1), "A\0", 2);
  text.ReleaseBuffer(8);
  EXPECT_EQ(Plain(text), "A\0longer"s);
  std::memset(text.GetBufferSetLength(4), 'x', 4);
  text.ReleaseBuffer(99);
  EXPECT_EQ(text, "xxxx");
}

}  // namespace
