// Plants secrets in every input of the API: egress_host API_HOST DATA ORDERS
#include "orders.h"
#include "planted.h"
#include "zarn/desktop.h"

using zarn::Array;
using zarn::Properties;
using zarn::StandardProperty;
using zarn::Zarn;
using namespace zarn::testing;

namespace {

/// One secret of each kind, by itself and all in one text.
Properties planted(std::string_view place) {
  // The places share no keys: of two values under one, only the last would be kept.
  const std::string prefix = std::string(place) + ": ";
  Properties properties{{prefix + "all", sentence(place)}};
  for (const std::string_view kind : kKinds)
    properties.set(prefix + std::string(kind), secret(kind, place).text);
  return properties;
}

Array plantedArray(std::string_view place) {
  Array array{sentence(place)};
  for (const std::string_view kind : kKinds) array.push_back(secret(kind, place).text);
  return array;
}

Properties threeDeep(std::string_view place) {
  return {{std::string(place), Properties{{"two", Properties{{"three", planted(place)},
                                                             {"email", sentence(place)},
                                                             {"list", Array{planted(place)}}}}}}};
}

Properties with(Properties properties, const Properties& more) {
  for (const auto& [key, value] : more) properties.set(key, value);
  return properties;
}

Properties governed(std::string_view call) {
  Properties properties;
  for (const auto& [key, flag] : kGovernedKeys) {
    const std::string marked = "$" + std::string(key);
    properties.set(key, governedWord(call, key));
    properties.set(marked, governedWord(call, marked));
  }
  return properties;
}

void plantUser() {
  Zarn::setSuperProperties(planted("super property"));
  Zarn::setSuperProperty("deep", threeDeep("super property, three deep"));
  Zarn::setSuperProperty("alone", sentence("super property, set alone"));
  Zarn::setExperimentVariant("colours", sentence("experiment variant"));
  Zarn::setExperimentVariant(kExperiment, "a");
  Zarn::identify(kUserId,
                 with(with(planted("trait"), threeDeep("trait, three deep")), governed("trait")));
  Zarn::setUserProperties(with(planted("user property"), threeDeep("user property, three deep")));
  Zarn::setUserProperties(governed("property"));
  Zarn::setUserProperties(
      {{"$avatar_url", kAvatar}, {"home", Properties{{"first_name", kNestedGoverned}}}});
  Zarn::group(sentence("group id"), planted("group trait"));
}

void plantEvents() {
  Properties all = with(planted("event property"), threeDeep("event property, three deep"));
  all.set("list", plantedArray("array in an event property"));
  all.set("lists", Array{Array{plantedArray("array of arrays")}});
  for (const std::string_view kind : kKinds) {
    all.set("url of " + std::string(kind),
            zarn::Url{"https://shop.example/?q=" + secret(kind, "URL").text});
  }
  all.set("url", zarn::Url{"https://shop.example/" + sentence("URL")});
  all.set("email", secret("e-mail", "event property").text);
  all.set("broken", "\xff\xc3 " + sentence("broken UTF-8").substr(0, 250) + " \xed\xa0\x80");
  all.set("idfa", sentence("attribution key"));
  all.set(kPropertyKey, true);
  all.set("long", std::string(256, '.') + std::string(kLateText));
  all.set("number", kCardAsNumber);
  all.set("torn", kTornToken);
  Zarn::track("marker", all);
  Zarn::track(kEventName);
}

void plantTypedCalls() {
  Zarn::trackPurchase({.currency = sentence("purchase currency"),
                       .productId = sentence("purchase product"),
                       .productName = sentence("purchase product"),
                       .properties = planted("typed call's property")});
  Zarn::trackSubscriptionStart(
      {.plan = sentence("subscription plan"), .currency = sentence("subscription plan")});
  Zarn::trackTrialStart({.plan = sentence("trial plan")});
  Zarn::trackCancel(
      {.plan = sentence("cancellation reason"), .reason = sentence("cancellation reason")});
  Zarn::trackUpgrade({.fromPlan = sentence("upgrade plan"), .toPlan = sentence("upgrade plan")});
  Zarn::trackSignup({.method = sentence("signup method"), .plan = sentence("signup method")});
  Zarn::trackActivation({.event = sentence("activation event")});
  Zarn::trackShare({.channel = sentence("share channel"), .contentId = sentence("share channel")});
  Zarn::trackInvite({.channel = sentence("invite channel")});
  Zarn::markGoal(kGoal,
                 {.currency = sentence("goal currency"), .properties = planted("goal property")});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  zarn::desktop::describeHost({.bundleId = std::string(kBundleId),
                               .name = std::string(kAppName),
                               .version = "1.0",
                               .dataDirectory = argv[2]});
  Zarn::configure("wk_test_x_egress_" + std::string(kWriteKeySecret),
                  {.apiHost = argv[1], .debug = true, .apiKeyOverride = std::string(kApiKey)});
  auto orders = commonOrders();
  orders["plant"] = [](const std::string&) {
    plantUser();
    plantEvents();
    plantTypedCalls();
    Zarn::setUserProperty(StandardProperty::email, kOwnEmail);
    return "done";
  };
  follow(argv[3], orders);
}
