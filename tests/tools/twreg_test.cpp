#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <termios.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "tests/support/hives.h"
#include "tests/tools/command.h"
#include "tools/twreg/arguments.h"

namespace {

using namespace std::string_literals;
using test::Outcome;
using Words = std::vector<std::string>;

constexpr char kNotFound[] = "The system cannot find the file specified.";
constexpr char kDenied[] = "Access is denied.";

std::string CallFailed(const std::string& function, const std::string& key,
                       const std::string& text) {
  return "twreg: Attempt to call function \""s + function + "\" on registry key \"" + key +
         "\" failed.  System error: " + text + "\n";
}

class Twreg : public testing::Test {
 protected:
  static Outcome Run(const Words& words, const std::string& input = "") {
    return test::RunProgram(TWREG_FILE, words, input);
  }

  // Runs what must succeed in silence.
  static void Do(const Words& words, const std::string& input = "") {
    EXPECT_EQ(Run(words, input), Outcome{}) << testing::PrintToString(words);
  }

  static std::string Answer(const Words& words) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.code, 0) << testing::PrintToString(words) << outcome.errors;
    EXPECT_EQ(outcome.errors, "");
    return outcome.output;
  }

  test::Hives m_hives;
};

TEST_F(Twreg, SetsWhatGetShows) {
  const struct {
    int line;
    const char* type;
    Words values;
    DWORD number;
    std::string data;
    const char* shown;
    const char* listed;
    const char* json;
  } kRows[] = {
      {__LINE__,
       "sz",
       {"a \"b\"\n"},
       REG_SZ,
       "a \"b\"\n\0"s,
       "a \"b\"\n",
       "\"a \\\"b\\\"\\n\"",
       "REG_SZ\",\"data\":\"6120226222"
       "0a00\",\"text\":\"a \\\"b\\\"\\u000a\""},
      {__LINE__, "SZ", {""}, REG_SZ, "\0"s, "", "\"\"", "REG_SZ\",\"data\":\"00\",\"text\":\"\""},
      {__LINE__,
       "expand_sz",
       {"%a%"},
       REG_EXPAND_SZ,
       "%a%\0"s,
       "%a%",
       "\"%a%\"",
       "REG_EXPAND_SZ\",\"data\":\"25612500\",\"text\":\"%a%\""},
      {__LINE__,
       "dword",
       {"4294967295"},
       REG_DWORD,
       "\xFF\xFF\xFF\xFF",
       "4294967295",
       "0xffffffff (4294967295)",
       "REG_DWORD\",\"data\":\"ffffffff\",\"number\":4294967295"},
      {__LINE__,
       "REG_DWORD",
       {"0x2A"},
       REG_DWORD,
       "\x2A\0\0\0"s,
       "42",
       "0x0000002a (42)",
       "REG_DWORD\",\"data\":\"2a000000\",\"number\":42"},
      {__LINE__,
       "dword_big_endian",
       {"1"},
       REG_DWORD_BIG_ENDIAN,
       "\0\0\0\1"s,
       "1",
       "0x00000001 (1)",
       "REG_DWORD_BIG_ENDIAN\",\"data\":\"00000001\",\"number\":1"},
      {__LINE__,
       "binary",
       {"00fF 7e"},
       REG_BINARY,
       "\0\xFF\x7E"s,
       "00ff7e",
       "00ff7e",
       "REG_BINARY\",\"data\":\"00ff7e\""},
      {__LINE__,
       "multi_sz",
       {"one", "two"},
       REG_MULTI_SZ,
       "one\0two\0\0"s,
       "one\ntwo",
       "\"one\" \"two\"",
       "REG_MULTI_SZ\",\"data\":\"6f6e650074776f0000\",\"texts\":[\"one\",\"two\"]"},
      {__LINE__,
       "multi_sz",
       {},
       REG_MULTI_SZ,
       "\0"s,
       "",
       "",
       "REG_MULTI_SZ\",\"data\":\"00\",\"texts\":[]"},
      {__LINE__, "none", {}, REG_NONE, "", "", "", "REG_NONE\",\"data\":\"\""},
      {__LINE__, "0x2a", {"01"}, 42, "\1", "01", "01", "type 0x2a\",\"data\":\"01\""},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    Words words = {"set", "HKCU\\Software\\k", "v", "--type", row.type};
    words.insert(words.end(), row.values.begin(), row.values.end());
    Do(words);
    const test::Key key("Software\\k");
    DWORD type = 99;
    RegQueryValueExA(key, "v", nullptr, &type, nullptr, nullptr);
    EXPECT_EQ(type, row.number);
    EXPECT_EQ(test::Data(key, "v"), row.data);
    EXPECT_EQ(Answer({"get", "hkey_current_user\\SOFTWARE\\\\K", "V"}), row.shown + "\n"s);
    const std::string type_name = std::string(row.json).substr(0, std::string(row.json).find('"'));
    EXPECT_EQ(Answer({"list", "HKCU\\Software\\k"}), "v  "s + type_name + "  " + row.listed + "\n");
    EXPECT_EQ(Answer({"get", "--json", "HKCU\\Software\\k", "v"}),
              "{\"key\":\"HKEY_CURRENT_USER\\\\Software\\\\k\",\"name\":\"v\",\"type\":\""s +
                  row.json + "}\n");
  }
}

