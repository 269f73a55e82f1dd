#include "control/config_fetcher.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/clock.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::control {
namespace {

using model::ConfigResponse;
using platform::HttpFailure;
using platform::HttpRequest;
using platform::HttpResponse;
using platform::HttpResult;

constexpr const char* kKey = "wk_live_x_shop_secretpart";
constexpr const char* kEntry =
    "zarn_remote_config_v2_production|http://collector.example|shop|com.example.shop";

model::Configuration configurationOf(std::string key, ConfigurationOptions options = {}) {
  if (!options.apiHost) options.apiHost = "http://collector.example";
  return {std::move(key), std::move(options)};
}

/// A fetcher, what it asked for and what it was told.
struct Fetching {
  explicit Fetching(model::Configuration configuration = configurationOf(kKey),
                    std::string bundleId = "com.example.shop")
      : fetcher(std::in_place, configuration, platform::AppFacts{.bundleId = std::move(bundleId)},
                defaults, clock, platform::Log(log, true)) {}

  void fetch(bool forceRefresh = true, bool refused = false) {
    fetcher->fetch(
        forceRefresh,
        [this, refused](HttpRequest request, ConfigFetcher::Answered answered) {
          requests.push_back(std::move(request));
          if (!refused) answer = std::move(answered);
          return !refused;
        },
        [this](std::optional<ConfigResponse> response) { told.push_back(std::move(response)); });
  }
  /// What the completion is told of this answer.
  std::optional<ConfigResponse> fetched(HttpResult result) {
    fetch();
    told.clear();
    answer(std::move(result));
    EXPECT_EQ(told.size(), 1u);
    return told.empty() ? std::nullopt : told.back();
  }
  std::string lastLine() const { return log.lines().empty() ? "" : log.lines().back(); }

