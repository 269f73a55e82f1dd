// Business events with fixed names and keys. Each is one aggregate whose optional fields add their
// key only when they are set; where `properties` has the same key, that one is sent.
//
//   Zarn::trackPurchase({.amount = 9.99, .currency = "EUR", .quantity = 2});
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zarn/export.h"
#include "zarn/value.h"

ZARN_NAMESPACE_BEGIN

enum class SubscriptionInterval : std::uint8_t { day, week, month, year };

/// "day", "week", "month" or "year".
ZARN_API std::string_view rawValue(SubscriptionInterval interval) noexcept;

struct Purchase {
  double amount = 0;  // in units of the currency
  std::string currency = {};
  std::optional<std::string> productId = std::nullopt;
  std::optional<std::string> productName = std::nullopt;
  std::optional<std::int64_t> quantity = std::nullopt;
  Properties properties = {};
};

struct SubscriptionStart {
  std::string plan = {};
  double amount = 0;
  std::string currency = {};
  SubscriptionInterval interval = SubscriptionInterval::month;
  Properties properties = {};
};

struct TrialStart {
  std::string plan = {};
  std::int64_t days = 0;
  Properties properties = {};
};

struct Cancellation {
  std::string plan = {};
  std::optional<std::string> reason = std::nullopt;
  Properties properties = {};
};

struct Upgrade {
  std::string fromPlan = {};
  std::string toPlan = {};
  Properties properties = {};
};

struct Signup {
  std::optional<std::string> method = std::nullopt;
  std::optional<std::string> plan = std::nullopt;
  Properties properties = {};
};

struct Activation {
  std::optional<std::string> event = std::nullopt;
  Properties properties = {};
};

struct Share {
  std::string channel = {};
  std::optional<std::string> contentId = std::nullopt;
  Properties properties = {};
};

struct Invite {
  std::optional<std::string> channel = std::nullopt;
  std::optional<std::int64_t> recipientCount = std::nullopt;
  Properties properties = {};
};

struct Goal {
  std::optional<double> value = std::nullopt;
  std::optional<std::string> currency = std::nullopt;
  /// Here `value` and `currency` win over the keys "$goal_value" and "$goal_currency".
  Properties properties = {};
};

ZARN_NAMESPACE_END
