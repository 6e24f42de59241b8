#include <gtest/gtest.h>

#include "tesselkit/util/adutil_edit.h"
#include "tesselkit/util/adutil_line_ends.h"
#include "tesselkit/util/adutil_path.h"
#include "tests/support/code_page.h"
#include "tests/support/edit_model.h"
#include "tests/support/failures.h"
#include "tests/support/huge_text.h"
#include "tests/support/texts.h"
#include "tests/support/thrown.h"

namespace {

using test::Fill;
using test::Text;
using test::Texts;
using test::TextsOf;

// Calls `check(text, set, other)` with random texts under every page; some go over several blocks
// of the vector search, some sets are larger than it takes at once.
template <class Check>
void WithRandomTexts(Check check) {
  test::Random random(24);
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
      const std::string text = test::RandomPieces(random, i % 8 == 0 ? 200 : 12);
      const std::string set = test::RandomPieces(random, i % 5 == 0 ? 9 : 2);
      const std::string other = test::RandomPieces(random, 3);
      SCOPED_TRACE(testing::Message()
                   << "page " << number << testing::PrintToString(Texts{text, set, other}));
      check(text, set, other);
    }
  }
}

TEST(Edit, TrimsAndTakesWordsAsTheModelDoes) {
  WithRandomTexts([](const std::string& text, const std::string& set, const std::string&) {
    EXPECT_EQ(Text(AdTrimLeading(text.c_str(), set.c_str())), test::TrimLeading(text, set));
    EXPECT_EQ(Text(AdTrimLeadingWhitespace(text.c_str())), test::TrimLeading(text, " \t\r\n"));
    CString rest(text);
    std::string expected_rest = text;
    for (int words = 0; words < 4; ++words) {
      EXPECT_EQ(Text(AdRemoveWord(rest, set.c_str())), test::RemoveWord(expected_rest, set));
      EXPECT_EQ(Text(rest), expected_rest);
    }
  });
}

TEST(Edit, SplitsAndJoinsAsTheModelDoes) {
  CStringArray parts;
  CString joined;
  WithRandomTexts([&](const std::string& text, const std::string& set, const std::string& other) {
    AdSplitString(text.c_str(), set.c_str(), parts);
    EXPECT_EQ(TextsOf(parts), test::Split(text, set));
    AdCStringArrayToCString(parts, joined, other.c_str());
    EXPECT_EQ(Text(joined), test::Joined(TextsOf(parts), other));
  });
}

TEST(Edit, ReplacesAsTheModelDoes) {
  WithRandomTexts([](const std::string& text, const std::string& from, const std::string& to) {
    CString changed(text);
    AdReplaceString(changed, from.c_str(), to.c_str());
    EXPECT_EQ(Text(changed), test::Replaced(text, from, to));
  });
}

TEST(Edit, ConvertsLineEndsAndTakesPathsApartAsTheModelDoes) {
  WithRandomTexts([](const std::string& text, const std::string&, const std::string&) {
    EXPECT_EQ(Text(AdStringToNewlineFormat(text.c_str())), test::WithLineEnds(text, "\n"));
    EXPECT_EQ(Text(AdStringToCRLFFormat(text.c_str())), test::WithLineEnds(text, "\r\n"));
    EXPECT_EQ(Text(AdBasename(text.c_str())), test::FileOf(text));
    EXPECT_EQ(Text(AdDirname(text.c_str())), test::DirectoryOf(text));
    EXPECT_EQ(Text(AdDirname(text.c_str()) + AdBasename(text.c_str())), text);
  });
}

// What the models do not see: null arguments; and a few cases in words, so that a mistake in a
// model shows too.
TEST(Edit, SplitAndJoinCases) {
  const test::CodePage page(932);
  const struct {
    int line;
    const char* text;
    const char* separators;
    Texts parts;
  } kSplits[] = {
      {__LINE__, nullptr, ",", {}},
      {__LINE__, ",a;", ",;", {"", "a", ""}},
      {__LINE__, "a,b", nullptr, {"a,b"}},
      {__LINE__, "\x95\x5C\\\x95|", "\\|", {"\x95\x5C", "\x95|"}},  // a pair, "\", and a pair
  };
  CStringArray array;
  for (const auto& row : kSplits) {
    AdSplitString(row.text, row.separators, array);
    EXPECT_EQ(TextsOf(array), row.parts) << "line " << row.line;
  }
  CString joined = "what was there";
  Fill(array, {"a", "", "b"});
  AdCStringArrayToCString(array, joined, nullptr);
  EXPECT_EQ(joined, "a\n\nb");
  array.RemoveAll();
  AdCStringArrayToCString(array, joined, ",");
  EXPECT_EQ(joined, "");
}

