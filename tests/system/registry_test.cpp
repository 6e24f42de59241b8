#include "tesselkit/system/adregistry.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/code_page.h"
#include "tests/support/faulty_hive.h"
#include "tests/support/hives.h"
#include "tests/support/traced_test.h"
#include "tests/support/vtable_slot.h"

namespace {

using namespace std::string_literals;

constexpr char kNotFound[] = "The system cannot find the file specified.\r\n";
constexpr char kDenied[] = "Access is denied.\r\n";
constexpr char kInvalidHandle[] = "The handle is invalid.\r\n";

// Shows what derived classes see.
class Probe : public AdRegistry {
 public:
  using AdRegistry::AssertValid;
  using AdRegistry::DeleteKeysDeep;
  using AdRegistry::FormatCurrentKeyPath;
  using AdRegistry::FormatLastErrorMessage;
  using AdRegistry::m_dwMaxSubKeyLen;
  using AdRegistry::m_dwMaxValueLen;
  using AdRegistry::m_dwMaxValueNameLen;
  using AdRegistry::m_dwSubKeys;
  using AdRegistry::m_dwValues;
  using AdRegistry::m_hKey;
  using AdRegistry::m_hRootConnection;
  using AdRegistry::m_hRootKey;
  using AdRegistry::m_lLastError;
  using AdRegistry::m_strPath;
  using AdRegistry::SetValue;
};

class RegistryKey : public test::TracedTest {
 protected:
  std::string Refused(const std::string& condition) {
    return std::string("18019 ") + test::ConditionText(condition, "adregistry");
  }

  std::string CallFailed(const std::string& function, const std::string& key,
                         const std::string& text) {
    return std::string("18058 Attempt to call function \"") + function + "\" on registry key \"" +
           key + "\" failed.  System error: " + text;
  }

  bool IsThere(const char* path, HKEY root = HKEY_CURRENT_USER) {
    return test::Key(path, root, KEY_READ).Status() == ERROR_SUCCESS;
  }

  test::Hives m_hives;
  Probe m_registry;
};

bool IsClosed(HKEY key) {
  return RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr, nullptr, nullptr, nullptr) == ERROR_INVALID_HANDLE;
}

TEST_F(RegistryKey, ClassAndSlotsAreThoseCallersWereBuiltAgainst) {
  EXPECT_EQ(m_registry.GetRuntimeClass(), &AdRegistry::classAdRegistry);
  EXPECT_STREQ(AdRegistry::classAdRegistry.m_lpszClassName, "AdRegistry");
  EXPECT_EQ(AdRegistry::classAdRegistry.m_pBaseClass, &AdObject::classAdObject);
  EXPECT_EQ(test::SlotOf(&Probe::AssertValid), 4u);
  EXPECT_EQ(test::SlotOf(&AdRegistry::Initialize), 7u);
  EXPECT_EQ(test::SlotOf(&AdRegistry::Finalize), 8u);
}

TEST_F(RegistryKey, EveryStepLeadsToItsPath) {
  enum Step { kSet, kPush, kPop, kExists, kExistsNot, kDelete };
  const struct {
    int line;
    Step step;
    const char* name;
    const char* path;
    const char* opened;
  } kRows[] = {
      {__LINE__, kSet, "\\\\Software\\a\\", "Software\\a", "Software\\a"},
      {__LINE__, kPush, "b\\c", "Software\\a\\b\\c", "Software\\a\\b\\c"},
      {__LINE__, kPop, "", "Software\\a\\b", "Software\\a\\b"},
      {__LINE__, kExists, "\\c\\", "Software\\a\\b", "Software\\a\\b"},
      {__LINE__, kExistsNot, "d", "Software\\a\\b", "Software\\a\\b"},
      {__LINE__, kExistsNot, "", "Software\\a\\b", "Software\\a\\b"},
      {__LINE__, kExistsNot, nullptr, "Software\\a\\b", "Software\\a\\b"},
      {__LINE__, kPush, "\\\\", "Software\\a\\b\\", "Software\\a\\b"},
      {__LINE__, kPop, "", "Software\\a\\b", "Software\\a\\b"},
      {__LINE__, kPop, "", "Software\\a", "Software\\a"},
      {__LINE__, kExists, "b\\c", "Software\\a", "Software\\a"},
      {__LINE__, kDelete, "b\\c", "Software\\a", "Software\\a"},
      {__LINE__, kExistsNot, "b\\c", "Software\\a", "Software\\a"},
      {__LINE__, kExists, "b", "Software\\a", "Software\\a"},
      {__LINE__, kPop, "", "Software", "Software"},
      {__LINE__, kPop, "", "Software", "Software"},
      {__LINE__, kSet, "x\\\\y", "x\\\\y", "x\\y"},
      {__LINE__, kSet, "\\", "", ""},
      {__LINE__, kExists, "x", "", ""},
      {__LINE__, kDelete, "x", "", ""},
      {__LINE__, kExistsNot, "x", "", ""},
      {__LINE__, kPush, "p", "\\p", "p"},
      {__LINE__, kPop, "", "\\p", "p"},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    if (row.step == kSet) m_registry.SetPath(HKEY_CURRENT_USER, row.name, 0);
    if (row.step == kPush) m_registry.PushDirectory(row.name, 0);
    if (row.step == kPop) m_registry.PopDirectory(0);
    if (row.step == kDelete) m_registry.DeleteKey(row.name);
    if (row.step == kExists || row.step == kExistsNot) {
      EXPECT_EQ(m_registry.KeyExists(row.name), row.step == kExists ? 1 : 0);
    }
    EXPECT_EQ(m_registry.m_strPath, row.path);
    EXPECT_EQ(test::SetData(test::Key(row.opened), "line", std::to_string(row.line)), 0);
    EXPECT_EQ(test::Data(m_registry.m_hKey, "line"), std::to_string(row.line));
  }
}

TEST_F(RegistryKey, ATrailByteIsNoBackslash) {
  const test::CodePage page(932);
  m_registry.SetPath(HKEY_CURRENT_USER, "\\\x83\\\\", 0);
  EXPECT_EQ(m_registry.m_strPath, "\x83\\");
  m_registry.PushDirectory("a\x83\\", 0);
  EXPECT_EQ(m_registry.m_strPath, "\x83\\\\a\x83\\");
  m_registry.PopDirectory(0);
  EXPECT_EQ(m_registry.m_strPath, "\x83\\");
  m_registry.DeleteKey("a\x83\\");
  EXPECT_FALSE(IsThere("\x83\\\\a\x83\\"));
  EXPECT_TRUE(IsThere("\x83\\"));
}

TEST_F(RegistryKey, KeyExistsLeavesTheKeyOpenForReading) {
  m_registry.SetPath(HKEY_CURRENT_USER, "a", 0);
  EXPECT_EQ(m_registry.KeyExists("b"), 0);
  EXPECT_EQ(m_registry.m_lLastError, ERROR_FILE_NOT_FOUND);
  m_registry.SetValue("v", 1ul, 1);
  m_registry.PushDirectory("b", 0);
  m_registry.PopDirectory(0);
  EXPECT_EQ(m_registry.KeyExists("b"), 1);
  EXPECT_EQ(ThrownBy([&] { m_registry.SetValue("v", 2ul, 1); }),
            CallFailed("RegSetValue", "HKEY_CURRENT_USER\\a", kDenied));
  unsigned long number = 0;
  EXPECT_EQ(m_registry.GetValue("v", number), 1);
  EXPECT_EQ(number, 1u);
}

TEST_F(RegistryKey, ANewRootClosesWhatTheOldOneHad) {
  m_registry.SetPath(HKEY_LOCAL_MACHINE, "a", 0);
  const HKEY connection = m_registry.m_hRootConnection;
  EXPECT_NE(connection, HKEY_LOCAL_MACHINE);
  const HKEY key = m_registry.m_hKey;
  m_registry.SetPath(HKEY_LOCAL_MACHINE, "b", 0);
  EXPECT_EQ(m_registry.m_hRootConnection, connection);
  EXPECT_TRUE(IsClosed(key));
  m_registry.SetPath(HKEY_CURRENT_USER, "a", 0);
  EXPECT_TRUE(IsClosed(connection));
  EXPECT_EQ(m_registry.m_hRootConnection, HKEY_CURRENT_USER);
  const HKEY last = m_registry.m_hKey;
  m_registry.Finalize();
  m_registry.Finalize();
  EXPECT_TRUE(IsClosed(last));
  EXPECT_EQ(m_registry.m_hRootKey, nullptr);
  EXPECT_EQ(m_registry.m_hRootConnection, nullptr);
  EXPECT_EQ(m_registry.m_strPath, "a");

  // A key of the caller's own is taken over.
  HKEY own = nullptr;
  ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "own", &own), ERROR_SUCCESS);
  m_registry.SetPath(own, "below", 0);
  EXPECT_TRUE(IsThere("own\\below"));
  EXPECT_EQ(m_registry.FormatCurrentKeyPath(), "\\below");
  m_registry.Finalize();
  EXPECT_EQ(RegCloseKey(own), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryKey, FailedCallsSayWhichKeyAndWhy) {
  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(nullptr, nullptr, 0); }), Refused("hRootKey != 0"));
  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(HKEY_CURRENT_USER, nullptr, 0); }),
            Refused("lpszPathName != 0"));
  EXPECT_EQ(ThrownBy([&] { m_registry.PushDirectory(nullptr, 0); }),
            Refused("lpszSubkeyName != 0"));
  EXPECT_EQ(ThrownBy([&] { m_registry.DeleteKey(nullptr); }), Refused("lpszKeyToDelete != 0"));
  EXPECT_EQ(ThrownBy([&] { m_registry.PopDirectory(0); }),
            CallFailed("RegCreateKeyEx", "\\", kInvalidHandle));

  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(HKEY_CURRENT_USER, "100%s\\%key%", 1); }),
            CallFailed("RegQueryInfoKey", "HKEY_CURRENT_USER\\100%s\\%key%", kInvalidHandle));
  EXPECT_EQ(m_registry.m_hKey, nullptr);
  EXPECT_EQ(m_registry.m_lLastError, ERROR_INVALID_HANDLE);
  EXPECT_FALSE(IsThere("100%s"));

  test::FaultyHives faults;
  tesselkit::platform::ForgetHives();
  m_registry.SetPath(HKEY_LOCAL_MACHINE, "a", 0);
  faults.status = [](test::HiveCall call) {
    return call == test::HiveCall::kCreateKey || call == test::HiveCall::kDeleteValue
               ? ERROR_DISK_FULL
               : ERROR_SUCCESS;
  };
  EXPECT_EQ(ThrownBy([&] { m_registry.DeleteValue("v"); }),
            CallFailed("RegDeleteValue", "HKEY_LOCAL_MACHINE\\a",
                       "There is not enough space on the disk.\r\n"));
  EXPECT_EQ(ThrownBy([&] { m_registry.PushDirectory("b", 0); }),
            CallFailed("RegCreateKeyEx", "HKEY_LOCAL_MACHINE\\a\\b",
                       "There is not enough space on the disk.\r\n"));
  EXPECT_EQ(m_registry.m_strPath, "a\\b");
  EXPECT_EQ(m_registry.m_hKey, nullptr);
  faults.status = nullptr;
  m_registry.PopDirectory(1);
  EXPECT_EQ(ThrownBy([&] { m_registry.DeleteValue("v"); }),
            CallFailed("RegDeleteValue", "HKEY_LOCAL_MACHINE\\a", kDenied));

  m_registry.SetPath(HKEY_USERS, "u", 0);
  EXPECT_EQ(ThrownBy([&] { m_registry.DeleteValue(nullptr); }),
            CallFailed("RegDeleteValue", "\\u", kNotFound));
  m_registry.m_lLastError = 987654;
  EXPECT_EQ(m_registry.FormatLastErrorMessage(), "");
}

TEST_F(RegistryKey, AFailedConnectionIsMadeAgainAfterFinalize) {
  test::WriteBytes(m_hives.Directory() + "/no hive", "no hive");
  setenv("TESSELKIT_REGISTRY_MACHINE", (m_hives.Directory() + "/no hive").c_str(), 1);
  tesselkit::platform::ForgetHives();
  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(HKEY_LOCAL_MACHINE, "a", 0); }),
            CallFailed("RegConnectRegistry", "HKEY_LOCAL_MACHINE\\",
                       "The configuration registry database is corrupt.\r\n"));
  setenv("TESSELKIT_REGISTRY_MACHINE", m_hives.Machine().c_str(), 1);
  tesselkit::platform::ForgetHives();
  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(HKEY_LOCAL_MACHINE, "a", 0); }),
            CallFailed("RegCreateKeyEx", "HKEY_LOCAL_MACHINE\\a", kInvalidHandle));
  m_registry.Finalize();
  m_registry.SetPath(HKEY_LOCAL_MACHINE, "a", 0);
  EXPECT_TRUE(IsThere("a", HKEY_LOCAL_MACHINE));
}

TEST_F(RegistryKey, AKeyWhoseInformationCannotBeHadStaysOpen) {
  test::Key("k");
  test::FaultyHives faults;
  tesselkit::platform::ForgetHives();
  faults.status = [](test::HiveCall call) {
    return call == test::HiveCall::kReadInfo ? ERROR_BUSY : ERROR_SUCCESS;
  };
  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(HKEY_CURRENT_USER, "k", 0); }),
            CallFailed("RegQueryInfoKey", "HKEY_CURRENT_USER\\k",
                       "The requested resource is in use.\r\n"));
  EXPECT_EQ(m_registry.m_lLastError, ERROR_BUSY);
  faults.status = nullptr;
  m_registry.SetValue("v", 1ul, 1);
}

// Another process makes the key between the look and the making.
TEST_F(RegistryKey, AKeyThatIsMadeMustBeNew) {
  test::FaultyHives faults;
  tesselkit::platform::ForgetHives();
  const test::Key key("raced");
  faults.status = [&](test::HiveCall call) {
    return call == test::HiveCall::kFindKey ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
  };
  test::SetData(key, "v", "");  // what is known of the key does not count any more
  EXPECT_EQ(ThrownBy([&] { m_registry.SetPath(HKEY_CURRENT_USER, "raced", 0); }),
            Refused("disposition == (0x00000001L)"));
}

// What each reader makes of each stored type: the outcome is the result and the output, or the
// condition that failed and the output.
struct Conversion {
  int line;
  DWORD type;
  std::string data;
  const char* number;
  const char* text;
  const char* texts;
  const char* numbers;
};

class Conversions : public RegistryKey {
 protected:
  template <class Value>
  std::string Outcome(Value&& value, std::string (*show)(const std::remove_cvref_t<Value>&)) {
    std::string outcome;
    try {
      outcome = std::to_string(m_registry.GetValue("v", value));
    } catch (PaMsgException* exception) {
      const std::string text = test::TakeMessage(exception).text;
      for (const std::string condition : {"i>0", "0"}) {
        if (text == test::ConditionText(condition, "adregistry")) outcome = condition + "!";
      }
      TakeTraces();
    }
    return outcome + " " + show(value);
  }

  static std::string Number(const unsigned long& value) { return std::to_string(value); }
  static std::string Text(const CString& value) { return std::string(value.View()); }
  static std::string Texts(const CStringArray& values) {
    std::string all;
    for (int i = 0; i < values.GetSize(); ++i) all.append("<").append(values[i].View()).append(">");
    return all;
  }
  static std::string Numbers(const CDWordArray& values) {
    std::string all;
    for (int i = 0; i < values.GetSize(); ++i)
      all.append("<").append(std::to_string(values[i])).append(">");
    return all;
  }
};

TEST_F(Conversions, GoByTheStoredType) {
  const std::string full(2048, 'x');
  const Conversion kRows[] = {
      {__LINE__, REG_SZ, "42\0"s, "1 42", "1 42", "1 <42>", "1 <42>"},
      {__LINE__, REG_SZ, " \t-1x\0"s, "1 4294967295", "1  \t-1x", "1 < \t-1x>", "1 <4294967295>"},
      {__LINE__, REG_SZ, "+7", "1 7", "1 +7", "1 <+7>", "1 <7>"},
      {__LINE__, REG_SZ, "12abc\0"s, "1 12", "1 12abc", "1 <12abc>", "1 <12>"},
      {__LINE__, REG_SZ, "abc\0"s, "i>0! 0", "1 abc", "1 <abc>", "0! "},
      {__LINE__, REG_SZ, "- 1\0"s, "i>0! 0", "1 - 1", "1 <- 1>", "0! "},
      {__LINE__, REG_SZ, " \0"s, "i>0! 0", "1  ", "1 < >", "0! "},
      {__LINE__, REG_SZ, "\0"s, "i>0! 0", "1 ", "1 <>", "0! "},
      {__LINE__, REG_SZ, "", "i>0! 0", "1 ", "1 <>", "0! "},
      {__LINE__, REG_SZ, "5\0006\0"s, "1 5", "1 5", "1 <5>", "1 <5>"},
      {__LINE__, REG_DWORD, "\x2A\0\0\0"s, "1 42", "1 42", "1 <42>", "1 <42>"},
      {__LINE__, REG_DWORD, "\xFF\xFF\xFF\xFF"s, "1 4294967295", "1 -1", "1 <-1>",
       "1 <4294967295>"},
      {__LINE__, REG_DWORD, "\x07", "1 7", "1 7", "1 <7>", "1 <7>"},
      {__LINE__, REG_DWORD, "", "1 0", "1 0", "1 <0>", "1 <0>"},
      {__LINE__, REG_DWORD, "\x01\0\0\0\x02"s, "1 1", "1 1", "1 <1>", "1 <1>"},
      {__LINE__, REG_BINARY, "", "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_BINARY, "abc", "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_BINARY, "\x01\0\0\0\xFE\xFF\xFF\xFF\x09"s, "0! 77", "0! old", "1 <1><-2>",
       "1 <1><4294967294>"},
      {__LINE__, REG_MULTI_SZ, "1\000-2\0\0"s, "0! 77", "0! old", "1 <1><-2>", "1 <1><4294967294>"},
      {__LINE__, REG_MULTI_SZ, "1\0x\0003\0\0"s, "0! 77", "0! old", "1 <1><x><3>", "0! <1>"},
      {__LINE__, REG_MULTI_SZ, "1\0\0002\0\0"s, "0! 77", "0! old", "1 <1>", "1 <1>"},
      {__LINE__, REG_MULTI_SZ, "12", "0! 77", "0! old", "1 <12>", "1 <12>"},
      {__LINE__, REG_MULTI_SZ, "1\00022"s, "0! 77", "0! old", "1 <1><22>", "1 <1><22>"},
      {__LINE__, REG_MULTI_SZ, "\0"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_MULTI_SZ, "", "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_NONE, "1\0"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_EXPAND_SZ, "1\0"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_DWORD_BIG_ENDIAN, "\0\0\0\1"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_LINK, "1\0"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, 8, "1\0"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, 0xFFFFFFFF, "1\0"s, "0! 77", "0! old", "1 ", "1 "},
      {__LINE__, REG_BINARY, full, "0! 77", "0! old", nullptr, nullptr},
      {__LINE__, REG_BINARY, full + "x", "0 77", "0 old", nullptr, nullptr},
      {__LINE__, REG_SZ, "1" + full, "0 77", "0 old", nullptr, nullptr},
  };
  for (const Conversion& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    ASSERT_EQ(test::SetData(test::Key("k"), "v", row.data, row.type), ERROR_SUCCESS);
    m_registry.SetPath(HKEY_CURRENT_USER, "k", 1);
    EXPECT_EQ(Outcome(77ul, &Number), row.number);
    EXPECT_EQ(Outcome(CString("old"), &Text), row.text);
    if (row.texts == nullptr) continue;
    CStringArray texts;
    texts.Add("old");
    EXPECT_EQ(Outcome(texts, &Texts), row.texts);
    CDWordArray numbers;
    numbers.Add(77);
    EXPECT_EQ(Outcome(numbers, &Numbers), row.numbers);
  }

  ASSERT_EQ(test::SetData(test::Key("k"), "v", full, REG_SZ), ERROR_SUCCESS);
  EXPECT_EQ(Outcome(CString(), &Text), "1 " + full);
}

TEST_F(RegistryKey, TypedWritesStoreTheirBytes) {
  m_registry.SetPath(HKEY_CURRENT_USER, "k", 0);
  CStringArray texts;
  texts.Add("a");
  texts.Add("bc");
  CDWordArray numbers;
  numbers.Add(1);
  numbers.Add(0x80000002);
  m_registry.SetValue("number", 0xFFFFFFFEul, 1);
  m_registry.SetValue("text", CString("\x82\\"), 1);
  m_registry.SetValue("texts", texts, 1);
  m_registry.SetValue("numbers", numbers, 1);
  m_registry.SetValue("no texts", CStringArray(), 1);
  m_registry.SetValue("no numbers", CDWordArray(), 1);
  m_registry.SetValue("", CString(), 1);
  const struct {
    const char* name;
    DWORD type;
    std::string data;
  } kRows[] = {
      {"number", REG_DWORD, "\xFE\xFF\xFF\xFF"},
      {"text", REG_SZ, "\x82\\\0"s},
      {"texts", REG_MULTI_SZ, "a\0bc\0\0"s},
      {"numbers", REG_BINARY, "\1\0\0\0\2\0\0\x80"s},
      {"no texts", REG_MULTI_SZ, "\0"s},
      {"no numbers", REG_BINARY, ""},
      {"", REG_SZ, "\0"s},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    DWORD type = 99;
    EXPECT_EQ(RegQueryValueExA(m_registry.m_hKey, row.name, nullptr, &type, nullptr, nullptr), 0);
    EXPECT_EQ(type, row.type);
    EXPECT_EQ(test::Data(m_registry.m_hKey, row.name), row.data);
  }
}

TEST_F(RegistryKey, AValueIsKeptUnlessItIsToBeReplaced) {
  m_registry.SetPath(HKEY_CURRENT_USER, "k", 0);
  m_registry.SetValue("v", 1ul, 0);
  m_registry.SetValue("v", CString("text"), 0);
  EXPECT_EQ(test::Data(m_registry.m_hKey, "v"), "\1\0\0\0"s);
  m_registry.SetValue("v", CString("text"), 1);
  EXPECT_EQ(test::Data(m_registry.m_hKey, "v"), "text\0"s);

  unsigned char bytes[] = {1};
  EXPECT_EQ(ThrownBy([&] { m_registry.SetValue("v", Probe::kBinary, nullptr, 0, 1); }),
            Refused("lpszValueName != 0 && lpbValueData != 0"));
  EXPECT_EQ(ThrownBy([&] { m_registry.SetValue(nullptr, Probe::kBinary, bytes, 1, 1); }),
            Refused("lpszValueName != 0 && lpbValueData != 0"));
  if constexpr (sizeof(unsigned long) > 4) {
    EXPECT_EQ(ThrownBy([&] { m_registry.SetValue("v", 0x100000000ul, 1); }),
              Refused("value <= std::numeric_limits<DWORD>::max()"));
  }
  EXPECT_EQ(test::Data(m_registry.m_hKey, "v"), "text\0"s);
}

TEST_F(RegistryKey, NoOperationOnAValueTakesANullName) {
  unsigned long number = 7;
  Probe::KeyValueTypes type = Probe::kLink;
  CString text("t");
  CStringArray texts;
  CDWordArray numbers;
  const std::function<void()> kOperations[] = {
      [&] { m_registry.QueryValue(nullptr, type, nullptr, nullptr); },
      [&] { m_registry.ValueExists(nullptr); },
      [&] { m_registry.GetValue(nullptr, number); },
      [&] { m_registry.GetValue(nullptr, text); },
      [&] { m_registry.GetValue(nullptr, texts); },
      [&] { m_registry.GetValue(nullptr, numbers); },
      [&] { m_registry.SetValue(nullptr, number, 1); },
      [&] { m_registry.SetValue(nullptr, text, 1); },
      [&] { m_registry.SetValue(nullptr, texts, 1); },
      [&] { m_registry.SetValue(nullptr, numbers, 1); },
  };
  for (const auto& operation : kOperations) {
    EXPECT_EQ(ThrownBy(operation), Refused("lpszValueName != 0"));
  }
}

TEST_F(RegistryKey, WhatIsKnownOfAKeyIsThatOfItsOpening) {
  m_registry.SetPath(HKEY_CURRENT_USER, "k", 0);
  m_registry.SetValue("", CString(),
                      1);  // one byte, and there is room for one more than the longest
  EXPECT_EQ(m_registry.ValueExists(""), 1);
  m_registry.SetValue("longer", CString("1234"), 1);
  EXPECT_EQ(m_registry.ValueExists("longer"), 0);
  CStringArray texts;
  texts.Add("kept");
  EXPECT_EQ(m_registry.GetValue("longer", texts), 0);
  EXPECT_EQ(texts.GetSize(), 1);
  CString text;
  EXPECT_EQ(m_registry.GetValue("longer", text), 1);  // a room of its own
  m_registry.SetPath(HKEY_CURRENT_USER, "k", 0);
  EXPECT_EQ(m_registry.ValueExists("longer"), 1);
  EXPECT_EQ(m_registry.GetValue("longer", texts), 1);
  EXPECT_EQ(texts[0], "1234");
  m_registry.DeleteValue("longer");
  EXPECT_EQ(m_registry.m_dwValues, 2u);
  EXPECT_EQ(m_registry.m_dwMaxValueLen, 5u);
  EXPECT_EQ(m_registry.m_dwMaxValueNameLen, 6u);
  EXPECT_EQ(m_registry.ValueExists("longer"), 0);
}

TEST_F(RegistryKey, QueriesPassRoomAndSizeThrough) {
  m_registry.SetPath(HKEY_CURRENT_USER, "k", 0);
  m_registry.SetValue("v", CString("abc"), 1);
  unsigned char room[4] = {};
  unsigned long size = 3;
  Probe::KeyValueTypes type = Probe::kLink;
  EXPECT_EQ(m_registry.QueryValue("v", type, room, &size), 0);
  EXPECT_EQ(m_registry.m_lLastError, ERROR_MORE_DATA);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(type, Probe::kLink);
  EXPECT_EQ(m_registry.QueryValue("v", type, room, &size), 1);
  EXPECT_STREQ(reinterpret_cast<const char*>(room), "abc");
  EXPECT_EQ(type, Probe::kText);

  CString name("old");
  size = 3;
  type = Probe::kLink;
  EXPECT_EQ(m_registry.EnumerateValues(0, name, type, room, size), 0);
  EXPECT_EQ(name, "old");
  EXPECT_EQ(type, Probe::kLink);
  EXPECT_EQ(m_registry.EnumerateValues(0, name, type, room, size), 1);
  EXPECT_EQ(name, "v");
  EXPECT_EQ(type, Probe::kText);
  EXPECT_EQ(m_registry.EnumerateValues(1, name, type, room, size), 0);
  EXPECT_EQ(m_registry.EnumerateValues(0x100000000, name, type, room, size), 0);
  EXPECT_EQ(m_registry.EnumerateKeys(0x100000000, name), 0);
  EXPECT_EQ(m_registry.m_lLastError, ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(name, "v");
}

class Trees : public RegistryKey {
 protected:
  void SetUp() override {
    for (const char* path : {"top\\tree\\a\\b\\c", "top\\tree\\a\\d", "top\\tree\\e", "top\\z"}) {
      test::SetData(test::Key(path), "v", "data");
    }
    m_registry.SetPath(HKEY_CURRENT_USER, "top", 0);
  }

  std::vector<std::string> Subkeys() {
    std::vector<std::string> names;
    CString name;
    for (unsigned long i = 0; m_registry.EnumerateKeys(i, name); ++i) {
      names.emplace_back(name.View());
    }
    EXPECT_EQ(m_registry.m_lLastError, ERROR_NO_MORE_ITEMS);
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(Trees, AreDeletedWhole) {
  EXPECT_EQ(Subkeys(), (std::vector<std::string>{"tree", "z"}));
  m_registry.DeleteKey("tree\\a\\b");
  EXPECT_TRUE(IsThere("top\\tree\\a\\d"));
  EXPECT_FALSE(IsThere("top\\tree\\a\\b"));
  m_registry.DeleteKey("tree");
  EXPECT_EQ(Subkeys(), std::vector<std::string>{"z"});
  EXPECT_EQ(m_registry.m_strPath, "top");

  // What is not there is made first, the keys above it to stay.
  m_registry.DeleteKey("new\\parent\\leaf");
  EXPECT_TRUE(IsThere("top\\new\\parent"));
  EXPECT_FALSE(IsThere("top\\new\\parent\\leaf"));
  EXPECT_EQ(m_registry.m_strPath, "top");
  m_registry.SetValue("writable", 1ul, 1);
}

TEST_F(Trees, OfWhichAKeyCannotBeDeletedLoseTheOthers) {
  test::FaultyHives faults;
  tesselkit::platform::ForgetHives();
  m_registry.SetPath(HKEY_CURRENT_USER, "top", 0);
  bool is_first = true;
  faults.status = [&](test::HiveCall call) -> LONG {
    if (call == test::HiveCall::kDeleteSubkeys) return ERROR_DISK_FULL;
    // The first that is deleted is "c".
    if (call != test::HiveCall::kDeleteKey || !is_first) return ERROR_SUCCESS;
    is_first = false;
    return ERROR_DISK_FULL;
  };
  m_registry.DeleteKey("tree");
  EXPECT_TRUE(IsThere("top\\tree\\a\\b\\c"));
  EXPECT_FALSE(IsThere("top\\tree\\a\\d"));
  EXPECT_FALSE(IsThere("top\\tree\\e"));
  EXPECT_EQ(m_registry.m_strPath, "top");
  faults.status = [](test::HiveCall call) -> LONG {
    return call == test::HiveCall::kDeleteSubkeys ? ERROR_DISK_FULL : ERROR_SUCCESS;
  };
  m_registry.DeleteKey("tree");
  EXPECT_FALSE(IsThere("top\\tree"));
}

}  // namespace
