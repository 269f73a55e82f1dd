#include "core/typed_events.h"

#include <algorithm>

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {

std::string_view rawValue(SubscriptionInterval interval) noexcept {
  switch (interval) {
    case SubscriptionInterval::day:
      return "day";
    case SubscriptionInterval::week:
      return "week";
    case SubscriptionInterval::month:
      return "month";
    case SubscriptionInterval::year:
      return "year";
  }
  return {};
}

}  // namespace ZARN_VERSION_NAMESPACE

namespace core {
namespace {

/// The event with the host's properties merged over the named arguments.
NamedEvent merged(std::string_view name, Properties arguments, const Properties& properties) {
  for (const auto& [key, value] : properties) arguments.set(key, value);
  return {name, std::move(arguments)};
}

template <typename T>
void setIfPresent(Properties& arguments, std::string_view key, const std::optional<T>& value) {
  if (value) arguments.set(key, *value);
}

}  // namespace

NamedEvent eventOf(const Purchase& purchase) {
  Properties arguments{{"amount", purchase.amount}, {"currency", purchase.currency}};
  setIfPresent(arguments, "product_id", purchase.productId);
  setIfPresent(arguments, "product_name", purchase.productName);
  setIfPresent(arguments, "quantity", purchase.quantity);
  return merged("purchase", std::move(arguments), purchase.properties);
}

NamedEvent eventOf(const SubscriptionStart& start) {
  return merged("subscribe_start",
                {{"plan", start.plan},
                 {"amount", start.amount},
                 {"currency", start.currency},
                 {"interval", rawValue(start.interval)}},
                start.properties);
}

NamedEvent eventOf(const TrialStart& start) {
  return merged("trial_start", {{"plan", start.plan}, {"trial_days", start.days}},
                start.properties);
}

NamedEvent eventOf(const Cancellation& cancellation) {
  Properties arguments{{"plan", cancellation.plan}};
  setIfPresent(arguments, "reason", cancellation.reason);
  return merged("cancel", std::move(arguments), cancellation.properties);
}

NamedEvent eventOf(const Upgrade& upgrade) {
  return merged("upgrade", {{"from_plan", upgrade.fromPlan}, {"to_plan", upgrade.toPlan}},
                upgrade.properties);
}

NamedEvent eventOf(const Signup& signup) {
  Properties arguments;
  setIfPresent(arguments, "method", signup.method);
  setIfPresent(arguments, "plan", signup.plan);
  return merged("signup", std::move(arguments), signup.properties);
}

NamedEvent eventOf(const Activation& activation) {
  Properties arguments;
  setIfPresent(arguments, "activation_event", activation.event);
  return merged("activation", std::move(arguments), activation.properties);
}

NamedEvent eventOf(const Share& share) {
  Properties arguments{{"channel", share.channel}};
  setIfPresent(arguments, "content_id", share.contentId);
  return merged("share", std::move(arguments), share.properties);
}

NamedEvent eventOf(const Invite& invite) {
  Properties arguments;
  setIfPresent(arguments, "channel", invite.channel);
  setIfPresent(arguments, "recipient_count", invite.recipientCount);
  return merged("invite", std::move(arguments), invite.properties);
}

bool isGoalName(std::string_view name) {
  return name.size() >= 3 && name.size() <= 64 && std::all_of(name.begin(), name.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
         });
}

Properties propertiesOf(const Goal& goal) {
  Properties properties = goal.properties;
  setIfPresent(properties, "$goal_value", goal.value);
  setIfPresent(properties, "$goal_currency", goal.currency);
  return properties;
}

}  // namespace core
}  // namespace zarn
