// The fixture of all tests that may trace: a text on the debugger output that no test expects
// fails the test, and so does an expected one that never comes.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

namespace test {

class TracedTest : public testing::Test {
 protected:
  TracedTest();
  ~TracedTest() override;
  void TearDown() override;

  // The texts traced since the last call, oldest first. They count as expected.
  std::vector<std::string> TakeTraces();

  // Takes the traces and compares them whole.
  void ExpectTraces(const std::vector<std::string>& expected);

 private:
  std::mutex m_mutex;
  std::vector<std::string> m_traces;
};

}  // namespace test
