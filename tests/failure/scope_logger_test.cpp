#include "tesselkit/failure/scope_logger.h"

#include <optional>

#include "tests/support/traced_test.h"

namespace {

class ScopeLogger : public test::TracedTest {};

TEST_F(ScopeLogger, TracesEntryAndEveryExit) {
  try {
    const AdScopeLogger open("Open", "adregistry", 40);
    const AdScopeLogger odd("100% %s", nullptr, -2147483648L);
    const AdScopeLogger empty("", "file", 1);
    const AdScopeLogger null(nullptr, "file", 2);
    ExpectTraces({"Entering Open (adregistry:40)", "Entering 100% %s (:-2147483648)",
                  "Entering C++ block (file:1)", "Entering C++ block (file:2)"});
    throw 1;
  } catch (int) {
    ExpectTraces({"Leaving C++ block (file:2)", "Leaving C++ block (file:1)",
                  "Leaving 100% %s (:-2147483648)", "Leaving Open (adregistry:40)"});
  }
}

TEST_F(ScopeLogger, CopiesTraceTheirExitOnly) {
  std::optional<AdScopeLogger> a(std::in_place, "A", "file", 1);
  std::optional<AdScopeLogger> b(std::in_place, "B", "file", 2);
  ExpectTraces({"Entering A (file:1)", "Entering B (file:2)"});
  { const AdScopeLogger copy(*a); }
  ExpectTraces({"Leaving A (file:1)"});
  EXPECT_EQ(&(*a = *b), &*a);
  a.reset();
  b.reset();
  ExpectTraces({"Leaving B (file:2)", "Leaving B (file:2)"});
}

}  // namespace
