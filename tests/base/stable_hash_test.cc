#include "base/stable_hash.h"

#include <gtest/gtest.h>

namespace zarn::base {
namespace {

// The server takes the same samples, so that these numbers are fixed.
TEST(StableHash, IsTheOneOfOtherPlatforms) {
  EXPECT_EQ(stableHash(""), 0U);
  EXPECT_EQ(stableHash("a"), 97U);
  EXPECT_EQ(stableHash("hello"), 99162322U);
  EXPECT_EQ(stableHash("polygenelubricants"), 2147483648U);  // the lowest number where it is signed
  EXPECT_EQ(stableHash("net-diag:00112233-4455-4677-8899-AABBCCDDEEFF"), 4166724417U);
}

TEST(StableHash, CountsUtf16Units) {
  EXPECT_EQ(stableHash("\u00e9"), 233U);
  EXPECT_EQ(stableHash("\u6f22\u5b57"), 905333U);
  EXPECT_EQ(stableHash("\U0001f600"), 1772899U);
  EXPECT_EQ(stableHash("a\xffz"), stableHash("a\ufffdz"));
}

}  // namespace
}  // namespace zarn::base
