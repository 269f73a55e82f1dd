#include "model/configuration.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zarn::model {
namespace {

const Endpoints kEndpoints{"https://production.example", "https://development.example"};

ResolvedConfiguration resolve(ConfigurationOptions options,
                              std::optional<std::string> internalDev = {}) {
  return resolveConfiguration("wk_live_x_shop_abc", std::move(options), internalDev, kEndpoints);
}

TEST(Configuration, EnvironmentChoosesTheHostUnlessOneIsGiven) {
  EXPECT_EQ(resolve({}).configuration.apiHost(), kEndpoints.production);
  const auto development = resolve({.environment = " Development\n"}).configuration;
  EXPECT_EQ(development.environment(), "development");
  EXPECT_EQ(development.apiHost(), kEndpoints.development);
  EXPECT_EQ(resolve({.apiHost = "http://h.example", .environment = "development"})
                .configuration.apiHost(),
            "http://h.example");
  EXPECT_FALSE(isKnownEnvironment(resolve({.environment = "staging"}).configuration.environment()));
}

TEST(Configuration, InternalDevelopmentBeatsBoth) {
  const auto forced = resolve({.apiHost = "http://h.example", .environment = "production"}, "1");
  EXPECT_TRUE(forced.internalDevForced);
  EXPECT_EQ(forced.configuration.apiHost(), kEndpoints.development);
  EXPECT_EQ(forced.configuration.environment(), "development");
  EXPECT_FALSE(resolve({}, "true").internalDevForced);
}

TEST(Configuration, ProjectAndKeyComeFromTheOptionsOrTheWriteKey) {
  const auto project = [](std::string key, ConfigurationOptions options = {}) {
    return Configuration{std::move(key), std::move(options)}.projectId();
  };
  EXPECT_EQ(project("wk_live_x_shop_abc"), "shop");
  EXPECT_EQ(project("wk_live_x_shop_abc_def"), "shop");
  EXPECT_EQ(project("a_b_c__e"), "");
  EXPECT_EQ(project("wk_live_x_shop"), "wk_live_x_shop");
  EXPECT_EQ(project("plain"), "plain");
  EXPECT_EQ(project("wk_live_x_shop_abc", {.projectId = "other"}), "other");
  EXPECT_EQ((Configuration{"wk", {.apiKeyOverride = "secret"}}.apiKey()), "secret");
  EXPECT_EQ((Configuration{"wk", {}}.apiKey()), "wk");
}

TEST(Configuration, NumbersThatMakeNoSenseTakeTheirDefaults) {
  const auto resolved = resolve({.sessionTimeout = -1,
                                 .flushInterval = std::nan(""),
                                 .flushAt = 0,
                                 .maxBufferSize = -5,
                                 .replaySampleRate = -0.5});
  const auto& options = resolved.configuration.options;
  EXPECT_EQ(options.flushInterval, 30);
  EXPECT_EQ(options.flushAt, 20);
  EXPECT_EQ(options.maxBufferSize, 1000);
  EXPECT_EQ(options.sessionTimeout, 1800);
  EXPECT_EQ(options.replaySampleRate, 0);
  EXPECT_EQ(resolved.replacedOptions.size(), 5u);
  const auto clamped =
      resolve({.flushInterval = 1e-9, .replaySampleRate = 7}).configuration.options;
  EXPECT_EQ(clamped.flushInterval, 0.1);
  EXPECT_EQ(clamped.replaySampleRate, 1);
}

TEST(Configuration, AHostThatFormsNoAddressIsReplaced) {
  const auto url = [](std::string_view host) { return endpointURL(host, "/api", kEndpoints); };
  for (const char* good : {"http://127.0.0.1:8090", "https://h.example/base", "http://[::1]:80",
                           "HTTPS://user:pw@h.example", "http://h.example:"}) {
    EXPECT_EQ(url(good), std::string(good) + "/api");
  }
  EXPECT_EQ(url("http://h.example//"), "http://h.example/api");
  for (const char* bad :
       {"", "h.example", "ftp://h.example", "http://", "http://:80", "http://a b",
        "http://h.example:99999", "http://h.example:8x", "http://h\"x", "http://h\n"}) {
    EXPECT_EQ(url(bad), "https://production.example/api") << bad;
  }
}

}  // namespace
}  // namespace zarn::model
