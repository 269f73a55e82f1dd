#include "core/skan.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/test_host.h"
#include "model/configuration.h"

namespace zarn {
namespace {

TEST(ZarnSkan, WorksBeforeConfigureAndOutlivesIt) {
  testing::TestHost host;
  host.environment.variables["ZARN_INTERNAL_DEV"] = "1";
  {
    testing::TestClient client(host);
    client->skan().acceptSchema({});
    EXPECT_TRUE(client->skan().updateConversionValue(7, ZarnCoarseConversionValue::low));
    client.run();
    EXPECT_TRUE(client->skan().recordConversionEvent("purchase", 60));
    host.sources.adNetwork.lastFailed("no network");
    EXPECT_EQ(host.log.count("[Zarn] SKAN updatePostbackConversionValue async error: no network"),
              1);
  }
  testing::TestClient later(host);
  const auto status = later->skan().status();
  EXPECT_FALSE(status.enabled);
  EXPECT_FALSE(status.windowOpen);
  EXPECT_EQ(status.currentFine, 4);
  EXPECT_TRUE(status.internalDevForced);
  EXPECT_EQ(status.expectedReportEndpoint, model::builtInEndpoints().development);
}

TEST(ZarnSkan, AHostThatFailsLeavesNeutralAnswersAndIsAskedAgain) {
  testing::TestHost host;
  bool fails = true;
  ZarnSKAN skan(std::make_unique<ZarnSKAN::Impl>(
      [&]() -> platform::Host& {
        if (fails) throw std::runtime_error("not now");
        return host.services;
      },
      [](std::string_view) {}));
  skan.acceptSchema({});
  EXPECT_FALSE(skan.updateConversionValue(7));
  EXPECT_EQ(skan.status().currentFine, 0);
  EXPECT_FALSE(skan.status().expectedReportEndpoint);
  fails = false;
  skan.acceptSchema({});
  EXPECT_TRUE(skan.updateConversionValue(7));
  EXPECT_EQ(skan.status().currentFine, 7);
}

}  // namespace
}  // namespace zarn