TEST_F(Twreg, ListsAKeyOrATree) {
  Do({"set", "HKLM\\a\\b", "Longer name", "x"});
  Do({"set", "HKLM\\a", "@", "1", "-t", "dword"});
  Do({"set", "HKLM\\a", "v\\", std::string(33, '0') + "1", "--type=binary"});
  Do({"set", "HKLM\\a", "", "2", "-t", "dword"});
  Do(
      {"import"}, "REGEDIT4\n[HKLM\\a]\n\"@\"=hex:" + [] {
        std::string bytes = "01";
        for (int i = 1; i < 33; ++i) bytes += ",01";
        return bytes;
      }());
  std::string long_data;
  for (int i = 0; i < 32; ++i) long_data += "01";
  const std::string kTable =
      "@      REG_DWORD   0x00000002 (2)\n"
      "\"@\"    REG_BINARY  " +
      long_data +
      "... (33 bytes)\n"
      "\"v\\\\\"  REG_BINARY  0000000000000000000000000000000001\n";
  EXPECT_EQ(Answer({"list", "HKLM\\a"}), "b\\\n" + kTable);
  EXPECT_EQ(Answer({"list", "-r", "HKLM\\a"}), "HKEY_LOCAL_MACHINE\\a\n" + kTable +
                                                   "\nHKEY_LOCAL_MACHINE\\a\\b\n"
                                                   "Longer name  REG_SZ  \"x\"\n");
  EXPECT_EQ(Answer({"list", "HKLM\\a\\b", "--color=always"}),
            "\x1b[1mLonger name\x1b[0m  \x1b[36mREG_SZ\x1b[0m  \"x\"\n");
  EXPECT_EQ(Answer({"list", "--json", "--recursive", "HKLM\\a\\b"}),
            "[{\"key\":\"HKEY_LOCAL_MACHINE\\\\a\\\\b\",\"subkeys\":[],\"values\":[{\"name\":"
            "\"Longer name\",\"type\":\"REG_SZ\",\"data\":\"7800\",\"text\":\"x\"}]}]\n");
}

TEST_F(Twreg, TextsAreThoseOfTheCodePage) {
  Do({"--code-page", "932", "set", "HKCU\\\x83\\\\x", "\x83\\", "\x82\xA0\xF8"});
  EXPECT_EQ(Answer({"--code-page=932", "list", "HKCU\\\x83\\"}), "x\\\n");
  EXPECT_EQ(Answer({"--code-page=932", "list", "HKCU\\\x83\\\\x"}),
            "\x83\\  REG_SZ  \"\x82\xA0\xF8\"\n");
  EXPECT_EQ(Answer({"--code-page=932", "get", "--json", "HKCU\\\x83\\\\x", "\x83\\"}),
            "{\"key\":\"HKEY_CURRENT_USER\\\\\xE3\x82\xBD\\\\x\",\"name\":\"\xE3\x82\xBD\","
            "\"type\":\"REG_SZ\",\"data\":\"82a0f800\",\"text\":\"\xE3\x81\x82\xEF\xBF\xBD\"}\n");
}