  testing::ManualClock clock;
  testing::FakeDefaults defaults;
  testing::FakeLog log;
  std::optional<ConfigFetcher> fetcher;
  std::vector<HttpRequest> requests;
  ConfigFetcher::Answered answer;
  std::vector<std::optional<ConfigResponse>> told;
};

TEST(ConfigFetcher, AsksForThePolicyOfThisProjectAndApp) {
  const auto request = makeConfigRequest(configurationOf(kKey), {.bundleId = "com.example.shop"});
  ASSERT_TRUE(request);
  EXPECT_EQ(request->method, "GET");
  EXPECT_EQ(request->url,
            "http://collector.example/api/sdk/config?project_id=shop&platform=ios&"
            "bundle_id=com.example.shop&environment=production&sdk_version=1.0.16");
  EXPECT_EQ(request->timeout, base::seconds(10));
  EXPECT_EQ(request->headers, (std::vector<std::pair<std::string, std::string>>{
                                  {"Accept", "application/json"}, {"Authorization", kKey}}));

  const auto overridden = makeConfigRequest(configurationOf(kKey, {.apiKeyOverride = "other"}), {});
  EXPECT_EQ(overridden->headers[1].second, "other");
  EXPECT_NE(overridden->url.find("&bundle_id=unknown&"), std::string::npos);
}

TEST(ConfigFetcher, NoIdCanAddToTheQuery) {
  const auto request = makeConfigRequest(
      configurationOf(kKey, {.projectId = "a&bundle_id=x#+ %41/é\xff"}), {.bundleId = "?=\n"});
  ASSERT_TRUE(request);
  EXPECT_NE(request->url.find("?project_id=a%26bundle_id%3Dx%23%2B%20%2541%2F%C3%A9%EF%BF%BD&"),
            std::string::npos);
  EXPECT_NE(request->url.find("&bundle_id=%3F%3D%0A&"), std::string::npos);
}

TEST(ConfigFetcher, NoLineOfTheLogHoldsAKey) {
  EXPECT_EQ(maskedKey("12345678901234"), "…");
  EXPECT_EQ(maskedKey("123456789012345"), "12345678…2345");
  EXPECT_EQ(maskedKey("éééééééééééééüü"), "éééééééé…ééüü");

  // A key without a project in it stands for the project.
  for (const std::string key : {"a_key_of_a_kind-that-names-none", "0123456789"}) {
    for (const char* host : {"http://collector.example", "no host"}) {
      Fetching fetching(configurationOf(key, {.apiHost = host}));
      fetching.fetch();
      for (const auto& line : fetching.log.lines()) {
        EXPECT_EQ(line.find(key), std::string::npos) << line;
      }
    }
  }
  Fetching fetching;
  fetching.fetch();
  EXPECT_EQ(fetching.lastLine(),
            "[Zarn] Config fetch: " + fetching.requests[0].url + " (api_key=wk_live_…part)");
}

TEST(ConfigFetcher, OnlyAWholeAnswerWithStatus200Counts) {
  Fetching fetching;
  EXPECT_FALSE(fetching.fetched(HttpFailure{"timed out"}));
  EXPECT_EQ(fetching.lastLine(), "[Zarn] Config fetch failed: timed out");
  for (const int status : {201, 204, 304, 404, 500}) {
    EXPECT_FALSE(fetching.fetched(HttpResponse{status, R"({"dataCollection":{}})"}));
    EXPECT_EQ(fetching.lastLine(), "[Zarn] Config fetch returned status " + std::to_string(status));
  }
  for (const char* body : {"", "{}", "[]", R"({"dataCollection":{},"paused":"no"})",
                           R"({"dataCollection":{"core":{"errors":0}}})"}) {
    EXPECT_FALSE(fetching.fetched(HttpResponse{200, body})) << body;
    EXPECT_TRUE(fetching.lastLine().starts_with("[Zarn] Config decode error: ")) << body;
  }
  EXPECT_FALSE(fetching.defaults.getString(kEntry));

  const auto response = fetching.fetched(
      HttpResponse{200, R"({"dataCollection":{"push":{"enabled":false}},"paused":true})"});
  ASSERT_TRUE(response);
  EXPECT_TRUE(response->paused);
  EXPECT_EQ(response->dataCollection.push->enabled, false);
  EXPECT_EQ(fetching.lastLine(), "[Zarn] Remote config fetched and cached");
  EXPECT_EQ(fetching.defaults.getString(kEntry),
            R"({"dataCollection":{"push":{"enabled":false}},"paused":true})");
}

TEST(ConfigFetcher, CompletesOnceWhateverBecomesOfTheRequest) {
  Fetching refused;
  refused.fetch(true, true);
  ASSERT_EQ(refused.told.size(), 1u);
  EXPECT_FALSE(refused.told[0]);

  Fetching unsendable(configurationOf(kKey, {.apiHost = "http://"}));
  unsendable.fetch();
  ASSERT_EQ(unsendable.told.size(), 1u);
  EXPECT_TRUE(unsendable.requests.empty());
  EXPECT_EQ(unsendable.lastLine(),
            "[Zarn] Invalid config URL: http:///api/sdk/config?project_id=shop");

  Fetching twice;
  twice.fetch();
  twice.answer(HttpResponse{200, R"({"dataCollection":{}})"});
  twice.answer(HttpFailure{"again"});
  EXPECT_EQ(twice.told.size(), 1u);

  Fetching gone;
  gone.fetch();
  gone.fetcher.reset();
  gone.answer(HttpResponse{200, R"({"dataCollection":{}})"});
  EXPECT_TRUE(gone.told.empty());
}

TEST(ConfigCache, AnswersForFiveMinutesWhoeverCanDoWithThat) {
  Fetching fetching;
  ASSERT_TRUE(fetching.fetched(HttpResponse{200, R"({"dataCollection":{},"paused":true})"}));
  fetching.clock.advance(base::seconds(299.9));
  fetching.fetch(true);
  EXPECT_EQ(fetching.requests.size(), 2u);
  fetching.told.clear();
  fetching.fetch(false);
  EXPECT_EQ(fetching.requests.size(), 2u);
  ASSERT_EQ(fetching.told.size(), 1u);
  EXPECT_TRUE(fetching.told[0]->paused);
  EXPECT_EQ(fetching.lastLine(), "[Zarn] Using cached remote config");

  fetching.clock.advance(base::seconds(0.1));
  fetching.fetch(false);
  EXPECT_EQ(fetching.requests.size(), 3u);
  EXPECT_FALSE(fetching.defaults.getString(kEntry));
  EXPECT_FALSE(fetching.defaults.getDouble(kEntry + std::string("_ts")));
}

TEST(ConfigCache, DoubtfulEntries) {
  testing::ManualClock clock;
  testing::FakeDefaults defaults;
  const platform::AppFacts app{.bundleId = "com.example.shop"};
  ConfigCache cache(configurationOf(kKey), app, defaults, clock);
  const std::string timeKey = std::string(kEntry) + "_ts";
  const double now = std::chrono::duration<double>(clock.now().time_since_epoch()).count();

  cache.write({.paused = true});
  EXPECT_DOUBLE_EQ(*defaults.getDouble(timeKey), now);
  defaults.set(timeKey, now + 1e6);
  EXPECT_TRUE(cache.read()) << "a clock that was set back";
  ConfigCache other(configurationOf(kKey), {.bundleId = "com.example.other"}, defaults, clock);
  EXPECT_FALSE(other.read());

  defaults.set(kEntry, std::string_view(R"({"dataCollection":)"));
  defaults.set(timeKey, now);
  EXPECT_FALSE(cache.read());
  EXPECT_TRUE(defaults.getString(kEntry)) << "another version may be able to read it";

  for (const double time : {0.0, -1.0, std::numeric_limits<double>::infinity()}) {
    cache.write({});
    defaults.set(timeKey, time);
    EXPECT_FALSE(cache.read()) << time;
    EXPECT_FALSE(defaults.getString(kEntry)) << time;
  }
}

}  // namespace
}  // namespace zarn::control
