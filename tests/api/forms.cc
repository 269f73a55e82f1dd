// Every form in which a host may call the library. Compiled, not run: see compile_test.py.
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#if __has_include(<curl/curl.h>)
#include "zarn/curl.h"
#endif
#include "zarn/desktop.h"
#include "zarn/zarn.h"

#if defined(_GLIBCXX_FUTURE)
#error "zarn.h makes every host pay for <future>"
#endif

namespace shop {
enum class Tier { basic, gold };
std::string to_string(Tier tier);

struct Money {
  long cents;
};
std::string to_string(const Money& money);

class Sku {
 public:
  operator std::string_view() const;
};
struct Order {
  static const int kLimit = 9;
  unsigned express : 1;
  std::optional<double> discount;
  std::vector<bool> giftWrap;
};
}  // namespace shop

namespace {

using zarn::Zarn;

void start() {
  zarn::ConfigurationOptions options{
      .flushAt = 20, .apiHost = "http://127.0.0.1:8090", .debug = true};
  options.projectId = "myproject";
  Zarn::configure("wk_live_x_myproject_abc");
  Zarn::configure("wk_live_x_myproject_abc", options);
  Zarn::configure("wk_live_x_myproject_abc", {.flushAt = 5, .environment = "development"});
  Zarn::configure("wk_live_x_myproject_abc", zarn::ConfigurationOptions{});
  Zarn::configure("myproject", "api-key");
  Zarn::configure("myproject", "api-key", options);
  Zarn::configure("myproject", "api-key", {.debug = true});
  Zarn::configure(std::string("myproject"), std::string_view("api-key"), {});

  zarn::desktop::describeHost({.bundleId = "com.example.shop", .version = "2.4.1"});
  zarn::desktop::describeHost({.bundleId = "com.example.shop",
                               .name = "Shop",
                               .version = "2.4.1",
                               .build = "812",
                               .dataDirectory = "/var/tmp/shop"});
}

void everyOption() {
  Zarn::configure("wk", {.autoTrackScreens = false,
                         .autoTrackTaps = false,
                         .autoTrackFlows = false,
                         .autoTrackNetwork = false,
                         .autoTrackCrashes = false,
                         .autoTrackSessions = false,
                         .autoTrackPush = false,
                         .pushAttributionWindowSeconds = 60,
                         .sessionTimeout = 60,
                         .flushInterval = 0.5,
                         .flushAt = 1,
                         .maxBufferSize = 10,
                         .apiHost = "http://127.0.0.1:8090",
                         .debug = true,
                         .environment = "development",
                         .projectId = "p",
                         .apiKeyOverride = "k",
                         .replayEnabled = false,
                         .replayStructuralEnabled = true,
                         .replayTileCaptureEnabled = false,
                         .replayOcrEnabled = std::nullopt,
                         .replaySampleRate = 0.1,
                         .replayCaptureOnCellular = true,
                         .deepLinkAutoOpen = false,
                         .universalLinkHosts = {"shop.example", "www.shop.example"},
                         .deferredClipboardMatchEnabled = true,
                         .installReceiptValidationEnabled = false});
}

void record(const std::string& name, const char* plan) {
  Zarn::track("x");
  Zarn::track("x", {});
  Zarn::track("checkout", {{"items", 3}, {"total", 59.9}});
  Zarn::track(name, {{name, name}, {name + "_plan", plan}});
  Zarn::track(std::string_view(name), zarn::Properties{{"one", 1}});
  Zarn::identify("user-7");
  Zarn::identify("user-7", {{"plan", "pro"}});
  Zarn::group("acme");
  Zarn::group("acme", {});
  Zarn::group("acme", {{"seats", 3}});
  Zarn::setSuperProperty("theme", "dark");
  Zarn::setSuperProperty(name, nullptr);
  Zarn::setSuperProperty("tags", zarn::Array{"a", 2});
  Zarn::setSuperProperties({{"theme", "dark"}, {"beta", true}});
  Zarn::unsetSuperProperty("theme");
  Zarn::clearSuperProperties();
  Zarn::flush();
  [[maybe_unused]] const bool sent = Zarn::flush(2) && Zarn::flush(0.5);
}

void businessEvents(const std::optional<std::string>& reason) {
  Zarn::trackPurchase({.amount = 9.99,
                       .currency = "EUR",
                       .productId = "p1",
                       .productName = "kettle",
                       .quantity = 2,
                       .properties = {{"coupon", "X"}}});
  Zarn::trackPurchase({9.99, "EUR"});
  Zarn::trackSubscriptionStart({.plan = "pro",
                                .amount = 5,
                                .currency = "NOK",
                                .interval = zarn::SubscriptionInterval::year});
  Zarn::trackTrialStart({.plan = "pro", .days = 14});
  Zarn::trackCancel({.plan = "pro", .reason = reason});
  Zarn::trackUpgrade({.fromPlan = "free", .toPlan = "pro"});
  Zarn::trackSignup({.method = "mail", .plan = "free"});
  Zarn::trackSignup({});
  Zarn::trackActivation({.event = "first import"});
  Zarn::trackActivation();
  Zarn::trackShare({.channel = "mail", .contentId = "c1"});
  Zarn::trackInvite({.channel = "mail", .recipientCount = 3});
  Zarn::markGoal("first_order");
  Zarn::markGoal("first_order",
                 {.value = 59.9, .currency = "EUR", .properties = {{"coupon", "X"}}});
}

void theUser(zarn::Text key) {
  Zarn::setUserProperty(zarn::StandardProperty::plan, "pro");
  Zarn::setUserProperty("seats", 3);
  Zarn::setUserProperty(key, nullptr);
  Zarn::setUserProperties({{"plan", "pro"}, {"seats", 3}});
  Zarn::setExperimentVariant("checkout", "short");
  Zarn::optOut();
  Zarn::optIn();
  Zarn::reset();
  const zarn::ZarnDiagnostics now = Zarn::diagnostics();
  if (now.paused && now.queue.retryTier == "cooldown") Zarn::track(now.toJson());
  Zarn::track(zarn::rawValue(zarn::pack(zarn::StandardProperty::plan)));
}

void linksAndPushes(const zarn::Properties& userInfo, const std::string& token) {
  Zarn::onDeepLink([](const zarn::ZarnDeepLink& link) {
    if (link.isDeferred || link.isDeterministic()) Zarn::track(link.path);
  });
  Zarn::onDeepLink(nullptr);
  [[maybe_unused]] const bool isLink =
      Zarn::handleURL("shop://cart") && Zarn::handleURL(std::string_view(token)) &&
      Zarn::handleUserActivity({.activityType = std::string(zarn::UserActivity::kBrowsingWeb),
                                .webpageUrl = "https://shop.example/"});
  Zarn::handleSceneConnection({.urls = {"shop://cart"}});
  Zarn::resolveLink("https://shop.example/", [](std::optional<zarn::ZarnDeepLink> link) {
    if (link) Zarn::track(zarn::rawValue(link->source));
  });
  Zarn::setAdvertisingConsent("granted");
  Zarn::setAdvertisingConsent(std::nullopt);
  Zarn::setPushToken(token, zarn::PushProvider::firebase);
  Zarn::logPushTokenInvalidated("token", zarn::PushProvider::apns);
  Zarn::logPushReceived(userInfo, "active");
  Zarn::logPushOpened({{"aps", zarn::Properties{{"alert", "hello"}}}});
  Zarn::logPushOpened(userInfo, "default");
  Zarn::logPushDismissed(userInfo);
  Zarn::logPushAction(userInfo, token);
}

void stepsAndConversions() {
  Zarn::addBreadcrumb({.category = "ui", .message = "Tap: Buy"});
  Zarn::addBreadcrumb(
      {.category = "ui", .message = "Tap: Buy", .data = {{"id", 3}}, .level = "info"});
  zarn::ZarnSKAN& skan = Zarn::skan();
  skan.acceptSchema({});
  skan.acceptSchema({.model = zarn::ZarnSKAN::CvSchema::Model::raw, .lockWindowOnPurchase = false});
  if (skan.updateConversionValue(7) && skan.recordConversionEvent("purchase", 19.99)) {
    skan.updateConversionValue(12, zarn::ZarnCoarseConversionValue::high, true);
  }
  Zarn::track("skan", {{"fine", skan.status().currentFine}});
}

class OwnDelegate : public zarn::NetworkDelegate {
 public:
  void didFinishCollectingMetrics(const zarn::NetworkTask&,
                                  const zarn::NetworkMetrics& metrics) override {
    Zarn::track("request", {{"status", metrics.status}});
  }
};

#if __has_include(<curl/curl.h>)
void transfer(CURL* curl) {
  auto observation = zarn::desktop::observe(curl);
  observation.finished(curl_easy_perform(curl));
  observation = zarn::desktop::observe(curl, std::make_shared<OwnDelegate>());
}
#endif

void requests() {
  const zarn::NetworkTask task;
  const auto proxy = Zarn::networkDelegate();
  const auto around = Zarn::networkDelegate(std::make_shared<OwnDelegate>());
  around->didFinishCollectingMetrics(task, {.url = "https://api.shop.example/", .status = 200});
  proxy->didFinishCollectingMetrics(zarn::NetworkTask(),
                                    {.url = "https://api.shop.example/",
                                     .method = "POST",
                                     .hasError = true,
                                     .duration = 0.2,
                                     .bytesSent = 10,
                                     .transactions = {{.fetchStart = 0.0, .responseStart = 0.1}}});
  around->didBecomeInvalid("");
  if (around->wrapped() == nullptr) Zarn::track("gone");
}

void everyValue(const shop::Order& order, std::string moved) {
  using namespace std::chrono;
  const std::string_view view = "view";
  const std::filesystem::path path = "file";
  const bool yes = true;
  Zarn::track("values", {{"null", nullptr},
                         {"bool", yes},
                         {"bool of a vector", order.giftWrap[0]},
                         {"bit", order.express},
                         {"constant", shop::Order::kLimit},
                         {"int", 1},
                         {"unsigned", 1u},
                         {"long", 1L},
                         {"unsigned long long", std::numeric_limits<unsigned long long>::max()},
                         {"int8", std::int8_t{1}},
                         {"uint8", std::uint8_t{1}},
                         {"size", moved.size()},
                         {"float", 1.5f},
                         {"double", 1.5},
                         {"long double", 1.5L},
                         {"literal", "text"},
                         {"view", view},
                         {"moved", std::move(moved)},
                         {"path", path},
                         {"converts to text", shop::Sku()},
                         {"date", system_clock::now()},
                         {"day", zarn::Date(sys_days(2024y / March / 9))},
                         {"url", zarn::Url{"https://shop.example/cart"}},
                         {"uuid", zarn::Uuid::parse("00112233-4455-6677-8899-AABBCCDDEEFF")},
                         {"decimal", zarn::Decimal{"19.99"}},
                         {"array", zarn::Array{1, "two", 3.0, zarn::Array{}, nullptr}},
                         {"map", zarn::Properties{{"b", 1}, {"c", zarn::Properties{}}}},
                         {"enum with to_string", shop::Tier::gold},
                         {"class with to_string", shop::Money{599}},
                         {"optional", order.discount},
                         {"value", zarn::Value(7)},
                         {"empty", {}}});
}

void buildProperties(const std::map<std::string, int>& counts) {
  zarn::Properties properties;
  properties.reserve(counts.size());
  for (const auto& [key, count] : counts) properties.set(key, count);
  properties.set("list", zarn::Array(3, "same"));
  zarn::Array list;
  list.push_back("a");
  list.emplace_back(zarn::Properties{{"b", 1}});
  properties.set("list", std::move(list));
  if (const zarn::Value* found = properties.find("list")) {
    if (found->asArray() != nullptr && *found != nullptr) properties.erase("list");
  }
  for (const auto& [key, value] : properties) {
    if (value == 3 || value.asString() == "x") Zarn::track(key, {{"copy", value}});
  }
  const zarn::Properties copy = properties;
  if (copy == properties && !copy.empty()) Zarn::track("same", std::move(properties));
}

}  // namespace

void useAll(const shop::Order& order) {
  start();
  everyOption();
  record("name", "pro");
  businessEvents(std::nullopt);
  theUser("key");
  linksAndPushes({}, "token");
  stepsAndConversions();
  requests();
#if __has_include(<curl/curl.h>)
  transfer(nullptr);
#endif
  everyValue(order, "text");
  buildProperties({{"a", 1}});
}
