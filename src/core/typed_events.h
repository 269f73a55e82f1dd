// The events behind the typed calls: fixed names, and properties made from named arguments, over
// which the host's own win.
#pragma once

#include <string_view>

#include "zarn/typed_events.h"

namespace zarn::core {

struct NamedEvent {
  std::string_view name;
  Properties properties;
};

NamedEvent eventOf(const Purchase& purchase);
NamedEvent eventOf(const SubscriptionStart& start);
NamedEvent eventOf(const TrialStart& start);
NamedEvent eventOf(const Cancellation& cancellation);
NamedEvent eventOf(const Upgrade& upgrade);
NamedEvent eventOf(const Signup& signup);
NamedEvent eventOf(const Activation& activation);
NamedEvent eventOf(const Share& share);
NamedEvent eventOf(const Invite& invite);

/// 3 to 64 of the characters a-z, 0-9, "_" and "-".
bool isGoalName(std::string_view name);
/// Here the named arguments win.
Properties propertiesOf(const Goal& goal);

}  // namespace zarn::core