TEST_F(Twreg, LeavesOutNothingThatWasStoredUnderAnotherPage) {
  const std::string kLong(70, 'x');
  const std::string kB =
      "[HKEY_CURRENT_USER\\a\\b]\r\n\"B\"=\"1\"\r\n\"\xC4\"=\"" + kLong + "\"\r\n";
  Do({"--code-page=932", "import"}, "REGEDIT4\n[HKCU\\a\\\x83\\]\n" + kB);
  Do({"--code-page=1252", "set", "HKCU\\a\\\x83", "v", "2"});
  EXPECT_EQ(Answer({"--code-page=1252", "export", "HKCU\\a\\b"}), "REGEDIT4\r\n\r\n" + kB);
  const std::string kOutOfReach =
      "twreg: The key \"HKEY_CURRENT_USER\\\\a\\\\\x83\\\\\" cannot be reached under code page "
      "1252\n";
  EXPECT_EQ(Run({"--code-page=1252", "list", "-r", "HKCU\\a"}),
            (Outcome{"HKEY_CURRENT_USER\\a\n\nHKEY_CURRENT_USER\\a\\b\nB  REG_SZ  \"1\"\n\xC4  "
                     "REG_SZ  \"" +
                         kLong + "\"\n\nHKEY_CURRENT_USER\\a\\\x83\nv  REG_SZ  \"2\"\n",
                     kOutOfReach, 1}));
  EXPECT_EQ(Run({"--code-page=1252", "export", "HKCU\\a"}), (Outcome{"", kOutOfReach, 1}));
}

TEST_F(Twreg, DeletesValuesKeysAndTrees) {
  const Words kWords = {"set", "HKCU\\top\\a\\b", "v", "x"};
  Do(kWords);
  Do({"delete", "HKCU\\top\\a\\b", "v"});
  EXPECT_EQ(
      Run({"delete", "HKCU\\top\\a\\b", "v"}),
      (Outcome{"", CallFailed("RegDeleteValue", "HKEY_CURRENT_USER\\top\\a\\b", kNotFound), 1}));
  EXPECT_EQ(Run({"delete", "HKCU\\top"}),
            (Outcome{"", CallFailed("RegDeleteKey", "HKEY_CURRENT_USER\\top", kDenied), 1}));
  Do({"delete", "HKCU\\top\\a\\b"});
  Do(kWords);
  for (const Words& words : {Words{"delete", "HKCU"}, {"delete", "--tree", "HKCU\\"}}) {
    EXPECT_EQ(Run(words),
              (Outcome{"", CallFailed("RegDeleteKey", "HKEY_CURRENT_USER", kDenied), 1}));
  }
  EXPECT_EQ(Answer({"get", "HKCU\\top\\a\\b", "v"}), "x\n");
  EXPECT_EQ(Run({"--json", "delete", "--tree", "HKCU\\top"}),
            (Outcome{"{\"key\":\"HKEY_CURRENT_USER\\\\top\"}\n", "", 0}));
  EXPECT_EQ(Answer({"list", "HKCU"}), "");
}

TEST_F(Twreg, ImportsWhatItExportsAndDeletesWhatAFileSays) {
  const std::string kFile =
      "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\a]\r\n@=\"x\"\r\n"
      "\"n\"=dword:00000001\r\n\r\n[HKEY_CURRENT_USER\\a\\b]\r\n";
  const test::TempDirectory directory;
  const std::string name = directory / "a.reg";
  Do({"import"}, kFile);
  EXPECT_EQ(Answer({"export", "HKCU\\a"}), kFile);
  EXPECT_EQ(Answer({"export", "HKCU\\a", "-"}), kFile);
  EXPECT_EQ(Answer({"export", "HKCU\\a", name, "--json"}), "{\"keys\":2,\"values\":2}\n");
  EXPECT_EQ(test::ReadBytes(name), kFile);

  Do({"import", "-"}, "REGEDIT4\n[HKCU\\a]\n@=-\n\"no\"=-\n[-HKCU\\a\\b]\n[-HKCU\\no]");
  EXPECT_EQ(Answer({"list", "-r", "HKCU\\a"}),
            "HKEY_CURRENT_USER\\a\nn  REG_DWORD  0x00000001 (1)\n");
  EXPECT_EQ(Answer({"import", name, "--json"}), "{\"keys\":2,\"values\":2}\n");
  EXPECT_EQ(Answer({"export", "HKCU\\a"}), kFile);

  test::WriteBytes(name, "REGEDIT4\n[-HKCU\\a]\n\n[HKCU\\c]\nx\n");
  EXPECT_EQ(
      Run({"import", name}),
      (Outcome{"", "twreg: " + name + ", line 5: Neither a key, a value nor a comment\n", 1}));
  EXPECT_EQ(Run({"import"}, "x").errors,
            "twreg: standard input, line 1: The file does not begin with \"REGEDIT4\"\n");
  EXPECT_EQ(Answer({"export", "HKCU\\a"}), kFile);
}

