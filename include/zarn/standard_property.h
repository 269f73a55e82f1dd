// User properties with a meaning that the server knows.
#pragma once

#include <cstdint>
#include <string_view>

#include "zarn/export.h"

ZARN_NAMESPACE_BEGIN

enum class StandardProperty : std::uint8_t {
  email,
  phone,
  name,
  firstName,
  lastName,
  avatarUrl,
  country,
  city,
  region,
  timezone,
  language,
  locale,
  created,
  lastSeen,
  plan,
  subscriptionStatus,
  trialEnds,
  mrr,
  lifetimeOrders,
  lifetimeRevenue,
  aov,
  lastPurchase,
  firstPurchase,
  cartAbandonedCount,
  contentTier,
  subscribedCategories,
  watchTimeTotal,
  lastPlayed,
  sellerTier,
  buyerTier,
  listingsCount,
  reviewsCount,
  verified,
  loyaltyPoints,
  vipLevel,
  referralCount,
  subscriptionStarted,
};

/// What kind of app a standard property is for.
enum class StandardPropertyPack : std::uint8_t {
  identity,
  geo,
  lifecycle,
  saas,
  ecommerce,
  media,
  marketplace,
  loyalty,
};

/// The key on the wire, such as "$first_name".
ZARN_API std::string_view rawValue(StandardProperty property) noexcept;
ZARN_API std::string_view rawValue(StandardPropertyPack pack) noexcept;
ZARN_API StandardPropertyPack pack(StandardProperty property) noexcept;

ZARN_NAMESPACE_END
