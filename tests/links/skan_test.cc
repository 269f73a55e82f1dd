#include "links/skan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/fake_producer_services.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::links {
namespace {

using Coarse = ZarnCoarseConversionValue;
using Schema = ZarnSKAN::CvSchema;

struct Converting {
  explicit Converting(bool accepts = true, const testing::FakeDefaults* before = nullptr) {
    if (before != nullptr) before->leaveTo(defaults);
    if (accepts) skan.acceptSchema({});
  }
  bool update(int fine, bool lockWindow = false) {
    return skan.updateConversionValue(fine, Coarse::none, lockWindow);
  }
  std::string error() const { return skan.status().lastUpdateError.value_or(""); }
  int fine() const { return skan.status().currentFine; }

  testing::ManualClock clock;
  testing::FakeDefaults defaults;
  testing::FakeAdNetwork network;
  std::vector<std::string> lines;
  Skan skan{defaults, network,
            clock,    "https://in.example",
            true,     [this](std::string_view line) { lines.emplace_back(line); }};
};

TEST(FineValue, IsTheLastBucketThatIsNotAboveTheRevenue) {
  const double infinite = std::numeric_limits<double>::infinity();
  const double none = std::nan("");
  Schema schema;
  const struct {
    std::optional<double> revenue;
    int fine;
  } cases[] = {{std::nullopt, 0}, {-3, 0},   {0.5, 0}, {1, 1},   {19.99, 2},
               {20, 3},           {99.9, 4}, {100, 5}, {1e9, 5}, {none, 0}};
  for (const auto& [revenue, fine] : cases) EXPECT_EQ(fineValue(schema, revenue), fine);

  schema.buckets = {10, 20};
  EXPECT_EQ(fineValue(schema, 5), 0);
  EXPECT_EQ(fineValue(schema, 25), 1);
  schema.buckets.clear();
  for (int i = 0; i < 100; ++i) schema.buckets.push_back(i);
  EXPECT_EQ(fineValue(schema, 99), 63);
  // What makes no schema: the default buckets count.
  for (const auto& bad : {std::vector<double>{7}, {}, {50, 7}, {0, none, 50}, {0, infinite}}) {
    schema.buckets = bad;
    EXPECT_EQ(fineValue(schema, 19.99), 2);
  }

  schema.model = Schema::Model::raw;
  EXPECT_EQ(fineValue(schema, std::nullopt), 0);
  EXPECT_EQ(fineValue(schema, -1), 0);
  EXPECT_EQ(fineValue(schema, 17), 17);
  EXPECT_EQ(fineValue(schema, 1e300), 63);
  EXPECT_EQ(fineValue(schema, none), 0);
}

TEST(Skan, TheValueOnlyRisesUntilTheWindowIsLocked) {
  Converting converting;
  EXPECT_TRUE(converting.update(64));
  EXPECT_EQ(converting.fine(), 63);
  EXPECT_TRUE(converting.update(-1));
  EXPECT_EQ(converting.network.values.size(), 1u);  // kept as it is
  EXPECT_TRUE(converting.update(5, true));
  EXPECT_EQ(converting.network.values.back(), std::pair(5, true));
  EXPECT_EQ(converting.skan.status().lockedAt, converting.clock.now());
  EXPECT_FALSE(converting.update(63));
  EXPECT_FALSE(converting.update(63, true));
  EXPECT_EQ(converting.error(), "window_closed");
  EXPECT_EQ(converting.fine(), 5);
  EXPECT_EQ(converting.network.values.size(), 2u);

  // A kill right after doesn't open it again.
  Converting later(true, &converting.defaults);
  EXPECT_FALSE(later.update(63));
  EXPECT_EQ(later.fine(), 5);
  EXPECT_FALSE(later.skan.status().windowOpen);
  EXPECT_FALSE(later.skan.status().lastConversionValueSet);
}

TEST(Skan, NothingIsSetBeforeASchemaIsAccepted) {
  Converting converting(false);
  EXPECT_FALSE(converting.update(1));
  EXPECT_EQ(converting.error(), "skan_disabled");
  EXPECT_FALSE(converting.skan.recordConversionEvent(1.0));
  EXPECT_EQ(converting.defaults.size(), 0u);
  EXPECT_TRUE(converting.network.values.empty());
  EXPECT_TRUE(converting.skan.status().cvSchemaConfigured);  // the default one is

  converting.skan.acceptSchema({.model = Schema::Model::raw});
  const auto status = converting.skan.status();
  EXPECT_TRUE(status.enabled && status.cvSchemaConfigured && status.internalDevForced);
  EXPECT_EQ(status.expectedReportEndpoint, "https://in.example");
  EXPECT_TRUE(converting.update(1));
  EXPECT_EQ(converting.error(), "");
}

TEST(Skan, AnEventWithRevenueLocksTheWindowWhereTheSchemaSaysSo) {
  Converting converting;
  converting.skan.acceptSchema({.lockWindowOnPurchase = false});
  EXPECT_TRUE(converting.skan.recordConversionEvent(5.0));
  EXPECT_TRUE(converting.skan.status().windowOpen);
  converting.skan.acceptSchema({});
  EXPECT_TRUE(converting.skan.recordConversionEvent(std::nullopt));
  EXPECT_TRUE(converting.skan.status().windowOpen);
  EXPECT_EQ(converting.fine(), 2);
  EXPECT_TRUE(converting.skan.recordConversionEvent(20.0));
  EXPECT_FALSE(converting.skan.status().windowOpen);
  EXPECT_EQ(converting.fine(), 3);
}

TEST(Skan, WhatTheAdNetworkRefusesIsNotStored) {
  Converting converting;
  converting.network.refusal = "skan_requires_ios_16_1";
  EXPECT_FALSE(converting.update(7, true));
  EXPECT_EQ(converting.error(), "skan_requires_ios_16_1");
  EXPECT_EQ(converting.defaults.size(), 0u);
  converting.network.refusal = std::nullopt;
  EXPECT_TRUE(converting.update(7));
  EXPECT_EQ(converting.error(), "");
  converting.network.lastFailed("no network");
  EXPECT_EQ(converting.lines,
            std::vector<std::string>{
                "[Zarn] SKAN updatePostbackConversionValue async error: no network"});
}

TEST(Skan, AnotherThreadMayComeInWhileTheAdNetworkIsTold) {
  Converting raised;
  raised.network.duringUpdate = [&] {
    raised.network.duringUpdate = nullptr;
    raised.update(9);
  };
  EXPECT_TRUE(raised.update(4));
  EXPECT_EQ(raised.fine(), 9);
  EXPECT_EQ(raised.skan.status().lastConversionValueSet, 9);

  Converting locked;
  locked.network.duringUpdate = [&] {
    locked.network.duringUpdate = nullptr;
    locked.update(3, true);
  };
  EXPECT_FALSE(locked.update(4));
  EXPECT_EQ(locked.fine(), 3);
}

TEST(Skan, StoredNonsenseCountsAsTheNearestValue) {
  for (const double stored : {-5.0, std::nan("")}) {
    Converting converting;
    converting.defaults.set(Skan::kCurrentFineKey, stored);
    EXPECT_EQ(converting.fine(), 0);
  }
  Converting converting;
  converting.defaults.set(Skan::kCurrentFineKey, 1e300);
  EXPECT_EQ(converting.fine(), 63);
  converting.defaults.set(Skan::kWindowClosedKey, "yes");
  EXPECT_FALSE(converting.update(63));
}

}  // namespace
}  // namespace zarn::links
