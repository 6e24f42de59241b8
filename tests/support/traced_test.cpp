#include "tests/support/traced_test.h"

#include "tesselkit/platform/debug_output.h"

namespace test {

TracedTest::TracedTest() {
  tesselkit::platform::SetDebugOutputSink([this](const char* text) {
    const std::lock_guard lock(m_mutex);
    m_traces.emplace_back(text);
  });
}

TracedTest::~TracedTest() {
  tesselkit::platform::SetDebugOutputSink({});
}

void TracedTest::TearDown() {
  for (const std::string& text : TakeTraces()) ADD_FAILURE() << "unexpected trace: " << text;
}

std::vector<std::string> TracedTest::TakeTraces() {
  const std::lock_guard lock(m_mutex);
  return std::move(m_traces);
}

void TracedTest::ExpectTraces(const std::vector<std::string>& expected) {
  EXPECT_EQ(TakeTraces(), expected);
}

}  // namespace test