TEST(Edit, ReplaceTrimAndWordCases) {
  const test::CodePage page(932);
  const struct {
    int line;
    const char* from;
    const char* to;
    const char* replaced;  // of "aa\x95\x5C\\"
  } kReplacements[] = {
      {__LINE__, nullptr, "x", "aa\x95\x5C\\"},
      {__LINE__, "a", nullptr, "\x95\x5C\\"},
      {__LINE__, "\\", "/", "aa\x95\x5C/"},
      {__LINE__, "a", "aa", "aaaa\x95\x5C\\"},
  };
  for (const auto& row : kReplacements) {
    CString text = "aa\x95\x5C\\";
    AdReplaceString(text, row.from, row.to);
    EXPECT_EQ(text, row.replaced) << "line " << row.line;
  }
  CString text = " all ";
  EXPECT_EQ(AdRemoveWord(text, nullptr), " all ");
  EXPECT_EQ(AdRemoveWord(text, " "), "");
  EXPECT_EQ(AdTrimLeading(nullptr, "a"), "");
  EXPECT_EQ(AdTrimLeading(" a", nullptr), " a");
  EXPECT_EQ(AdTrimLeadingWhitespace(" \v a \r\n"), "\v a \r\n");
  EXPECT_EQ(AdStringToNewlineFormat("a\r\nb\rc\n\rd"), "a\nb\nc\n\nd");
  EXPECT_EQ(AdStringToNewlineFormat(nullptr), "");
  EXPECT_EQ(AdStringToCRLFFormat(nullptr), "");
}

#ifndef __SANITIZE_THREAD__  // it keeps a record of every byte that is read
TEST(Edit, WhatNoTextCanHoldIsMemoryThatRunsOut) {
  const test::HugeText text(std::size_t{2} << 30);
  EXPECT_TRUE(test::Throws<CMemoryException>([&] { AdStringToNewlineFormat(text); }));
  EXPECT_TRUE(test::Throws<CMemoryException>([&] { AdStringToCRLFFormat(text); }));
  CStringArray parts;
  parts.SetSize((32 << 10) + 1);
  CString joined = "kept";
  const CString separator('-', 64 << 10);
  EXPECT_TRUE(
      test::Throws<CMemoryException>([&] { AdCStringArrayToCString(parts, joined, separator); }));
  EXPECT_EQ(joined, "kept");
}
#endif

TEST(Edit, PathCases) {
  const test::CodePage page(932);
  const struct {
    int line;
    const char* path;
    const char* directory;
    const char* file;
  } kRows[] = {
      {__LINE__, nullptr, "", ""},
      {__LINE__, "C:file", "", "C:file"},
      {__LINE__, "C:\\a/b\\file", "C:\\a/b\\", "file"},
      {__LINE__, "d\\\x95\x5C", "d\\", "\x95\x5C"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(AdDirname(row.path), row.directory) << "line " << row.line;
    EXPECT_EQ(AdBasename(row.path), row.file) << "line " << row.line;
  }
}

// An argument may be part of what is changed.
TEST(Edit, ArgumentsInsideTheResult) {
  CStringArray parts;
  Fill(parts, {"a text that has a block of its own", "short text"});
  AdSplitString(parts[0], parts[1], parts);
  EXPECT_EQ(TextsOf(parts), test::Split("a text that has a block of its own", "short text"));

  Fill(parts, {"first", "second"});
  AdCStringArrayToCString(parts, parts[1], parts[0]);
  EXPECT_EQ(TextsOf(parts), (Texts{"first", "firstfirstsecond"}));

  CString text = "abab";
  AdReplaceString(text, static_cast<const char*>(text) + 3, text);
  EXPECT_EQ(text, "aababaabab");
  text = "ab cd";
  EXPECT_EQ(AdRemoveWord(text, static_cast<const char*>(text) + 3), "ab ");
  EXPECT_EQ(text, "cd");
}

}  // namespace
