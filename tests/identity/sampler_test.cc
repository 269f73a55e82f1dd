#include "identity/sampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/fake_services.h"

namespace zarn::identity {
namespace {

constexpr const char* kVerdict = "zarn.replay.verdict";
constexpr const char* kRate = "zarn.replay.rolledAtRate";

class SamplerTest : public ::testing::Test {
 protected:
  /// A launch whose next roll is `roll`.
  bool verdict(double rate, double roll) {
    random_.nextNumber = static_cast<std::uint64_t>(roll * 0x1p64);
    return Sampler(defaults_, random_).verdict(rate);
  }
  testing::FakeDefaults defaults_;
  testing::FakeRandom random_;
};

TEST_F(SamplerTest, AFirstRollDecides) {
  struct Case {
    double rate;
    double roll;
    bool verdict;
    double storedRate;
  };
  constexpr double kAlmostOne = 1 - 0x1p-53;
  for (const Case& c :
       {Case{1, kAlmostOne, true, 1}, Case{0, 0, false, 0}, Case{0.5, 0.4, true, 0.5},
        Case{0.5, 0.5, false, 0.5}, Case{7, kAlmostOne, true, 1}, Case{-1, 0, false, 0},
        Case{std::numeric_limits<double>::infinity(), 0.9, true, 1}}) {
    defaults_.remove(kVerdict);
    defaults_.remove(kRate);
    EXPECT_EQ(verdict(c.rate, c.roll), c.verdict) << c.rate << " " << c.roll;
    EXPECT_EQ(defaults_.getBool(kVerdict), c.verdict);
    EXPECT_EQ(defaults_.getDouble(kRate), c.storedRate);
  }
}

TEST_F(SamplerTest, AYesStays) {
  EXPECT_TRUE(verdict(0.2, 0.1));
  EXPECT_TRUE(verdict(0, 0.9));
  EXPECT_TRUE(verdict(1, 0.9));
  EXPECT_EQ(defaults_.getDouble(kRate), 0.2);
}

TEST_F(SamplerTest, ANoStaysUntilTheRateRises) {
  EXPECT_FALSE(verdict(0.1, 0.15));
  EXPECT_FALSE(verdict(0.1, 0.01));
  EXPECT_FALSE(verdict(0.05, 0.01));
  EXPECT_EQ(defaults_.getDouble(kRate), 0.1);
  EXPECT_FALSE(verdict(0.2, 0.3));
  EXPECT_EQ(defaults_.getDouble(kRate), 0.2);
  EXPECT_TRUE(verdict(0.3, 0.25));

  defaults_.set(kVerdict, false);
  defaults_.remove(kRate);  // as if at 0
  EXPECT_FALSE(verdict(0, 0));
  EXPECT_TRUE(verdict(0.1, 0.05));
}

TEST_F(SamplerTest, WhatIsNoNumberFailsClosedAndSettlesNothing) {
  EXPECT_FALSE(verdict(std::nan(""), 0));
  EXPECT_EQ(defaults_.getBool(kVerdict), std::nullopt);
  EXPECT_TRUE(verdict(1, 0));
  EXPECT_FALSE(verdict(std::nan(""), 0));
  EXPECT_TRUE(verdict(0, 0));
}

}  // namespace
}  // namespace zarn::identity