// What the directory holds, with the rights to it.
std::string Listed(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    const auto rights = static_cast<unsigned>(entry.symlink_status().permissions());
    names.push_back(entry.path().filename().string() + (rights == 0600 ? " private " : " public "));
  }
  std::ranges::sort(names);
  return std::accumulate(names.begin(), names.end(), std::string());
}

TEST_F(Twreg, ReplacesAFileOnlyByAWholeOne) {
  const test::TempDirectory directory;
  const std::string name = directory / "a.reg";
  const std::string link = directory / "link";
  Do({"set", "HKCU\\a", "@", std::string(100000, 'x')});
  test::WriteBytes(name, "old");
  std::filesystem::permissions(name, std::filesystem::perms(0644));
  std::filesystem::create_symlink(name, link);
  const int code = test::InChild([&] {
    const rlimit limit = {90000, 90000};
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_IGN);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    return test::BecomeProgram(TWREG_FILE, {"export", "HKCU\\a", name});
  });
  EXPECT_EQ(code, 1);
  EXPECT_EQ(test::ReadBytes(name), "old");
  EXPECT_EQ(Listed(directory.Path()), "a.reg public link public ");
  Do({"export", "HKCU\\a", link});
  const std::string text = test::ReadBytes(name);
  EXPECT_GT(text.size(), 100000u);
  EXPECT_EQ(Answer({"export", "HKCU\\a", "/dev/stdout"}), text);
  test::WriteBytes(name, "old");
  std::filesystem::permissions(name, std::filesystem::perms(0644));
  Do({"export", "HKCU\\a", name});
  EXPECT_EQ(test::ReadBytes(name), text);
  EXPECT_EQ(Listed(directory.Path()), "a.reg public link public ");
  std::filesystem::remove(name);
  Do({"export", "HKCU\\a", name});
  EXPECT_EQ(Listed(directory.Path()), "a.reg private link public ");
}

TEST_F(Twreg, ConvertsFilesOfAnotherCodePage) {
  const std::string kOld =
      "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\a\x83\\]\r\n\"\x83\\\"=\"\x83\\\"\r\n"
      "\"b\"=hex:83,5c\r\n\"l\"=hex(7):83,5c,00,00\r\n";
  const std::string kNew =
      "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\a\xE3\x82\xBD]\r\n\"b\"=hex:83,5c\r\n"
      "\"l\"=hex(7):e3,82,bd,00,00\r\n\"\xE3\x82\xBD\"=\"\xE3\x82\xBD\"\r\n";
  const std::string kUtf8 = "--code-page=65001";
  Do({kUtf8, "import", "--file-page", "932"}, kOld);
  EXPECT_EQ(Answer({kUtf8, "export", "HKCU\\a\xE3\x82\xBD"}), kNew);
  Do({kUtf8, "delete", "HKCU\\a\xE3\x82\xBD"});
  Do({"--code-page=932", "import", "--file-page", "65001"}, kNew);
  EXPECT_EQ(Answer({"--code-page=932", "export", "HKCU\\a\x83\\"}).size(), kOld.size());

  const struct {
    int line;
    const char* key;
    const char* why;
  } kRows[] = {
      {__LINE__, "x\xF8 y", "932 into 1252: Bytes are no text"},
      {__LINE__, "x\x82\xA0", "932 into 1252: The other page lacks a character"},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    const std::string name = "HKCU\\"s + row.key;
    EXPECT_EQ(Run({"--code-page=1252", "import", "--file-page", "932"},
                  "REGEDIT4\n[HKCU\\first]\n[" + name + "]\n"),
              (Outcome{"",
                       "twreg: The key \"HKEY_CURRENT_USER\\\\"s + row.key +
                           "\" cannot be brought from code page " + row.why + "\n",
                       1}));
  }
  const std::string kLong = std::string(128, '\xE4');
  EXPECT_EQ(
      Run({kUtf8, "import", "--file-page", "1252"}, "REGEDIT4\n[HKCU\\" + kLong + "]").errors,
      "twreg: The key \"HKEY_CURRENT_USER\\\\" + kLong +
          "\" cannot be brought from code page 1252 into 65001: The names would be too long\n");
  EXPECT_EQ(Answer({"--code-page=932", "list", "HKCU"}), "a\x83\\\\\n");
}

