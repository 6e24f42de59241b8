// Modules under the walk up the stack: found by name, loaded and unloaded.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tesselkit/platform/debug_help.h"
#include "tesselkit/platform/module_symbols.h"

namespace {

using namespace tesselkit::platform;

using CallThrough = void (*)(void (*function)(void*), void* context);

class Module {
 public:
  explicit Module(const std::string& path) : m_handle(dlopen(path.c_str(), RTLD_NOW)) {
    EXPECT_NE(m_handle, nullptr) << path;
  }
  ~Module() { dlclose(m_handle); }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  CallThrough Function() const {
    return reinterpret_cast<CallThrough>(dlsym(m_handle, "CallThroughModule"));
  }

 private:
  void* m_handle;
};

TEST(StackWalk, AModuleOpenedByARelativePathHasItsNameAndSymbols) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(TEST_MODULES);
  const Module module("./tesselkit_walk_small.so");
  std::filesystem::current_path(before);
  const auto place = reinterpret_cast<std::uintptr_t>(module.Function()) + 5;
  const LoadedModule found = FindModule(place);
  EXPECT_EQ(ModulePath(found),
            std::filesystem::canonical(TEST_MODULES "/tesselkit_walk_small.so").string());
  NearSymbol symbol;
  ASSERT_TRUE(FindSymbol(found, place, symbol));
  EXPECT_EQ(symbol.name, "CallThroughModule");
  EXPECT_EQ(symbol.displacement, 5u);
}

class Frames final : public FrameVisitor {
 public:
  void Visit(const StackFrame& frame) override { m_frames.push_back(frame.frame); }
  const std::vector<ULONG_PTR>& Found() const { return m_frames; }

 private:
  std::vector<ULONG_PTR> m_frames;
};

void WalkInto(void* frames) {
  WalkWithDebugHelp(CurrentContext(), *static_cast<Frames*>(frames));
}

template <int kRoom>
[[gnu::noinline]] void CallWithRoom(CallThrough call, Frames& frames) {
  volatile char room[kRoom];
  room[0] = 1;
  call(WalkInto, &frames);
  room[1] = room[0];
}

// The frames outside the walk's own, the module's and that of its caller.
std::vector<ULONG_PTR> OuterFrames(void (*via)(CallThrough, Frames&), CallThrough call) {
  Frames frames;
  via(call, frames);
  const std::vector<ULONG_PTR>& all = frames.Found();
  return {all.begin() + std::min<std::ptrdiff_t>(3, std::ssize(all)), all.end()};
}

TEST(StackWalk, WhatWasLearntInAModuleIsNotHeldOfTheNextAtItsPlace) {
  ASSERT_TRUE(LoadDebugHelp());
  std::vector<ULONG_PTR> expected;
  // Each module twice from frames of two sizes, so that all that can be learnt is.
  for (const char* name : {"small", "large", "small"}) {
    SCOPED_TRACE(name);
    const Module module(std::string(TEST_MODULES "/tesselkit_walk_") + name + ".so");
    for (const auto via : {CallWithRoom<64>, CallWithRoom<640>, CallWithRoom<64>}) {
      const std::vector<ULONG_PTR> outer = OuterFrames(via, module.Function());
      if (expected.empty()) expected = outer;
      EXPECT_EQ(outer, expected);
    }
  }
  EXPECT_GT(expected.size(), 3u);
}

}  // namespace
