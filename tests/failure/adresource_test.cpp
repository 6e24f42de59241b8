#include "tesselkit/failure/adresource.h"

#include <dlfcn.h>

#include <atomic>
#include <barrier>
#include <cstdlib>
#include <thread>

#include "tesselkit/platform/module.h"
#include "tests/support/code_page.h"
#include "tests/support/traced_test.h"

namespace {

constexpr char kModule[] = "tesselkit_failure_strings";

class Resources : public test::TracedTest {
 protected:
  Resources() : m_module(dlopen(STRING_MODULE_FILE, RTLD_NOW | RTLD_LOCAL)) {}
  ~Resources() override { dlclose(m_module); }

  void* m_module;
};

TEST_F(Resources, LookUpsSayWhetherThereIsAString) {
  CString result;
  const auto look_up = [&result](const char* module, int id) {
    result = "before";
    const int found = AdLookupStringResource(module, id, result);
    return std::to_string(found) + " " + std::string(result);
  };
  EXPECT_EQ(look_up(kModule, 4), "1 four");
  EXPECT_EQ(look_up(STRING_MODULE_FILE, 4), "1 four");
  EXPECT_EQ(look_up("tesselkit", 18017), "1 Tarnwell Core");
  EXPECT_EQ(look_up(kModule, 18017), "0 ");  // no other module is looked at
  EXPECT_EQ(look_up(kModule, 2), "0 ");
  EXPECT_EQ(look_up(nullptr, 18017), "0 ");  // the program has no strings
  EXPECT_EQ(look_up("no_such_module", 4), "0 before");
  EXPECT_EQ(AdLookupStringResource(18034, result), 1);
  EXPECT_EQ(result, "<Invalid %s value: %d>");
  for (const int id : {4, 18008, 0, -1, 18017 + 65536}) {
    result = "before";
    EXPECT_EQ(AdLookupStringResource(id, result), 0) << id;
    EXPECT_EQ(result, "") << id;
  }
}

TEST_F(Resources, TheModuleFormGives1023BytesOfWholeCharacters) {
  CString whole;
  for (int i = 0; i < 100; ++i) whole += "0123456789";
  EXPECT_EQ(AdGetStringResource(kModule, 1), whole + "abcdeabcdeabcdeabcdeabc");
  EXPECT_EQ(AdGetStringResource(kModule, 3), whole + "ababababababababababcd\x83");
  const test::CodePage page(932);
  EXPECT_EQ(AdGetStringResource(kModule, 3), whole + "ababababababababababcd");
}

TEST_F(Resources, MissingStringsAreThrown) {
  EXPECT_EQ(AdGetStringResource(18017), "Tarnwell Core");
  EXPECT_EQ(AdFetchStringResource(18017), "Tarnwell Core");
  const std::string text = "18018 Could not load string resource, ID=";
  EXPECT_EQ(ThrownBy([] { AdGetStringResource(18008); }), text + "18008");
  EXPECT_EQ(ThrownBy([] { AdFetchStringResource(-1); }), text + "-1");
  try {
    AdGetStringResource("no_such_module", 4);
  } catch (PaMsgException* exception) {
    PaMessage message = exception->m_msgList.First();
    exception->Delete();
    message.SetMsg("%failed_expr% at %failure_location%");
    EXPECT_EQ(test::WithoutLineNumbers(std::string(message.GetFullMsg())),
              "AdLookupStringResource(module_name, ID, result) at "
              "Tarnwell Core: adresource, line #");
  }
  ExpectTraces({"Could not load string resource, ID=4"});
}

// In a process of its own, since the name once found is never looked for again. Its exit code says
// which step failed.
TEST(CoreNameDeathTest, IsLookedForUntilItIsFoundAndOneObject) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto look = [] {
    AFX_MODULE_STATE without_resources;
    AfxSetModuleState(&without_resources);
    const CString& name = AdGetCoreName();
    PaMessage message;
    AdFillCoreMessageInfo(message, "file", 4, PaMsgTypeInformation, PaMsgDestLog);
    if (!name.IsEmpty() || message.GetSource() != "file, line 4") std::exit(1);
    if (message.GetType() != PaMsgTypeInformation || message.GetDest() != PaMsgDestLog)
      std::exit(2);

    std::barrier start(8);  // these have the process's state
    std::atomic<int> found = 0;
    const auto find = [&] {
      start.arrive_and_wait();
      if (&AdGetCoreName() == &name && name == "Tarnwell Core") ++found;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back(find);
    for (std::thread& thread : threads) thread.join();
    if (found != 8) std::exit(3);
    std::exit(AdGetCoreName() == "Tarnwell Core" ? 0 : 4);
  };
  EXPECT_EXIT(look(), testing::ExitedWithCode(0), "");
}

}  // namespace