TEST_F(Twreg, FailsInTheLibrarysWords) {
  const std::string kFile = m_hives.Directory() + "/no/file";
  const struct {
    int line;
    Words words;
    std::string errors;
  } kRows[] = {
      {__LINE__,
       {"list", "HKLM\\no"},
       CallFailed("RegOpenKeyEx", "HKEY_LOCAL_MACHINE\\no", kNotFound)},
      {__LINE__, {"get", "HKU", "no"}, CallFailed("RegQueryValueEx", "HKEY_USERS", kNotFound)},
      {__LINE__,
       {"delete", "HKCC\\no"},
       CallFailed("RegDeleteKey", "HKEY_CURRENT_CONFIG\\no", kNotFound)},
      {__LINE__,
       {"delete", "HKCR\\no", "--tree"},
       CallFailed("RegOpenKeyEx", "HKEY_CLASSES_ROOT\\no", kNotFound)},
      {__LINE__,
       {"set", "HKCU\\" + std::string(256, 'k'), "v", "x"},
       CallFailed("RegCreateKeyEx", "HKEY_CURRENT_USER\\" + std::string(256, 'k'),
                  "The parameter is incorrect.")},
      {__LINE__, {"import", kFile}, "twreg: The file was not found: " + kFile + ".\n"},
      {__LINE__, {"export", "HKCU", kFile}, "twreg: The file was not found: " + kFile + ".\n"},
      {__LINE__, {"login", "show", "no"}, "twreg: There is no login \"no\"\n"},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    EXPECT_EQ(Run(row.words), (Outcome{"", row.errors, 1}));
  }
}

TEST_F(Twreg, SendsNoControlCharacterOfANameToTheTerminal) {
  const struct {
    int line;
    const char* page;
    const char* name;
    const char* shown;
  } kRows[] = {
      {__LINE__, "0", "\x1b[2J\x7F\t\x9B", "\\x1b[2J\\x7f\\t\\x9b"},
      {__LINE__, "1252", "\x80\x9B\x8D\xE4", "\x80\x9B\\x8d\xE4"},
      {__LINE__, "932", "\x83\\\x9B\x40\x1F", "\x83\\\x9B\x40\\x1f"},
      {__LINE__, "65001", "\xC2\x9B\xC2\xA0\x9B", "\\xc2\\x9b\xC2\xA0\\x9b"},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    const std::string name = "\\"s + row.name;
    const std::string shown = "\\"s + row.shown;
    const std::string page = "--code-page="s + row.page;
    Do({page, "set", "HKLM" + name, "@", "x"});
    EXPECT_EQ(Answer({page, "list", "-r", "HKLM" + name}),
              "HKEY_LOCAL_MACHINE" + shown + "\n@  REG_SZ  \"x\"\n");
    EXPECT_EQ(Run({page, "list", "HKCU" + name}).errors,
              CallFailed("RegOpenKeyEx", "HKEY_CURRENT_USER" + shown, kNotFound));
    EXPECT_EQ(Run({page, "import"}, "REGEDIT4\n[HKCX" + name + "]").errors,
              "twreg: standard input, line 2: The key begins with no predefined key: \"HKCX" +
                  shown + "\"\n");
  }
  const std::string errors = Run({"list", "HKLM\\" + std::string(9000, '\x1b')}).errors;
  EXPECT_LT(errors.size(), 1100u);
  EXPECT_TRUE(errors.ends_with(".\n")) << errors;
}

