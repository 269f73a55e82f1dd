#include "base/jitter.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "base/generation.h"

namespace zarn::base {
namespace {

TEST(JitterTest, FactorsSpanTheirRangesWithoutReachingTheUpperEnd) {
  constexpr std::uint64_t kLargest = ~std::uint64_t{0};
  EXPECT_EQ(unitInterval(0), 0.0);
  EXPECT_EQ(unitInterval(std::uint64_t{1} << 63), 0.5);
  EXPECT_LT(unitInterval(kLargest), 1.0);
  EXPECT_EQ(retryJitter(0), 0.75);
  EXPECT_NEAR(retryJitter(kLargest), 1.25, 1e-12);
  EXPECT_EQ(refreshJitter(0), 0.9);
  EXPECT_NEAR(refreshJitter(kLargest), 1.1, 1e-12);
}

TEST(GenerationTest, ABumpMakesEarlierTokensStale) {
  Generation<int> generation;
  const auto before = generation.current();
  const auto after = generation.bump();
  EXPECT_NE(before, generation.current());
  EXPECT_EQ(after, generation.current());
}

}  // namespace
}  // namespace zarn::base
