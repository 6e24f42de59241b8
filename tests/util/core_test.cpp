#include "tesselkit/util/adutil_core.h"

#include <gtest/gtest.h>

#include "tests/support/code_page.h"
#include "tests/support/failures.h"

namespace {

TEST(Core, NullIsAnEmptyTextButNoNul) {
  EXPECT_EQ(AdIsEmpty(nullptr), 1);
  EXPECT_EQ(AdIsNonEmpty(nullptr), 0);
  EXPECT_EQ(AdIsCharNul(nullptr), 0);
  EXPECT_EQ(AdIsEmpty(""), 1);
  EXPECT_EQ(AdIsNonEmpty(""), 0);
  EXPECT_EQ(AdIsCharNul(""), 1);
}

}  // namespace