// The words between single blanks.
Words Split(const std::string& text) {
  Words words(text.empty() ? 0 : 1);
  for (const char c : text) {
    if (c == ' ') {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  return words;
}

TEST_F(Twreg, RefusesWhatIsNoCommandLine) {
  const struct {
    int line;
    const char* words;
    const char* error;
  } kRows[] = {
      {__LINE__, "", "A command is missing"},
      {__LINE__, "show", "There is no command \"show\""},
      {__LINE__, "login", "There is no command \"login\""},
      {__LINE__, "login list x", "There is no command \"login list\""},
      {__LINE__, "list", "\"list\" needs more operands"},
      {__LINE__, "set HKCU\\a", "\"set\" needs more operands"},
      {__LINE__, "get HKCU a b", "\"get\" takes no operand \"b\""},
      {__LINE__, "check x", "\"check\" takes no operand \"x\""},
      {__LINE__, "list HKCU --tree", "\"list\" has no option \"--tree\""},
      {__LINE__, "login save x --password", "\"login save\" has no option \"--password\""},
      {__LINE__, "list HKCU --all", "There is no option \"--all\""},
      {__LINE__, "list HKCU -x", "There is no option \"-x\""},
      {__LINE__, "set HKCU v -t", "The option \"--type\" takes a value"},
      {__LINE__, "check --json=1", "The option \"--json\" takes no value"},
      {__LINE__, "check --color red", "--color takes \"auto\", \"always\" or \"never\""},
      {__LINE__, "check --code-page x", "--code-page takes a number"},
      {__LINE__, "check --code-page 7", "There is no code page 7"},
      {__LINE__, "import --file-page 7", "There is no code page 7"},
      {__LINE__, "list HKCX\\a", "\"HKCX\\a\" begins with no predefined key"},
      {__LINE__, "list HKCU/a", "\"HKCU/a\" begins with no predefined key"},
      {__LINE__, "set HKCU\\a v x -t text", "There is no type \"text\""},
      {__LINE__, "set HKCU\\a v", "REG_SZ takes one VALUE"},
      {__LINE__, "set HKCU\\a v x y", "REG_SZ takes one VALUE"},
      {__LINE__, "set HKCU\\a v -t dword", "REG_DWORD takes one VALUE"},
      {__LINE__, "set HKCU\\a v -t dword 4294967296", "No number of 32 bits: \"4294967296\""},
      {__LINE__, "set HKCU\\a v -t dword -- -1", "No number of 32 bits: \"-1\""},
      {__LINE__, "set HKCU\\a v -t dword 0x", "No number of 32 bits: \"0x\""},
      {__LINE__, "set HKCU\\a v -t binary 012", "No bytes in hex digits: \"012\""},
      {__LINE__, "set HKCU\\a v -t none 0g", "No bytes in hex digits: \"0g\""},
      {__LINE__, "set HKCU\\a v -t multi_sz x ", "An empty text would end the list"},
      {__LINE__, "delete HKCU\\a v --tree", "--tree deletes a key and takes no NAME"},
      {__LINE__, "export HKCU --json", "\"export\" with --json needs a FILE"},
      {__LINE__, "login show ", "An ENTRY is one name, neither empty nor with a backslash"},
      {__LINE__, "login save a\\b", "An ENTRY is one name, neither empty nor with a backslash"},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    EXPECT_EQ(Run(Split(row.words)),
              (Outcome{"", "twreg: "s + row.error + "\nTry \"twreg --help\".\n", 2}));
  }
  EXPECT_EQ(Answer({"list", "HKCU"}), "");
}

TEST_F(Twreg, TellsAboutItself) {
  EXPECT_EQ(Answer({"--help"}), twreg::HelpText());
  EXPECT_EQ(Answer({"set", "-h"}), twreg::HelpText());
  EXPECT_EQ(Answer({"-V"}), "twreg 1.0.0\n");
}

TEST_F(Twreg, TakesAnyWordAsAnOperandBehindTwoHyphens) {
  Do({"set", "HKCU\\a", "--", "--json", "--"});
  EXPECT_EQ(Answer({"get", "HKCU\\a", "--", "--json"}), "--\n");
}

TEST_F(Twreg, ShowsAPasswordOnlyWhenAsked) {
  Do({"login", "save", "Work", "--user", "me", "--database", "sales"}, "se cret\r\nmore\n");
  const std::string kShown =
      "Entry:         Work\nUser:          me\nDatabase:      sales\n"
      "Database set:  \n";
  EXPECT_EQ(Answer({"login", "show", "Work"}), kShown);
  EXPECT_EQ(Answer({"login", "show", "Work", "--password"}), kShown + "Password:      se cret\n");
  const std::string kJson =
      "{\"entry\":\"Work\",\"user\":\"me\",\"database\":\"sales\",\"set\":\"\"";
  EXPECT_EQ(Answer({"login", "show", "work", "--json", "--password"}),
            "{\"entry\":\"work\",\"user\":\"me\",\"database\":\"sales\",\"set\":\"\","
            "\"password\":\"se cret\"}\n");
  EXPECT_EQ(Answer({"login", "show", "Work", "--json"}), kJson + "}\n");
  Do({"set",
      "HKCU\\Software\\Veltrim Software\\Tarnwell\\2000.02.10\\Common\\TWIntSvr\\Work\\Password",
      "@", "plain text"});
  EXPECT_EQ(Run({"login", "show", "Work"}),
            (Outcome{"", "twreg: The password of the login \"Work\" is not a scrambled one\n", 1}));
}

TEST_F(Twreg, SavesNoLoginThatWouldNotBeReadBack) {
  const std::string kLong =
      "The login \"Work\" cannot be saved: a field has up to 99 bytes, a password up to 48";
  const struct {
    int line;
    const char* option;
    std::size_t size;
    std::string input;
    std::string error;
  } kRows[] = {
      {__LINE__, "--user", 100, "x\n", kLong},
      {__LINE__, "--database", 100, "x\n", kLong},
      {__LINE__, "--set", 100, "x\n", kLong},
      {__LINE__, "--set", 99, std::string(49, 'p'), kLong},
      {__LINE__, "--user", 99, "", "There is no password on standard input"},
      {__LINE__, "--user", 99, "a\0b\n"s, "A NUL byte stands in the password"},
  };
  Do({"login", "save", "Work", "--user", "me"}, "\n");
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    EXPECT_EQ(Run({"login", "save", "Work", row.option, std::string(row.size, 'f')}, row.input),
              (Outcome{"", "twreg: " + row.error + "\n", 1}));
  }
  const int code = test::InChild([&] {
    dup2(open(m_hives.Directory().c_str(), O_RDONLY), STDIN_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    return test::BecomeProgram(TWREG_FILE, {"login", "save", "Work"});
  });
  EXPECT_EQ(code, 1);
  EXPECT_EQ(Answer({"login", "show", "Work", "--password"}),
            "Entry:         Work\nUser:          me\nDatabase:      \nDatabase set:  \n"
            "Password:      \n");
  Do({"login", "save", "Work", "--user", std::string(99, 'u')}, std::string(48, 'p'));
}

TEST_F(Twreg, ChecksBothHives) {
  Do({"set", "HKCU\\a", "v", "x"});
  EXPECT_EQ(Answer({"check"}), "user hive: in order\nmachine hive: in order\n");
  EXPECT_EQ(Answer({"check", "--json"}),
            "[{\"hive\":\"user\",\"problems\":[]},{\"hive\":\"machine\",\"problems\":[]}]\n");
  tesselkit::platform::ForgetHives();
  std::filesystem::create_directories(m_hives.Directory() + "/var");
  test::WriteBytes(m_hives.Machine(), "no hive\n");
  constexpr char kCorrupt[] = "The configuration registry database is corrupt.";
  EXPECT_EQ(Run({"check"}),
            (Outcome{"user hive: in order\nmachine hive: "s + kCorrupt + "\n", "", 1}));
  EXPECT_EQ(
      Run({"check", "--json"}),
      (Outcome{"[{\"hive\":\"user\",\"problems\":[]},{\"hive\":\"machine\",\"problems\":[\""s +
                   kCorrupt + "\"]}]\n",
               "", 1}));
  EXPECT_EQ(Run({"set", "HKLM\\a", "v", "x"}),
            (Outcome{"", CallFailed("RegCreateKeyEx", "HKEY_LOCAL_MACHINE\\a", kCorrupt), 1}));
}

// A terminal, seen from the side of its user.
class Terminal {
 public:
  Terminal() : m_user(posix_openpt(O_RDWR | O_NOCTTY)) {
    EXPECT_EQ(grantpt(m_user) | unlockpt(m_user), 0);
    m_other = open(ptsname(m_user), O_RDWR | O_NOCTTY);
  }
  ~Terminal() {
    close(m_user);
    close(m_other);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  // Runs the program with the terminal for its own.
  int Become(const Words& words) const {
    setsid();
    ioctl(m_other, TIOCSCTTY, 0);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(m_other, stream);
    return test::BecomeProgram(TWREG_FILE, words);
  }

  bool HasEcho() const {
    termios state{};
    EXPECT_EQ(tcgetattr(m_other, &state), 0);
    return (state.c_lflag & ECHO) != 0;
  }

  void Type(std::string_view text) const {
    EXPECT_EQ(write(m_user, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  // Reads up to `wanted`.
  std::string ReadUntil(std::string_view wanted) const {
    std::string text;
    for (char c; !text.ends_with(wanted) && read(m_user, &c, 1) == 1;) text += c;
    return text;
  }

 private:
  int m_user;
  int m_other;
};

TEST_F(Twreg, LeavesTheTerminalAsItWas) {
  const struct {
    int line;
    const char* typed;  // before the password
    int code;
  } kRows[] = {
      {__LINE__, "", 0},
      {__LINE__, "half\x1a", 0},  // nobody could wake it again, so the system does not stop it
      {__LINE__, "half\x03", -SIGINT},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    const Terminal terminal;
    test::Child child([&] { return terminal.Become({"login", "save", "Work"}); });
    EXPECT_EQ(terminal.ReadUntil("Password: "), "Password: ");
    EXPECT_FALSE(terminal.HasEcho());
    terminal.Type(row.typed);
    if (row.code == 0) {
      if (*row.typed != '\0') terminal.ReadUntil("Password: ");
      terminal.Type("secret\n");
    }
    EXPECT_EQ(child.Code(), row.code);
    EXPECT_TRUE(terminal.HasEcho());
  }
  EXPECT_TRUE(Answer({"login", "show", "Work", "--password"}).ends_with("Password:      secret\n"));
}

// What the program prints to a terminal that is its own.
std::string OnTerminal(const Words& words, bool refuses_color) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_EQ(grantpt(terminal) | unlockpt(terminal), 0);
  const int other_end = open(ptsname(terminal), O_RDWR | O_NOCTTY);
  test::Child child([&] {
    dup2(other_end, STDOUT_FILENO);
    if (!refuses_color) return test::BecomeProgram(TWREG_FILE, words);
    Words with_setting = {"NO_COLOR=1", TWREG_FILE};
    with_setting.insert(with_setting.end(), words.begin(), words.end());
    return test::BecomeProgram("/usr/bin/env", with_setting);
  });
  EXPECT_EQ(child.Code(), 0);
  close(other_end);  // reading ends where nothing was printed
  char text[4096];
  const ssize_t size = read(terminal, text, sizeof text);
  close(terminal);
  return {text, static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

TEST_F(Twreg, ColorsWhatATerminalShows) {
  Do({"set", "HKCU\\a", "v", "x"});
  const std::string kColored = "\x1b[1mv\x1b[0m  \x1b[36mREG_SZ\x1b[0m  \"x\"\r\n";
  const std::string kPlain = "v  REG_SZ  \"x\"\r\n";
  EXPECT_EQ(OnTerminal({"list", "HKCU\\a"}, false), kColored);
  EXPECT_EQ(OnTerminal({"list", "HKCU\\a"}, true), kPlain);
  EXPECT_EQ(OnTerminal({"list", "HKCU\\a", "--color", "never"}, false), kPlain);
  EXPECT_EQ(OnTerminal({"list", "HKCU\\a", "--color", "always"}, true), kColored);
}

TEST_F(Twreg, FailsWhenItsAnswerCannotBeWritten) {
  const int code = test::InChild([] {
    dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    return test::BecomeProgram(TWREG_FILE, {"check"});
  });
  EXPECT_EQ(code, 1);
}

}  // namespace
