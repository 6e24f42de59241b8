#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/code_page.h"
#include "tests/support/hives.h"
#include "tools/twreg/failure.h"
#include "tools/twreg/registry_file_reader.h"
#include "tools/twreg/registry_file_writer.h"
#include "tools/twreg/store.h"

namespace {

using namespace std::string_literals;
using twreg::FileKey;
using twreg::FileValue;
using twreg::RegistryFile;

// What is read from the text, or why it is refused.
std::string Shown(const std::string& text) {
  std::string shown;
  try {
    for (const FileKey& key : twreg::ReadRegistryFile(text)) {
      shown.append(key.is_deleted ? "-" : "") += key.path.Name();
      for (const FileValue& entry : key.values) {
        const twreg::Value& value = entry.value;
        shown.append(" <").append(value.name).append(entry.is_deleted ? ">-" : ">");
        if (entry.is_deleted) continue;
        shown.append(std::to_string(value.type)).append(":").append(twreg::HexText(value.data));
      }
      shown += ";";
    }
  } catch (const twreg::Failure& failure) {
    return failure.what();
  }
  return shown;
}

struct Row {
  int line;
  const char* text;
  const char* shown;
  int page = 1252;
};

void ExpectShown(const Row& row, const std::string& before, const std::string& kept) {
  const testing::ScopedTrace trace(__FILE__, row.line, "");
  const test::CodePage page(row.page);
  EXPECT_EQ(Shown(before + row.text), kept + row.shown);
}

TEST(RegistryFileReader, ReadsWhatTheFormatAllows) {
  const Row kRows[] = {
      {__LINE__, "", ""},
      {__LINE__, "; comment\n\r\n \t\n  ; [x\n", ""},
      {__LINE__, "[HKCU\\a]", "HKEY_CURRENT_USER\\a;"},
      {__LINE__, " [hkey_users\\\\A\\\\b\\] \r\n", "HKEY_USERS\\A\\b;"},
      {__LINE__, "[HKLM]\n[-HKCR\\a/b]\n", "HKEY_LOCAL_MACHINE;-HKEY_CLASSES_ROOT\\a/b;"},
      {__LINE__, "[HKCC\\a]b] ]\n", "HKEY_CURRENT_CONFIG\\a]b] ;"},
      {__LINE__, "[HKCU\\\x83]]\n", "HKEY_CURRENT_USER\\\x83];", 932},
      {__LINE__, "[HKCU\\\x83\\\\x]\n", "HKEY_CURRENT_USER\\\x83\\\\x;", 932},
      {__LINE__, "[HKCU\\\x83\\\\x]\n", "HKEY_CURRENT_USER\\\x83\\x;"},
  };
  for (const Row& row : kRows) ExpectShown(row, "REGEDIT4\r\n", "");
}

TEST(RegistryFileReader, ReadsTheDataOfEveryType) {
  const Row kRows[] = {
      {__LINE__, "@=\"\"", " <>1:00;"},
      {__LINE__, "\t\"\" = \"a\" ; comment", " <>1:6100;"},
      {__LINE__, "\"@\"=\"a\"", " <@>1:6100;"},
      {__LINE__, "\"a\\\\b\\\"=\"=\"\\\\\\\"\"", " <a\\b\"=>1:5c2200;"},
      {__LINE__, "\"\x83\\\"=\"\x83\\\"", " <\x83\\>1:835c00;", 932},
      {__LINE__, "\"\x83\"=\"\x83\"", " <\x83>1:8300;", 932},
      {__LINE__, "@=\"one\r\ntwo;\"", " <>1:6f6e650d0a74776f3b00;"},
      {__LINE__, "@=dword:0000002a", " <>4:2a000000;"},
      {__LINE__, "@=dword:FFfffffE;", " <>4:feffffff;"},
      {__LINE__, "@=dword:1", " <>4:01000000;"},
      {__LINE__, "@=hex:", " <>3:;"},
      {__LINE__, "@=hex:;", " <>3:;"},
      {__LINE__, "@=hex:01, a ,\tFf", " <>3:010aff;"},
      {__LINE__, "@=hex:01,\\\r\n  02\\\n,\\ \n\\\n03", " <>3:010203;"},
      {__LINE__, "@=hex:\\\n01", " <>3:01;"},
      {__LINE__, "@=hex:\\", " <>3:;"},
      {__LINE__, "@=hex(0):", " <>0:;"},
      {__LINE__, "@=hex(2):61,00", " <>2:6100;"},
      {__LINE__, "@=hex(b):01\n@=hex(FFFFFFFF):02", " <>11:01 <>4294967295:02;"},
      {__LINE__, "@=-\n\"a\" =\t- ;", " <>- <a>-;"},
  };
  for (const Row& row : kRows) ExpectShown(row, "REGEDIT4\n[HKU]\n", "HKEY_USERS");
}

TEST(RegistryFileReader, RefusesWhatHasAnotherHead) {
  const char kNone[] = "line 1: The file does not begin with \"REGEDIT4\"";
  const char kMark[] = "line 1: The file begins with a byte order mark; export it as \"REGEDIT4\"";
  const Row kRows[] = {
      {__LINE__, "", kNone},
      {__LINE__, "REGEDIT", kNone},
      {__LINE__, "REGEDIT44\n", kNone},
      {__LINE__, "\nREGEDIT4\n", kNone},
      {__LINE__, "regedit4\n", kNone},
      {__LINE__, "\xEF\xBB\xBFREGEDIT4\n", kMark},
      {__LINE__, "\xFF\xFEW", kMark},
      {__LINE__, "\xFE\xFFW", kMark},
      {__LINE__, "Windows Registry Editor Version 5.00\r\n",
       "line 1: This is a file of a later version; export it as \"REGEDIT4\""},
  };
  for (const Row& row : kRows) ExpectShown(row, "", "");
  EXPECT_EQ(Shown("REGEDIT4\n[HKU]\n@=\"\0\""s), "line 3: A NUL byte stands in the file");
}

TEST(RegistryFileReader, TellsTheLineOfAnError) {
  const char kNoQuote[] = "The text has no closing quote";
  const char kNoDigits[] = "A number in hex digits is missing";
  const char kBehind[] = "Something stands behind the value";
  const char kNoData[] = "The data are neither a text in quotes, \"dword:\", \"hex:\" nor \"-\"";
  const Row kRows[] = {
      {__LINE__, "x", "Neither a key, a value nor a comment"},
      {__LINE__, "[HKCU\\a", "The key has no closing \"]\""},
      {__LINE__, "[", "The key has no closing \"]\""},
      {__LINE__, "[HKCU] ; comment", "The key has no closing \"]\""},
      {__LINE__, "[HKCU\\\x83]", "The key has no closing \"]\"", 932},
      {__LINE__, "[]", "The key begins with no predefined key: \"\""},
      {__LINE__, "[HKEY\\a]", "The key begins with no predefined key: \"HKEY\\a\""},
      {__LINE__, "[HKCU/a]", "The key begins with no predefined key: \"HKCU/a\""},
      {__LINE__, "[HKCU\\a\rb]", "A line break stands in a name"},
      {__LINE__, "[-HKCU\\]", "A predefined key cannot be deleted"},
      {__LINE__, "[-HKCU\\a]\n@=-", "A value stands below a key that is deleted"},
      {__LINE__, "\"a", kNoQuote},
      {__LINE__, "@=\"a", kNoQuote},
      {__LINE__, "@=\"a\\\"\n\n", kNoQuote},
      {__LINE__, "\"a\nb\"=-", "A line break stands in a name"},
      {__LINE__, "@=\"C:\\d\"", "A \"\\\" in a text has neither \"\\\" nor a quote behind it"},
      {__LINE__, "\"a\"\n=-", "The value's name has no \"=\" behind it"},
      {__LINE__, "@:\"a\"", "The value's name has no \"=\" behind it"},
      {__LINE__, "@=", kNoData},
      {__LINE__, "@=word:1", kNoData},
      {__LINE__, "@=HEX:1", kNoData},
      {__LINE__, "@=dword", "The type has no \":\" behind it"},
      {__LINE__, "@=dword(4):1", "The type has no \":\" behind it"},
      {__LINE__, "@=hex(7:1", "The type's number has no closing \")\""},
      {__LINE__, "@=hex(123456789):1", "The type's number has no closing \")\""},
      {__LINE__, "@=hex():1", kNoDigits},
      {__LINE__, "@=dword:", kNoDigits},
      {__LINE__, "@=dword:g", kNoDigits},
      {__LINE__, "@=dword:123456789", kBehind},
      {__LINE__, "@=hex:01,", kNoDigits},
      {__LINE__, "@=hex:,", kNoDigits},
      {__LINE__, "@=hex:012", kBehind},
      {__LINE__, "@=hex:01 02", kBehind},
      {__LINE__, "@=hex:01\\x", "Something stands behind the \"\\\" of a line"},
      {__LINE__, "@=-1", kBehind},
      {__LINE__, "@=\"a\"b", kBehind},
  };
  for (const Row& row : kRows) {
    const bool is_second = std::string_view(row.text).starts_with("[-HKCU\\a]");
    ExpectShown(row, "REGEDIT4\n[HKU]\n", is_second ? "line 4: " : "line 3: ");
  }
  EXPECT_EQ(Shown("REGEDIT4\n@=-"), "line 2: A value stands before the first key");
  EXPECT_EQ(Shown("REGEDIT4\n[HKU]\n@=\"a\nb\" @=hex:01,\\\n"),
            "line 4: Something stands behind the value");
  EXPECT_EQ(Shown("REGEDIT4\n[HKU]\n@=hex:01,\\\n\\\n?"),
            "line 5: A number in hex digits is missing");
}

TEST(RegistryFileReader, RefusesNamesBeyondTheRegistrysLimits) {
  const std::string longest(255, 'k');
  const std::string head = "REGEDIT4\n[HKU\\";
  const std::string too_long = "line 2: The key's name is too long or has too many levels";
  EXPECT_EQ(Shown(head + longest + "]"), "HKEY_USERS\\" + longest + ";");
  EXPECT_EQ(Shown(head + longest + "k]"), too_long);
  std::string levels;
  for (int i = 0; i < 512; ++i) levels += "\\d";
  EXPECT_EQ(Shown(head + levels + "]"), "HKEY_USERS" + levels + ";");
  EXPECT_EQ(Shown(head + levels + "\\d]"), too_long);
  const std::string name(16383, 'v');
  EXPECT_EQ(Shown(head + "]\n\"" + name + "\"=-"), "HKEY_USERS <" + name + ">-;");
  EXPECT_EQ(Shown(head + "]\n\"" + name + "v\"=-"), "line 3: The value's name is too long");
}

TEST(RegistryFileWriter, WritesWhatOldMachinesRead) {
  const test::CodePage page(932);
  const RegistryFile file = {
      {{HKEY_CURRENT_USER, "a\\\x83]"},
       false,
       {{{"", REG_SZ, "C:\\\"x\"\0"s}},
        {{"\x83\\\\", REG_SZ, "\x83\\\0"s}},
        {{"@", REG_SZ, "a\nb\0"s}},
        {{"no NUL", REG_SZ, "a"}},
        {{"NUL inside", REG_SZ, "a\0b\0"s}},
        {{"no text", REG_SZ, ""}},
        {{"half", REG_SZ, "\x83\"\0"s}},
        {{"count", REG_DWORD, "\x2A\0\0\0"s}},
        {{"short", REG_DWORD, "\x2A\0"s}},
        {{"high", REG_DWORD_BIG_ENDIAN, "\0\0\0\x2A"s}},
        {{"none", REG_NONE, ""}},
        {{"any", 0xFFFFFFFF, "\x01"}},
        {{"gone", REG_NONE, ""}, true}}},
      {{HKEY_USERS, "old"}, true, {}},
  };
  EXPECT_EQ(twreg::WriteRegistryFile(file),
            "REGEDIT4\r\n"
            "\r\n"
            "[HKEY_CURRENT_USER\\a\\\x83]]\r\n"
            "@=\"C:\\\\\\\"x\\\"\"\r\n"
            "\"\x83\\\\\\\"=\"\x83\\\"\r\n"
            "\"@\"=hex(1):61,0a,62,00\r\n"
            "\"no NUL\"=hex(1):61\r\n"
            "\"NUL inside\"=hex(1):61,00,62,00\r\n"
            "\"no text\"=hex(1):\r\n"
            "\"half\"=hex(1):83,22,00\r\n"
            "\"count\"=dword:0000002a\r\n"
            "\"short\"=hex(4):2a,00\r\n"
            "\"high\"=hex(5):00,00,00,2a\r\n"
            "\"none\"=hex(0):\r\n"
            "\"any\"=hex(ffffffff):01\r\n"
            "\"gone\"=-\r\n"
            "\r\n"
            "[-HKEY_USERS\\old]\r\n");
}

RegistryFile OneValue(const std::string& key, const twreg::Value& value) {
  FileKey entry;
  entry.path = {HKEY_USERS, key};
  entry.values.push_back({value, false});
  return {entry};
}

TEST(RegistryFileWriter, BreaksLinesAt80Columns) {
  for (std::size_t name_size = 1; name_size < 100; ++name_size) {
    const RegistryFile file =
        OneValue("", {std::string(name_size, 'n'), REG_BINARY, std::string(99, 'b')});
    const std::string text = twreg::WriteRegistryFile(file);
    EXPECT_EQ(twreg::ReadRegistryFile(text), file);
    std::size_t longest = 0;
    for (std::size_t at = text.find("62"), end = 0; at < text.size(); at = end + 2) {
      end = text.find("\r\n", at);
      const std::size_t begin = text.rfind("\r\n", at) + 2;
      longest = std::max(longest, end - begin);
    }
    EXPECT_LE(longest, 80u) << name_size;
    EXPECT_GE(longest, 77u) << name_size;
  }
}

TEST(RegistryFileWriter, RefusesNamesThatTheFormatCannotHold) {
  const struct {
    int line;
    const char* key;
    const char* value;
    const char* refused;
  } kRows[] = {
      {__LINE__, "a\rb", "v", "key \"HKEY_USERS\\\\a\\rb\""},
      {__LINE__, "a\nb", "v", "key \"HKEY_USERS\\\\a\\nb\""},
      {__LINE__, "a\x83", "v", "key \"HKEY_USERS\\\\a\\x83\""},
      {__LINE__, "a", "a\nb", "value \"a\\nb\""},
      {__LINE__, "a", "a\rb", "value \"a\\rb\""},
      {__LINE__, "a", "\x83\"", "value \"\\x83\\\"\""},
  };
  const test::CodePage page(932);
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    try {
      twreg::WriteRegistryFile(OneValue(row.key, {row.value, REG_NONE, ""}));
      ADD_FAILURE();
    } catch (const twreg::Failure& failure) {
      EXPECT_EQ(failure.what(), "A registry file cannot hold the name of the "s + row.refused);
    }
  }
}

