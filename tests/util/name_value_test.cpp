#include "tesselkit/util/adutil_name_value.h"

#include <gtest/gtest.h>

#include "tests/support/code_page.h"
#include "tests/support/failures.h"
#include "tests/support/name_value_model.h"
#include "tests/support/traced_test.h"

namespace {

using Entries = std::map<std::string, std::string>;

Entries EntriesOf(const CMapStringToString& map) {
  Entries entries;
  CString key, value;
  for (POSITION place = map.GetStartPosition(); place != nullptr;) {
    map.GetNextAssoc(place, key, value);
    entries[std::string(key.View())] = std::string(value.View());
  }
  return entries;
}

std::string ErrorText(int id, const std::string& near) {
  if (id == 18059) return "invalid name in NAME=VALUE string (near \"" + near + "\")";
  if (id == 18060) return "duplicate name in NAME=VALUE string (" + near + ")";
  return "missing '=' in NAME=VALUE string (near \"" + near + "\")";
}

class NameValue : public test::TracedTest {};

// The reader against the state table, error and all; also without an error wanted.
void CheckLine(const std::string& line, bool allow_duplicates) {
  SCOPED_TRACE(testing::PrintToString(line));
  const test::NameValueLine expected = test::ReadNameValueLine(line, allow_duplicates);
  CMapStringToString map;
  map["BEFORE"] = "x";
  CException* error = reinterpret_cast<CException*>(&map);
  const int is_read = AdParseNameValueString(line.c_str(), map, &error, allow_duplicates);
  EXPECT_EQ(is_read, expected.error == 0 ? 1 : 0);
  EXPECT_EQ(EntriesOf(map), expected.entries);
  ASSERT_EQ(error != nullptr, expected.error != 0);
  if (error != nullptr) {
    ASSERT_TRUE(error->IsKindOf(RUNTIME_CLASS(PaMsgException)));
    const test::ThrownMessage message = test::TakeMessage(static_cast<PaMsgException*>(error));
    EXPECT_EQ(message.id, expected.error);
    EXPECT_EQ(message.type, 0);
    EXPECT_EQ(message.destination, 0);
    EXPECT_EQ(message.text, ErrorText(expected.error, expected.near));
  }
  EXPECT_EQ(AdParseNameValueString(line.c_str(), map, nullptr, allow_duplicates), is_read);
  EXPECT_EQ(EntriesOf(map), expected.entries);
}

TEST_F(NameValue, EveryShortLineIsReadByTheStateTable) {
  const std::string bytes = "aA1= ;-\x81";
  for (std::size_t length = 0; length <= 4; ++length) {
    std::string line(length, bytes[0]);
    std::size_t count = 1;
    for (std::size_t i = 0; i < length; ++i) count *= bytes.size();
    for (std::size_t number = 0; number < count && !HasFailure(); ++number) {
      std::size_t rest = number;
      for (char& c : line) {
        c = bytes[rest % bytes.size()];
        rest /= bytes.size();
      }
      CheckLine(line, number % 2 == 0);
    }
  }
}

TEST_F(NameValue, EveryByteInEachState) {
  for (int byte = 1; byte < 256; ++byte) {
    for (const std::string front : {"", "a=1;", "ab", "ab ", "ab=", "ab= x"}) {
      for (const std::string back : {"", "=2", "c=2;d=3"}) {
        CheckLine(front + static_cast<char>(byte) + back, false);
      }
    }
  }
}

TEST_F(NameValue, RandomLinesAndNearTexts) {
  test::Random random(26);
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int i = 0; i < 1500 && !HasFailure(); ++i) {
      std::string line;
      for (std::size_t count = random() % 5; count > 0; --count) {
        line += std::string("Name") + std::to_string(random() % 4) +
                std::string(random() % 50, 'x') + std::string(count % 2, ' ') + "=" +
                test::RandomPieces(random, 6) + ";";
      }
      CheckLine(line + test::RandomPieces(random, 4), i % 2 == 0);
    }
  }
}

struct LineCase {
  int line;
  const char* text;
  int allow_duplicates;
  Entries entries;
  int error;
  const char* near;
};

const LineCase kLineCases[] = {
    // line     text              dup  entries                   error  near
    {__LINE__, " ;\t;;\v\f\r\n", 0, {}, 0, ""},
    {__LINE__, "A \t= 1 ", 0, {{"A", " 1 "}}, 0, ""},
    {__LINE__, "9=;;b=", 0, {{"9", ""}, {"B", ""}}, 0, ""},
    {__LINE__, "a=1;A=2", 0, {{"A", "1"}}, 18060, "A"},
    {__LINE__, "a=1;A=2", 1, {{"A", "2"}}, 0, ""},
    {__LINE__, "A B=1", 0, {}, 18061, "A "},
    {__LINE__, "=1", 0, {}, 18059, "=1"},
    {__LINE__, "A=1;%str%", 0, {{"A", "1"}}, 18059, "%str%"},
    {__LINE__,
     "12345678901234567890123456789012345678901-",
     0,
     {},
     18059,
     "2345678901234567890123456789012345678901"},
    {__LINE__,
     "-2345678901234567890123456789012345678901",
     0,
     {},
     18059,
     "-234567890123456789012345678901234567890"},
};

