#include "tesselkit/system/adenvironment.h"

#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/failures.h"
#include "tests/support/process.h"
#include "tests/support/traced_test.h"

namespace {

class Environment : public test::TracedTest {};

TEST_F(Environment, TextsAreTheVariablesOwn) {
  const struct {
    const char* variable;
    const char* (*accessor)();
  } kRows[] = {
      {"SQLDIR", AdEnvironment::SQL_Anywhere_Dir},
      {"DRELLIK_ODBC_TRACE", AdEnvironment::ODBC_Trace_File},
      {"DK_TEST_DBSET_NAME", AdEnvironment::Test_DBSet_Name},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.variable);
    unsetenv(row.variable);
    EXPECT_EQ(row.accessor(), nullptr);
    setenv(row.variable, "", 1);
    EXPECT_STREQ(row.accessor(), "");
    setenv(row.variable, " %s\\\"x ", 1);
    EXPECT_EQ(row.accessor(), getenv(row.variable));
    EXPECT_STREQ(row.accessor(), " %s\\\"x ");
    unsetenv(row.variable);
  }
}

TEST_F(Environment, FlagsGoByPresence) {
  const struct {
    const char* variable;
    int (*accessor)();
  } kRows[] = {
      {"TW_NOCAL", AdEnvironment::No_Make_Calendar},
      {"DK_TEST_LEAVE_UPGRADE_SCRIPTS", AdEnvironment::Test_Leave_Upgrade_Scripts},
      {"DK_TEST_UPGRADE_SAME_REV_USER_DB", AdEnvironment::Test_Upgrade_Same_Rev_User_DB},
      {"DK_TEST_ALLOW_COLOCATED_DBS", AdEnvironment::Test_Allow_Colocated_DBs},
      {"TW_OVERRIDE_COMMIT", AdEnvironment::Override_Commit},
  };
  for (const auto& set : kRows) {
    for (const char* value : {"0", "no", ""}) {
      setenv(set.variable, value, 1);
      for (const auto& asked : kRows) {
        EXPECT_EQ(asked.accessor(), &asked == &set ? 1 : 0) << set.variable << asked.variable;
      }
    }
    unsetenv(set.variable);
  }
}

TEST_F(Environment, PathConventionsAreTheProductsOwn) {
  EXPECT_EQ(AdEnvironment::Slash(), '\\');
  EXPECT_EQ(AdEnvironment::Slash_String(), "\\");
  EXPECT_EQ(&AdEnvironment::Slash_String(), &AdEnvironment::Slash_String());
  EXPECT_EQ(AdEnvironment::Colon(), ';');
  EXPECT_EQ(AdEnvironment::Colon_String(), ";");
  EXPECT_EQ(&AdEnvironment::Colon_String(), &AdEnvironment::Colon_String());
  EXPECT_EQ(AdEnvironment::Null_Device(), "nul");
}

// The directory is cached for the life of a process, so every case below has one of its own.

TEST_F(Environment, TheTemporaryDirectoryIsCachedOnceThereIsOne) {
  const std::string refused = test::ConditionText("AdIsNonEmpty (Temp)", "adenvironment");
  const int code = test::InChild([&] {
    CString name("name");
    unsetenv("TEMP");
    if (test::Catch([&] { AdEnvironment::Prepend_Temp_Directory(name); }).text != refused) return 1;
    setenv("TEMP", "", 1);
    const test::ThrownMessage thrown = test::Catch([] { AdEnvironment::Temp_Directory(); });
    if (thrown.text != refused || thrown.id != 18019 || name != "name") return 2;
    setenv("TEMP", " \\first\\dir", 1);
    const CString& directory = AdEnvironment::Temp_Directory();
    if (directory != " \\first\\dir") return 3;
    setenv("TEMP", "second", 1);
    if (&AdEnvironment::Temp_Directory() != &directory || directory != " \\first\\dir") return 4;
    unsetenv("TEMP");
    AdEnvironment::Prepend_Temp_Directory(name);
    if (name != " \\first\\dir\\name") return 5;
    AdEnvironment::Prepend_Temp_Directory(name, 7);
    return name == " \\first\\dir\\ \\first\\dir\\name" ? 0 : 6;
  });
  EXPECT_EQ(code, 0);
}

TEST_F(Environment, ATrailingBackslashOfTheDirectoryStays) {
  const int code = test::InChild([] {
    setenv("TEMP", "dir\\", 1);
    CString name;
    AdEnvironment::Prepend_Temp_Directory(name);
    return name == "dir\\\\" ? 0 : 1;
  });
  EXPECT_EQ(code, 0);
}

TEST_F(Environment, ThreadsGetTheSameStringsAtFirstUse) {
  const int code = test::InChild([] {
    setenv("TEMP", "dir", 1);
    constexpr std::size_t kThreads = 8;
    std::vector<std::set<const CString*>> seen(kThreads);
    std::vector<std::thread> threads;
    for (std::set<const CString*>& mine : seen) {
      threads.emplace_back([&] {
        mine = {&AdEnvironment::Temp_Directory(), &AdEnvironment::Slash_String(),
                &AdEnvironment::Colon_String()};
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::set<const CString*>& each : seen) {
      if (each != seen[0] || each.size() != 3) return 1;
    }
    return 0;
  });
  EXPECT_EQ(code, 0);
}

}  // namespace