// Trees whose names and data are made of what is special to the format and to the code page.
class RandomTree {
 public:
  explicit RandomTree(unsigned seed) : m_random(seed) {}

  void Make(const twreg::KeyPath& path, int levels) {
    const twreg::Key key = twreg::Key::Made(path);
    for (int i = Below(6); i > 0; --i) {
      key.Set({Text(5), static_cast<DWORD>(Below(12)), Text(40) + Ending()});
    }
    if (levels == 0) return;
    for (int i = Below(4); i > 0; --i) Make(path.Child(std::string("k") + Text(4)), levels - 1);
  }

 private:
  int Below(int limit) { return std::uniform_int_distribution(0, limit - 1)(m_random); }

  std::string Ending() {
    const std::string kEndings[] = {"\0"s, "\0"s, "", "\0\0"s, "\0x"s, "\n\0"s};
    return kEndings[Below(std::size(kEndings))];
  }

  // Whole characters, those of page 932 with every trail byte that is special.
  std::string Text(int most) {
    const char* const kSingle[] = {"a", "Z", " ", "\"", "]", "[", ";", "=", "-", "@", ",", "/"};
    const char* const kDouble[] = {"\x83\\", "\x83]", "\x83[", "\x95@", "\x82\xA0", "\xE0\x40"};
    std::string text;
    for (int i = Below(most); i > 0; --i) {
      text +=
          Below(3) == 0 ? kDouble[Below(std::size(kDouble))] : kSingle[Below(std::size(kSingle))];
    }
    return text;
  }

  std::mt19937 m_random;
};

TEST(RegistryFile, MovesTreesFromOneRegistryToAnother) {
  const twreg::KeyPath path{HKEY_CURRENT_USER, "top"};
  for (const int number : {1252, 932, 65001}) {
    const test::CodePage page(number);
    for (unsigned seed = 1; seed <= 4; ++seed) {
      SCOPED_TRACE(testing::Message() << "page " << number << ", seed " << seed);
      RegistryFile first;
      {
        const test::Hives old_machine;
        RandomTree(seed).Make(path, 3);
        first = twreg::ReadTree(path);
      }
      const std::string text = twreg::WriteRegistryFile(first);
      const test::Hives new_machine;
      twreg::Apply(twreg::ReadRegistryFile(text));
      EXPECT_EQ(twreg::ReadTree(path), first);
      EXPECT_EQ(test::Damage(), "");
    }
  }
}

}  // namespace
