#include "links/skan.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/ad_network.h"
#include "platform/clock.h"
#include "platform/defaults.h"

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {

std::string_view rawValue(ZarnCoarseConversionValue value) noexcept {
  switch (value) {
    case ZarnCoarseConversionValue::none:
      return "none";
    case ZarnCoarseConversionValue::low:
      return "low";
    case ZarnCoarseConversionValue::medium:
      return "medium";
    case ZarnCoarseConversionValue::high:
      return "high";
  }
  return {};
}

}  // namespace ZARN_VERSION_NAMESPACE

namespace links {
namespace {

constexpr int kHighestFine = 63;

/// What is no number counts as 0.
int clampedFine(double value) {
  return value > 0 ? static_cast<int>(std::min<double>(value, kHighestFine)) : 0;
}

bool areUsable(const std::vector<double>& buckets) {
  return buckets.size() >= 2 &&
         std::all_of(buckets.begin(), buckets.end(), [](double b) { return std::isfinite(b); }) &&
         std::is_sorted(buckets.begin(), buckets.end());
}

}  // namespace

int fineValue(const ZarnSKAN::CvSchema& schema, std::optional<double> revenue) {
  if (schema.model == ZarnSKAN::CvSchema::Model::raw) return clampedFine(revenue.value_or(0));
  const double amount = revenue && *revenue > 0 ? *revenue : 0;
  const std::vector<double> defaults = ZarnSKAN::CvSchema().buckets;
  const auto& buckets = areUsable(schema.buckets) ? schema.buckets : defaults;
  const auto above = std::upper_bound(buckets.begin(), buckets.end(), amount);
  return clampedFine(static_cast<double>(above - buckets.begin()) - 1);
}

Skan::Skan(platform::Defaults& defaults, platform::AdNetwork& adNetwork,
           const platform::Clock& clock, std::string expectedEndpoint, bool internalDevForced,
           DebugLine debugLine)
    : defaults_(defaults),
      adNetwork_(adNetwork),
      clock_(clock),
      expectedEndpoint_(std::move(expectedEndpoint)),
      internalDevForced_(internalDevForced),
      debugLine_(std::move(debugLine)) {}

void Skan::acceptSchema(const ZarnSKAN::CvSchema& schema) {
  ZarnSKAN::CvSchema accepted = schema;  // copied, and the old one destroyed, outside of the lock
  base::MutexLock lock(lock_);
  std::swap(schema_, accepted);
  enabled_ = true;
  schemaAcknowledged_ = true;
}

bool Skan::updateConversionValue(int fine, ZarnCoarseConversionValue coarse, bool lockWindow) {
  fine = std::clamp(fine, 0, kHighestFine);
  {
    base::MutexLock lock(lock_);
    const Decision decision = decideLocked(fine, lockWindow);
    if (decision != Decision::apply) return decision == Decision::keep;
  }
  if (auto error = applyConversionValue(fine, coarse, lockWindow)) {
    base::MutexLock lock(lock_);
    lastError_ = std::move(error);
    return false;
  }
  return store(fine, lockWindow);
}

Skan::Decision Skan::decideLocked(int fine, bool lockWindow) {
  const char* refusal = nullptr;
  if (!enabled_) {
    refusal = "skan_disabled";
  } else if (!schemaAcknowledged_) {
    refusal = "cv_schema_not_acknowledged";
  } else if (isWindowClosed()) {
    refusal = "window_closed";
  }
  if (refusal != nullptr) {
    lastError_ = refusal;
    return Decision::refuse;
  }
  return fine < currentFine() && !lockWindow ? Decision::keep : Decision::apply;
}

/// The ad network is told without the lock, so another thread may have been here meanwhile.
bool Skan::store(int fine, bool lockWindow) {
  {
    base::MutexLock lock(lock_);
    const Decision decision = decideLocked(fine, lockWindow);
    if (decision != Decision::apply) return decision == Decision::keep;
    defaults_.set(kCurrentFineKey, static_cast<double>(fine));
    lastSet_ = fine;
    lastError_.reset();
    if (lockWindow) {
      defaults_.set(kWindowClosedKey, true);
      lockedAt_ = clock_.now();
    }
  }
  defaults_.commit();
  return true;
}

std::optional<std::string> Skan::applyConversionValue(int fine, ZarnCoarseConversionValue coarse,
                                                      bool lockWindow) {
  const auto word = coarse == ZarnCoarseConversionValue::none
                        ? std::nullopt
                        : std::optional<std::string_view>(rawValue(coarse));
  return adNetwork_.updateConversionValue(
      fine, word, lockWindow, base::weakly(scope_, [this](const std::string& description) {
        debugLine_("[Zarn] SKAN updatePostbackConversionValue async error: " + description);
      }));
}

bool Skan::recordConversionEvent(std::optional<double> revenue) {
  int fine = 0;
  bool lockWindow = false;
  {
    base::MutexLock lock(lock_);
    fine = fineValue(schema_, revenue);
    lockWindow = revenue && schema_.lockWindowOnPurchase;
  }
  return updateConversionValue(fine, ZarnCoarseConversionValue::none, lockWindow);
}

ZarnSKAN::SkanStatus Skan::status() const {
  base::MutexLock lock(lock_);
  return {.enabled = enabled_,
          .cvSchemaConfigured =
              schema_.model == ZarnSKAN::CvSchema::Model::revenueBuckets || schemaAcknowledged_,
          .currentFine = currentFine(),
          .windowOpen = !isWindowClosed(),
          .lastConversionValueSet = lastSet_,
          .lastUpdateError = lastError_,
          .lockedAt = lockedAt_,
          .expectedReportEndpoint = expectedEndpoint_,
          .internalDevForced = internalDevForced_};
}

int Skan::currentFine() const {
  return clampedFine(defaults_.getDouble(kCurrentFineKey).value_or(0));
}

/// Settings that can't be read may say so.
bool Skan::isWindowClosed() const {
  const auto closed = defaults_.getBool(kWindowClosedKey);
  return closed ? *closed : defaults_.mayHold(kWindowClosedKey);
}

}  // namespace links
}  // namespace zarn