// Against words, so that a mistake in the model shows too.
TEST_F(NameValue, LineCases) {
  for (const LineCase& each : kLineCases) {
    SCOPED_TRACE(testing::Message() << "line " << each.line);
    CheckLine(each.text, each.allow_duplicates != 0);
    const test::NameValueLine model =
        test::ReadNameValueLine(each.text, each.allow_duplicates != 0);
    EXPECT_EQ(model.entries, each.entries);
    EXPECT_EQ(model.error, each.error);
    EXPECT_EQ(model.near, each.near);
  }
  CMapStringToString map;
  map["A"] = "1";
  EXPECT_EQ(AdParseNameValueString(nullptr, map, nullptr, 0), 1);
  EXPECT_EQ(map.GetCount(), 0);
}

struct PairCase {
  int line;
  const char* text;
  bool is_pair;
  const char* name;
  const char* value;
};

const PairCase kPairCases[] = {
    // line     text             pair   name      value
    {__LINE__, nullptr, false, "", ""},
    {__LINE__, " name = value ", true, "name", "value "},
    {__LINE__, "name=\t\tv=w", true, "name", "\tv=w"},
    {__LINE__, "two words", false, "", ""},
    {__LINE__, "\r\n= \t=a;B\r\n=1;c=2", true, "a;B\r\n", "1;c=2"},
    {__LINE__, "\x95= x", true, "\x95", "x"},
};

TEST_F(NameValue, Pairs) {
  CString name, value;
  const auto check = [&](const char* text, bool is_pair, const std::string& expected_name,
                         const std::string& expected_value) {
    name = value = "before";
    EXPECT_EQ(AdParseNameValue(text, name, value), is_pair ? 1 : 0);
    EXPECT_EQ(name.View(), expected_name);
    EXPECT_EQ(value.View(), expected_value);
  };
  for (const PairCase& each : kPairCases) {
    SCOPED_TRACE(testing::Message() << "line " << each.line);
    check(each.text, each.is_pair, each.name, each.value);
  }
  test::Random random(27);
  for (const int number : test::kCodePages) {
    const test::CodePage page(number);
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
      const std::string text =
          test::RandomPieces(random, 3) + (i % 2 == 0 ? "=" : "") + test::RandomPieces(random, 3);
      SCOPED_TRACE(testing::PrintToString(text));
      const test::NameValuePair expected = test::ReadNameValuePair(text);
      check(text.c_str(), expected.is_pair, expected.name, expected.value);
    }
  }
  name = " self = 12345678901234567890";
  EXPECT_EQ(AdParseNameValue(name, name, value), 1);
  EXPECT_EQ(name + value, "self12345678901234567890");
}

CString Written(const CMapStringToString& map, int sorted) {
  CString line = "before";
  AdMakeNameValueString(map, line, sorted);
  return line;
}

TEST_F(NameValue, WritesTheCanonicalForm) {
  CMapStringToString map;
  EXPECT_EQ(Written(map, 0), "");
  EXPECT_EQ(Written(map, 1), "");
  map["AB"] = "3";
  map["a"] = "";
  map["A1"] = " x;=";
  map[""] = "%name%";
  EXPECT_EQ(Written(map, 1), "=%name%;A1= x;=;a=;AB=3");
  const CString unsorted = Written(map, 0);
  EXPECT_EQ(unsorted.GetLength(), Written(map, 1).GetLength());
  EXPECT_EQ(unsorted, "AB=3;a=;A1= x;=;=%name%");  // as the keys came
  map["A1"] = "1";
  AdMakeNameValueString(map, map["A1"], 1);
  EXPECT_EQ(map["A1"], "=%name%;A1=1;a=;AB=3");
}

TEST_F(NameValue, WhatIsWrittenIsReadBack) {
  test::Random random(28);
  const std::string name_bytes = "ABCXYZ019_";
  for (int i = 0; i < 500; ++i) {
    CMapStringToString map;
    for (std::size_t count = random() % 40; count > 0; --count) {
      std::string name = "N";
      while (random() % 12 != 0) name += name_bytes[random() % name_bytes.size()];
      std::string value = test::RandomPieces(random, 10);
      std::erase(value, ';');
      map[name.c_str()] = CString(value);
    }
    for (const int sorted : {0, 1}) {
      CMapStringToString read;
      CException* error = nullptr;
      ASSERT_EQ(AdParseNameValueString(Written(map, sorted), read, &error, 0), 1);
      EXPECT_EQ(EntriesOf(read), EntriesOf(map));
    }
  }
}

}  // namespace
