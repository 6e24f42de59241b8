#include "tesselkit/platform/debug_output.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "tesselkit/platform/exceptions.h"

namespace {

using tesselkit::platform::SetDebugOutputSink;

class DebugOutput : public testing::Test {
 protected:
  void TearDown() override { SetDebugOutputSink({}); }
};

TEST_F(DebugOutput, GoesToStandardErrorOrToTheSinkWhole) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int saved = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);
  std::string read_text;
  std::thread reader([&] {
    char part[4096];
    for (ssize_t n = 0; (n = read(ends[0], part, sizeof part)) > 0;)
      read_text.append(part, static_cast<std::size_t>(n));
  });
  const std::string large(200000, 'x');  // more than the pipe holds: written in parts
  std::vector<std::string> texts;
  SetDebugOutputSink([&](const char* text) { texts.emplace_back(text); });
  for (const char* text : {"", "50%s\n", large.c_str(), static_cast<const char*>(nullptr)})
    OutputDebugStringA(text);
  SetDebugOutputSink({});
  for (const char* text : {large.c_str(), "%d\n", static_cast<const char*>(nullptr)})
    OutputDebugStringA(text);
  dup2(saved, STDERR_FILENO);
  close(saved);
  reader.join();
  close(ends[0]);
  EXPECT_EQ(texts, (std::vector<std::string>{"", "50%s\n", large}));
  EXPECT_EQ(read_text, large + "%d\n");
}

TEST_F(DebugOutput, ASinkMayReplaceItselfAndTrace) {
  std::vector<std::string> texts;
  const auto alive = std::make_shared<int>(0);
  SetDebugOutputSink([&texts, alive](const char* text) {
    SetDebugOutputSink([&texts](const char* later) { texts.push_back(std::string("2:") + later); });
    OutputDebugStringA("inner");
    texts.push_back(std::string("1:") + text);  // what it captured is still there
    EXPECT_EQ(alive.use_count(), 2);
  });
  OutputDebugStringA("a");
  OutputDebugStringA("b");
  EXPECT_EQ(texts, (std::vector<std::string>{"2:inner", "1:a", "2:b"}));
  EXPECT_EQ(alive.use_count(), 1);
}

TEST_F(DebugOutput, WhatASinkThrowsEndsThere) {
  int calls = 0;
  SetDebugOutputSink([&](const char*) {
    if (++calls == 1) throw new CInvalidArgException;  // the leak checker sees whether it is ended
    if (calls == 2) throw std::runtime_error("sink");
    if (calls == 3) AfxThrowMemoryException();
    throw 1;
  });
  for (int i = 0; i < 4; ++i) OutputDebugStringA("text");
  EXPECT_EQ(calls, 4);
}

TEST_F(DebugOutput, ThreadsTraceWhileTheSinkChanges) {
  std::mutex mutex;
  std::map<std::string, int> counts;
  std::atomic<int> left = 2;
  const auto sink = [&](const char* text) {
    const std::lock_guard lock(mutex);
    ++counts[text];
  };
  const auto trace = [&left](const char* text) {
    for (int i = 0; i < 2000; ++i) OutputDebugStringA(text);
    --left;
  };
  SetDebugOutputSink(sink);
  std::thread threads[] = {std::thread(trace, "a"), std::thread(trace, "b")};
  while (left > 0) SetDebugOutputSink(sink);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counts, (std::map<std::string, int>{{"a", 2000}, {"b", 2000}}));
}

}  // namespace
