// The fixture of all tests that may trace: a text on the debugger output that no test expects
// fails the test, and so does an expected one that never comes.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "tests/support/failures.h"

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

  // The id and the text of the failure message that `statement` throws, with a blank between, as
  // test::Catch has them. The same text must have been traced by then, and nothing else.
  template <class Statement>
  std::string ThrownBy(Statement statement) {
    const ThrownMessage thrown = Catch(statement);
    EXPECT_EQ(thrown.type, PaMsgTypeFailure);
    EXPECT_EQ(thrown.destination, PaMsgDestUser);
    std::vector<std::string> traces = TakeTraces();
    for (std::string& text : traces) text = WithoutLineNumbers(text);
    EXPECT_EQ(traces, std::vector<std::string>{thrown.text});
    return std::to_string(thrown.id) + " " + thrown.text;
  }

 private:
  std::mutex m_mutex;
  std::vector<std::string> m_traces;
};

}  // namespace test
