#include "zarn/standard_property.h"

#include <array>

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {
namespace {

using Pack = StandardPropertyPack;

struct Row {
  StandardProperty property;
  std::string_view rawValue;
  Pack pack;
};

constexpr Row kRows[] = {
    {StandardProperty::email, "$email", Pack::identity},
    {StandardProperty::phone, "$phone", Pack::identity},
    {StandardProperty::name, "$name", Pack::identity},
    {StandardProperty::firstName, "$first_name", Pack::identity},
    {StandardProperty::lastName, "$last_name", Pack::identity},
    {StandardProperty::avatarUrl, "$avatar_url", Pack::identity},
    {StandardProperty::country, "$country", Pack::geo},
    {StandardProperty::city, "$city", Pack::geo},
    {StandardProperty::region, "$region", Pack::geo},
    {StandardProperty::timezone, "$timezone", Pack::geo},
    {StandardProperty::language, "$language", Pack::geo},
    {StandardProperty::locale, "$locale", Pack::geo},
    {StandardProperty::created, "$created", Pack::lifecycle},
    {StandardProperty::lastSeen, "$last_seen", Pack::lifecycle},
    {StandardProperty::plan, "$plan", Pack::saas},
    {StandardProperty::subscriptionStatus, "$subscription_status", Pack::saas},
    {StandardProperty::trialEnds, "$trial_ends", Pack::saas},
    {StandardProperty::mrr, "$mrr", Pack::saas},
    {StandardProperty::lifetimeOrders, "$lifetime_orders", Pack::ecommerce},
    {StandardProperty::lifetimeRevenue, "$lifetime_revenue", Pack::ecommerce},
    {StandardProperty::aov, "$aov", Pack::ecommerce},
    {StandardProperty::lastPurchase, "$last_purchase", Pack::ecommerce},
    {StandardProperty::firstPurchase, "$first_purchase", Pack::ecommerce},
    {StandardProperty::cartAbandonedCount, "$cart_abandoned_count", Pack::ecommerce},
    {StandardProperty::contentTier, "$content_tier", Pack::media},
    {StandardProperty::subscribedCategories, "$subscribed_categories", Pack::media},
    {StandardProperty::watchTimeTotal, "$watch_time_total", Pack::media},
    {StandardProperty::lastPlayed, "$last_played", Pack::media},
    {StandardProperty::sellerTier, "$seller_tier", Pack::marketplace},
    {StandardProperty::buyerTier, "$buyer_tier", Pack::marketplace},
    {StandardProperty::listingsCount, "$listings_count", Pack::marketplace},
    {StandardProperty::reviewsCount, "$reviews_count", Pack::marketplace},
    {StandardProperty::verified, "$verified", Pack::marketplace},
    {StandardProperty::loyaltyPoints, "$loyalty_points", Pack::loyalty},
    {StandardProperty::vipLevel, "$vip_level", Pack::loyalty},
    {StandardProperty::referralCount, "$referral_count", Pack::loyalty},
    {StandardProperty::subscriptionStarted, "$subscription_started", Pack::saas},
};

constexpr bool rowsAreInOrder() {
  std::size_t at = 0;
  for (const Row& row : kRows) {
    if (static_cast<std::size_t>(row.property) != at++) return false;
  }
  return true;
}
static_assert(rowsAreInOrder(), "rows are looked up by the value of their property");

/// Null for a value that no enumerator has.
const Row* rowOf(StandardProperty property) {
  const auto at = static_cast<std::size_t>(property);
  return at < std::size(kRows) ? &kRows[at] : nullptr;
}

constexpr std::array<std::string_view, 8> kPackNames{
    "identity", "geo", "lifecycle", "saas", "ecommerce", "media", "marketplace", "loyalty"};

}  // namespace

std::string_view rawValue(StandardProperty property) noexcept {
  const Row* row = rowOf(property);
  return row != nullptr ? row->rawValue : std::string_view();
}

std::string_view rawValue(StandardPropertyPack pack) noexcept {
  const auto at = static_cast<std::size_t>(pack);
  return at < kPackNames.size() ? kPackNames[at] : std::string_view();
}

StandardPropertyPack pack(StandardProperty property) noexcept {
  const Row* row = rowOf(property);
  return row != nullptr ? row->pack : Pack::identity;
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn
