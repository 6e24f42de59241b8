#include "tesselkit/util/adutil_registry.h"

#include <fstream>
#include <iterator>
#include <string>

#include "tesselkit/encoding/adcrypt.h"
#include "tesselkit/platform/host.h"
#include "tesselkit/util/adutil_location.h"
#include "tesselkit/util/adutil_login.h"
#include "tests/support/faulty_hive.h"
#include "tests/support/hives.h"
#include "tests/support/traced_test.h"

namespace {

using namespace std::string_literals;

constexpr char kPath[] = "Software\\100%name%";

class RegistryValues : public test::TracedTest {
 protected:
  // What is swallowed is traced nevertheless.
  void TearDown() override {
    TakeTraces();
    TracedTest::TearDown();
  }

  std::string Found(HKEY root) {
    CString value("old");
    const int found = AdLookupRegistryValue(kPath, "v", value, root);
    return std::to_string(found) + std::string(value.View());
  }

  test::Hives m_hives;
};

TEST_F(RegistryValues, TheUsersGoBeforeTheMachines) {
  const HKEY kNone = nullptr;
  EXPECT_EQ(Found(kNone), "0");
  AdSetRegistryValue(kPath, "v", "machine", HKEY_LOCAL_MACHINE);
  EXPECT_EQ(Found(kNone), "1machine");
  EXPECT_EQ(Found(HKEY_LOCAL_MACHINE), "1machine");
  EXPECT_EQ(Found(HKEY_CURRENT_USER), "0");

  const test::Key user(kPath);
  EXPECT_EQ(Found(kNone), "1machine");  // the user has the key, not the value
  test::SetData(user, "v", "abc", REG_BINARY);
  EXPECT_EQ(Found(kNone), "1machine");
  test::SetData(user, "v", "\xFF\xFF\xFF\xFF", REG_DWORD);
  EXPECT_EQ(Found(kNone), "1-1");
  EXPECT_EQ(Found(HKEY_USERS), "0");
  AdSetRegistryValue(kPath, "v", "both %s");
  EXPECT_EQ(Found(HKEY_CURRENT_USER), "1both %s");
  EXPECT_EQ(Found(HKEY_LOCAL_MACHINE), "1both %s");
  EXPECT_EQ(AdGetRegistryValue(kPath, "v"), "both %s");
  CString text(kPath);
  EXPECT_EQ(AdLookupRegistryValue(text, "v", text), 1);
  EXPECT_EQ(text, "both %s");
  EXPECT_EQ(AdLookupRegistryValue(nullptr, "v", text), 0);
  EXPECT_EQ(AdLookupRegistryValue(kPath, nullptr, text), 0);
}

TEST_F(RegistryValues, FailuresNameWhatWasAskedFor) {
  TakeTraces();
  const test::ThrownMessage missing =
      test::Catch([] { AdGetRegistryValue(kPath, "%reg%", HKEY_USERS); });
  EXPECT_EQ(missing.id, 18056);
  EXPECT_EQ(missing.text,
            "Failed to read from registry: \"Software\\100%name%\", name: \"%reg%\".");

  test::FaultyHives faults;
  tesselkit::platform::ForgetHives();
  int writes = 0;
  faults.status = [&](test::HiveCall call) {
    return call == test::HiveCall::kWriteValue && ++writes == 2 ? ERROR_ACCESS_DENIED
                                                                : ERROR_SUCCESS;
  };
  const test::ThrownMessage refused = test::Catch([] { AdSetRegistryValue(kPath, "n", "\"x\""); });
  EXPECT_EQ(refused.id, 18057);
  EXPECT_EQ(refused.text,
            "Failed to write to registry: \"Software\\100%name%\", name: \"n\", "
            "value: \"\"x\"\".");
  EXPECT_EQ(test::Data(test::Key(kPath), "n"), "\"x\"\0"s);
  EXPECT_EQ(test::Data(test::Key(kPath, HKEY_LOCAL_MACHINE), "n"), "(2)");
  writes = 1;
  EXPECT_EQ(test::Catch([] { AdSetRegistryValue(kPath, "n", "y"); }).id, 18057);
  EXPECT_EQ(writes, 2);  // the machine's was not tried
}

TEST_F(RegistryValues, SubkeysAreThoseOfTheFirstRootWithTheKey) {
  CStringArray keys;
  keys.Add("kept");
  EXPECT_EQ(AdLookupRegistrySubKeys("a", keys), 0);
  test::Key("a\\m1", HKEY_LOCAL_MACHINE);
  test::Key("a\\m2", HKEY_LOCAL_MACHINE);
  EXPECT_EQ(AdLookupRegistrySubKeys("a", keys), 1);
  ASSERT_EQ(keys.GetSize(), 3);
  EXPECT_EQ(keys[0] + keys[1] + keys[2], "keptm1m2");
  const test::Key user("a");
  EXPECT_EQ(AdLookupRegistrySubKeys("a", keys), 1);
  EXPECT_EQ(keys.GetSize(), 3);
}

constexpr char kLogins[] = "Software\\Veltrim Software\\Tarnwell\\2000.02.10\\Common\\TWIntSvr";

class SavedLogin : public RegistryValues {
 protected:
  struct Fields {
    std::string user, password, database, set;
    bool operator==(const Fields&) const = default;
  };

  int Save(const char* name, const Fields& fields) {
    CString entry(name);
    CString texts[] = {fields.user.c_str(), fields.password.c_str(), fields.database.c_str(),
                       fields.set.c_str()};
    return SaveTWLoginInfo(entry, texts[0], texts[1], texts[2], texts[3]);
  }

  Fields Get(const char* name, int expected) {
    CString entry(name);
    CString texts[] = {"old", "old", "old", "old"};
    EXPECT_EQ(GetTWLoginInfo(entry, texts[0], texts[1], texts[2], texts[3]), expected);
    Fields fields;
    std::string* const all[] = {&fields.user, &fields.password, &fields.database, &fields.set};
    for (int i = 0; i < 4; ++i) *all[i] = texts[i].View();
    return fields;
  }

  test::Key Login(const char* name) { return test::Key((kLogins + "\\"s + name).c_str()); }
};

TEST_F(SavedLogin, ComesBackAsFarAsItsFieldsFit) {
  const auto text = [](int length) { return std::string(length, 'x'); };
  const Fields kRows[][2] = {
      {{"u", "p", "d", "s"}, {"u", "p", "d", "s"}},
      {{"", "", "", ""}, {"", "", "", ""}},
      {{"%s", "%n\"'", "d\\d", ""}, {"%s", "%n\"'", "d\\d", ""}},
      {{text(99), text(48), text(99), text(99)}, {text(99), text(48), text(99), text(99)}},
      {{text(100), text(49), text(100), text(100)}, {"", "", "", ""}},
  };
  EXPECT_EQ(Get("never saved", 0), (Fields{"old", "old", "old", "old"}));
  for (const auto& row : kRows) {
    EXPECT_EQ(Save("entry", row[0]), 1);
    EXPECT_EQ(Get("entry", 1), row[1]) << row[0].user;
  }
  LONG size = 0;
  EXPECT_EQ(RegQueryValueA(Login("entry"), "UserName", nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 101);  // saved whole

  EXPECT_EQ(Save("entry", {"u", "p", "", "s"}), 1);
  EXPECT_EQ(RegQueryValueA(Login("entry"), "DBName", nullptr, &size), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Save("other", {"o", "", "", ""}), 1);
  EXPECT_EQ(Get("entry", 1), (Fields{"u", "p", "", "s"}));
}

TEST_F(SavedLogin, IsRefusedFromAPasswordThatIsNotScrambled) {
  Save("entry", {"u", "p", "d", "s"});
  RegSetValueA(Login("entry"), "Password", REG_SZ, "plain", 5);
  EXPECT_EQ(Get("entry", 0), (Fields{"u", "", "old", "old"}));
  TakeTraces();

  test::FaultyHives faults;
  tesselkit::platform::ForgetHives();
  faults.status = [&](test::HiveCall call) {
    return call == test::HiveCall::kCreateKey ? ERROR_DISK_FULL : ERROR_SUCCESS;
  };
  EXPECT_EQ(Save("new", {"u", "p", "d", "s"}), 0);
}

// A file's bytes; those of the log and of pages that are free are bytes like any others.
std::string BytesOf(const std::string& file_name) {
  std::ifstream file(file_name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(SavedLogin, HasItsPasswordNowhereInPlainText) {
  const std::string password = "correct horse battery";
  Save("entry", {"visible user", password, "d", "s"});
  Save("entry", {"visible user", "", "d", "s"});
  Save("entry", {"visible user", password + "2", "d", "s"});
  std::string bytes;
  for (const char* suffix : {"", "-wal", "-shm"}) bytes += BytesOf(m_hives.User() + suffix);
  EXPECT_NE(bytes.find("visible user"), std::string::npos);
  EXPECT_EQ(bytes.find(password), std::string::npos);
  EXPECT_EQ(Get("entry", 1).password, password + "2");
}

// Sets the version that the host answers for the length of a scope.
struct HostVersion {
  explicit HostVersion(DWORD version) { tesselkit::platform::SetHostVersion(version); }
  ~HostVersion() { tesselkit::platform::SetHostVersion(0x80000000); }
};

TEST_F(RegistryValues, TerminalServicesAreThoseThatTheProductSuiteLists) {
  EXPECT_EQ(GetVersion(), 0x80000000);
  const test::Key options("System\\CurrentControlSet\\Control\\ProductOptions", HKEY_LOCAL_MACHINE);
  const struct {
    int line;
    DWORD version;
    DWORD type;
    std::string suite;
    int answer;
  } kRows[] = {
      {__LINE__, 4, REG_MULTI_SZ, "Terminal Server\0\0"s, 1},
      {__LINE__, 0x00030304, REG_MULTI_SZ, "Small Business\0Terminal Server\0\0"s, 1},
      {__LINE__, 4, REG_MULTI_SZ, "Terminal Server", 1},
      {__LINE__, 3, REG_MULTI_SZ, "Small Business\0\0Terminal Server\0\0"s, 0},
      {__LINE__, 4, REG_MULTI_SZ, "terminal server\0\0"s, 0},
      {__LINE__, 4, REG_MULTI_SZ, "Terminal Server 2\0\0"s, 0},
      {__LINE__, 4, REG_MULTI_SZ, "\0"s, 0},
      {__LINE__, 4, REG_MULTI_SZ, "", 0},
      {__LINE__, 4, REG_SZ, "Terminal Server\0\0"s, 0},
      {__LINE__, 5, REG_MULTI_SZ, "Terminal Server\0\0"s, 0},
      {__LINE__, 0x80000004, REG_MULTI_SZ, "Terminal Server\0\0"s, 0},
  };
  for (const auto& row : kRows) {
    const testing::ScopedTrace trace(__FILE__, row.line, "");
    test::SetData(options, "ProductSuite", row.suite, row.type);
    const HostVersion version(row.version);
    EXPECT_EQ(AdIsTerminalServicesEnabled(), row.answer);
  }
}

}  // namespace
