#include "tesselkit/platform/module.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "tesselkit/failure/adresource.h"
#include "tesselkit/failure/startup.h"
#include "tesselkit/platform/string_table.h"
#include "tests/support/child.h"
#include "tests/support/code_page.h"

namespace {

using tesselkit::platform::HasStringTable;

const char kJoinedText[] = "text of a module that comes and goes";
const std::string kTable = TEST_MODULES "/libtesselkit_test.solid.so";
const std::string kTwin = TEST_MODULES "/libtesselkit_twin.so.";  // with 1 or 2 behind it

// Keeps a module loaded for the length of a scope.
class Loaded {
 public:
  explicit Loaded(const std::string& path) : m_handle(dlopen(path.c_str(), RTLD_NOW)) {
    EXPECT_NE(m_handle, nullptr) << dlerror();
  }
  ~Loaded() { dlclose(m_handle); }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  HINSTANCE Handle() const { return static_cast<HINSTANCE>(m_handle); }

 private:
  void* m_handle;
};

std::string Chained(UINT id) {
  CString text;
  text.LoadString(id);
  return std::string(text.View());
}

TEST(Modules, AreFoundByEveryFormOfTheirName) {
  const auto expect_all = [](HMODULE expected) {
    for (const char* name : {kTable.c_str(), TEST_MODULES "/../modules/libtesselkit_test.solid.so",
                             "libtesselkit_test.solid.so", "libtesselkit_test.solid",
                             "tesselkit_test.solid.so", "tesselkit_test.solid"}) {
      EXPECT_EQ(GetModuleHandleA(name), expected) << name;
    }
  };
  expect_all(nullptr);
  {
    const Loaded module(kTable);
    expect_all(module.Handle());
    for (const char* other :
         {"", "/", "tesselkit_test", "tesselkit_test.so", "tesselkit_test.solid.so.1",
          "/none/libtesselkit_test.solid.so", "modules/libtesselkit_test.solid.so"}) {
      EXPECT_EQ(GetModuleHandleA(other), nullptr) << other;
    }
  }
  expect_all(nullptr);

  const Loaded first(kTwin + "1");
  const Loaded second(kTwin + "2");
  EXPECT_EQ(GetModuleHandleA("libtesselkit_twin.so.1"), first.Handle());
  EXPECT_EQ(GetModuleHandleA("libtesselkit_twin.so.2"), second.Handle());
  EXPECT_EQ(GetModuleHandleA("libtesselkit_twin.so.3"), nullptr);
  EXPECT_EQ(GetModuleHandleA("libtesselkit_twin.so"), first.Handle());

  const HMODULE program = GetModuleHandleA(nullptr);
  EXPECT_EQ(GetModuleHandleA("tesselkit_platform_test"), program);
  EXPECT_EQ(tesselkit::platform::ModuleOfAddress(&kTable), program);
  EXPECT_EQ(AfxGetInstanceHandle(), program);
  EXPECT_FALSE(HasStringTable(program) || HasStringTable(nullptr));
  EXPECT_TRUE(HasStringTable(GetModuleHandleA("tesselkit")));
}

TEST(StringTables, AreReadInAnyOrderAndCutToTheBuffer) {
  const test::CodePage set(932);
  const Loaded module(kTable);
  char buffer[1024];
  const auto load = [&](UINT id, int size) {
    std::memset(buffer, 'x', sizeof buffer);
    const int length = LoadStringA(module.Handle(), id, buffer, size);
    EXPECT_EQ(length, static_cast<int>(std::strlen(buffer)));
    return std::string(buffer);
  };
  EXPECT_EQ(load(900, 1024), "nine hundred");
  EXPECT_EQ(load(5, 1024), "first five");
  EXPECT_EQ(load(4294967295u, 1024), "last");
  for (const UINT none : {0u, 6u, 7u, 901u}) EXPECT_EQ(load(none, 1024), "");
  EXPECT_EQ(load(8, 1024).size(), 1023u);
  EXPECT_EQ(load(9, 1023).size(), 1021u);  // no half of a character
  EXPECT_EQ(load(5, 6), "first");
  EXPECT_EQ(load(5, 1), "");
  EXPECT_EQ(LoadStringA(module.Handle(), 5, buffer, 0), 0);
  EXPECT_EQ(LoadStringA(module.Handle(), 5, nullptr, 10), 0);
  EXPECT_EQ(LoadStringA(nullptr, 5, buffer, 10), 0);
}

TEST(StringTables, OfALinkedLibraryAreNotAModulesOwn) {
  const Loaded plain(TEST_MODULES "/tesselkit_plain.so");
  ASSERT_NE(dlsym(plain.Handle(), "tesselkit_string_table"), nullptr);
  EXPECT_FALSE(HasStringTable(plain.Handle()));
  CString result;
  EXPECT_EQ(AdLookupStringResource("tesselkit_plain", 18017, result), 0);
}

TEST(ResourceChain, IsSearchedResourceModuleFirstThenTheNewestSystemLast) {
  const Loaded first(kTwin + "1");
  const Loaded second(kTwin + "2");
  AFX_EXTENSION_MODULE records[3] = {};
  AfxInitExtensionModule(records[0], first.Handle());
  AfxInitExtensionModule(records[1], second.Handle());
  AfxInitExtensionModule(records[2], nullptr);
  AFX_MODULE_STATE state;
  AFX_MANAGE_STATE(&state);
  new CDynLinkLibrary(records[0]);
  EXPECT_EQ(Chained(1), "libtesselkit_twin.so.1");
  new CDynLinkLibrary(records[1]);
  EXPECT_EQ(Chained(1), "libtesselkit_twin.so.2");
  AfxTermExtensionModule(records[1]);
  EXPECT_EQ(Chained(1), "libtesselkit_twin.so.1");
  AfxInitExtensionModule(records[1], second.Handle());
  auto* system = new CDynLinkLibrary(records[1], TRUE);
  AfxTermExtensionModule(records[2]);  // ends the entries of no module, not of every one
  EXPECT_EQ(Chained(1), "libtesselkit_twin.so.1");
  AfxSetResourceHandle(second.Handle());
  EXPECT_EQ(Chained(1), "libtesselkit_twin.so.2");
  AfxSetResourceHandle(nullptr);
  AfxTermExtensionModule(records[0]);
  EXPECT_EQ(Chained(1), "libtesselkit_twin.so.2");
  delete system;
  EXPECT_EQ(Chained(1), "");
}

TEST(ResourceChain, IsUsedByThreadsWhileModulesComeAndGo) {
  const Loaded table(kTable);
  std::atomic<bool> done = false;
  std::atomic<int> torn = 0;
  const auto look_up = [&](int number) {
    AFX_MODULE_STATE own;
    // Half of them read a module's table first, which is looked at anew after every unloading.
    own.m_hCurrentResourceHandle = table.Handle();
    while (!done) {
      const std::string text = Chained(70001);
      if (text != "" && text != kJoinedText) ++torn;
      if (Chained(18017) != "Tarnwell Core") ++torn;
      CRuntimeClass::FromName("JoinedObject");
      if (number % 2 == 0) continue;
      AFX_MANAGE_STATE(&own);
      if (Chained(5) != "first five" || Chained(18017) != "") ++torn;
    }
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < 8; ++number) threads.emplace_back(look_up, number);
  for (int time = 0; time < 300; ++time) {
    const Loaded module(TEST_MODULES "/tesselkit_joining.so");
    EXPECT_EQ(Chained(70001), kJoinedText);
    EXPECT_NE(CRuntimeClass::FromName("JoinedObject"), nullptr);
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(Chained(70001), "");
  EXPECT_EQ(CRuntimeClass::FromName("JoinedObject"), nullptr);
}

TEST(ResourceChain, TheLibraryIsReallyUnloaded) {
  EXPECT_EQ(test::OutputOf("", TEST_UNLOAD_HOST " " TEST_LIBRARY), "");
}

TEST(ModuleState, IsTheThreadsOwn) {
  AFX_MODULE_STATE* const process = AfxGetModuleState();
  AFX_MODULE_STATE state;
  EXPECT_EQ(AfxSetModuleState(&state), process);
  EXPECT_EQ(AfxGetModuleState(), &state);
  std::thread([&] { EXPECT_EQ(AfxGetModuleState(), process); }).join();
  EXPECT_EQ(AfxSetModuleState(nullptr), &state);
  EXPECT_EQ(AfxGetModuleState(), process);
}

TEST(ModuleState, TheEntryPointJoinsOnAttachOnly) {
  AFX_MODULE_STATE state;
  AFX_MANAGE_STATE(&state);
  for (const DWORD reason : {2u, 3u, 99u}) {
    EXPECT_EQ(DllMain(GetModuleHandleA("tesselkit"), reason, nullptr), TRUE);
    EXPECT_EQ(Chained(18017), "");
  }
  EXPECT_EQ(DllMain(GetModuleHandleA("tesselkit"), DLL_PROCESS_ATTACH, nullptr), TRUE);
  EXPECT_EQ(Chained(18017), "Tarnwell Core");
}

HINSTANCE Made(std::uintptr_t number) {
  return reinterpret_cast<HINSTANCE>(number);
}

struct Fixup {
  int line;
  std::uintptr_t instance, resource;
  const char* name;
  const char* host_name;
  std::uintptr_t expected_instance, expected_resource;
  const char* expected_name;
};

TEST(ModuleState, AHostsStateIsCopiedIntoOneThatLacksIt) {
  EXPECT_EQ(test::OutputOf("", TEST_PROBE " fixup"), "1\n");
  AFX_MODULE_STATE host;
  AFX_MODULE_STATE joined;
  AFX_MANAGE_STATE(&joined);
  TesselkitStateInit(&joined);
  TesselkitStateInit(&host);  // replaces the host
  EXPECT_EQ(Chained(18017), "Tarnwell Core");
  host.m_hCurrentInstanceHandle = Made(1);
  host.m_hCurrentResourceHandle = Made(2);
  const Fixup kFixups[] = {
      // line   state's own        host's    expected
      {__LINE__, 0, 0, nullptr, "sales", 1, 2, "sales"},
      {__LINE__, 0, 0, nullptr, "", 1, 2, nullptr},
      {__LINE__, 0, 0, nullptr, nullptr, 1, 2, nullptr},
      {__LINE__, 4, 0, "own", "sales", 1, 2, "own"},
      {__LINE__, 0, 3, nullptr, "sales", 0, 3, nullptr},
  };
  for (const Fixup& row : kFixups) {
    AFX_MODULE_STATE state;
    state.m_hCurrentInstanceHandle = Made(row.instance);
    state.m_hCurrentResourceHandle = Made(row.resource);
    state.m_lpszCurrentAppName = row.name;
    host.m_lpszCurrentAppName = row.host_name;
    TesselkitStateFixup(&state);
    EXPECT_EQ(state.m_hCurrentInstanceHandle, Made(row.expected_instance)) << row.line;
    EXPECT_EQ(state.m_hCurrentResourceHandle, Made(row.expected_resource)) << row.line;
    EXPECT_STREQ(state.m_lpszCurrentAppName, row.expected_name) << row.line;
    if (row.name == nullptr) std::free(const_cast<char*>(state.m_lpszCurrentAppName));
  }
  TesselkitStateFixup(nullptr);
  TesselkitStateInit(nullptr);  // the host goes with this test
}

}  // namespace
