#include "push/push_attribution_store.h"

#include <chrono>
#include <cmath>
#include <utility>

#include "base/json.h"
#include "base/value_access.h"
#include "model/json_fields.h"
#include "platform/clock.h"
#include "platform/defaults.h"
#include "push/push_payload_sanitizer.h"
#include "redaction/pii_filter.h"

namespace zarn::model {

template <>
inline constexpr auto kFields<push::Attribution> =
    fields(Field{"pushId", &push::Attribution::pushId},
           Field{"campaignId", &push::Attribution::campaignId},
           Field{"deliveryId", &push::Attribution::deliveryId},
           Field{"jobId", &push::Attribution::jobId}, Field{"sendId", &push::Attribution::sendId},
           Field{"contentHash", &push::Attribution::contentHash},
           Field{"capturedAt", &push::Attribution::capturedAt});

}  // namespace zarn::model

namespace zarn::push {
namespace {

std::string encoded(const Attribution& attribution) {
  std::string out;
  base::JsonWriter(out).object(model::propertiesOf(attribution));
  return out;
}

std::optional<Attribution> decoded(const std::string& text) {
  const auto json = base::parseJson(text);
  if (!json) return std::nullopt;
  model::Misfit misfit;
  auto attribution = model::recordIn<Attribution>(*json, misfit);
  // Beyond it milliseconds since 1970 may not fit; nobody captures in the year 33,000.
  constexpr double kLatest = 1e12;
  const bool makesSense =
      attribution && !attribution->pushId.empty() && std::abs(attribution->capturedAt) < kLatest;
  return makesSense ? attribution : std::nullopt;
}

std::int64_t millisecondsOf(Date date) {
  return std::chrono::floor<std::chrono::milliseconds>(date).time_since_epoch().count();
}

/// Of what the library made itself, or of plain text as it may be told.
std::optional<std::string> textOf(const Value* value, const redaction::PiiFilter& filter) {
  if (value == nullptr) return std::nullopt;
  if (const std::string* opaque = base::ValueAccess::opaqueText(*value)) return *opaque;
  const auto text = value->asString();
  return text ? std::optional(filter.scrubBounded(*text).text) : std::nullopt;
}

}  // namespace

std::optional<Attribution> attributionTo(const Properties& opened,
                                         const std::optional<std::string>& sendId,
                                         const redaction::PiiFilter& filter) {
  const auto text = [&](std::string_view key) { return textOf(opened.find(key), filter); };
  auto pushId = text("push_id");
  if (!pushId || pushId->empty()) return std::nullopt;
  Attribution attribution{.pushId = *std::move(pushId),
                          .campaignId = text("zarn_campaign_id"),
                          .deliveryId = text("zarn_delivery_id"),
                          .jobId = text("zarn_job_id"),
                          .sendId = std::nullopt,
                          .contentHash = text("content_hash")};
  if (sendId) {
    const Value id = identifierValue(*sendId);
    attribution.sendId = textOf(&id, filter);
  }
  return attribution;
}

PushAttributionStore::PushAttributionStore(const std::string& projectId, double windowSeconds,
                                           platform::Defaults& defaults,
                                           const platform::Clock& clock)
    : defaultsKey_("zarn_push_attribution_" + projectId),
      windowSeconds_(windowSeconds),
      defaults_(defaults),
      clock_(clock) {
  restore();
}

void PushAttributionStore::restore() {
  base::MutexLock lock(lock_);
  const auto kept = defaults_.getString(defaultsKey_);
  if (!kept) return;
  auto attribution = decoded(*kept);
  if (!attribution || static_cast<double>(ageMs(*attribution)) > windowSeconds_ * 1000) {
    return defaults_.remove(defaultsKey_);
  }
  current_ = std::move(attribution);
  hasCurrent_ = true;
}

std::int64_t PushAttributionStore::ageMs(const Attribution& attribution) const {
  return millisecondsOf(clock_.now()) - std::llround(attribution.capturedAt * 1000);
}

bool PushAttributionStore::isInWindow(std::int64_t ageMs) const {
  return ageMs >= 0 && static_cast<double>(ageMs) <= windowSeconds_ * 1000;
}

void PushAttributionStore::replaceLocked(std::optional<Attribution> attribution) {
  current_ = std::move(attribution);
  hasCurrent_ = current_.has_value();
  if (current_) {
    defaults_.set(defaultsKey_, encoded(*current_));
  } else {
    defaults_.remove(defaultsKey_);
  }
}

Properties PushAttributionStore::attach() {
  Properties attached;
  if (!hasCurrent_.load(std::memory_order_acquire)) return attached;
  base::MutexLock lock(lock_);
  if (!current_) return attached;
  const std::int64_t age = ageMs(*current_);
  if (!isInWindow(age)) {
    replaceLocked(std::nullopt);
    return attached;
  }
  attached.reserve(7);
  attached.set("attribution_push_id", identifierValue(current_->pushId));
  attached.set("attribution_age_ms", age);
  const auto add = [&](std::string_view key, const std::optional<std::string>& id) {
    if (id) attached.set(key, identifierValue(*id));
  };
  add("attribution_delivery_id", current_->deliveryId);
  add("attribution_campaign_id", current_->campaignId);
  add("attribution_job_id", current_->jobId);
  add("attribution_send_id", current_->sendId);
  if (current_->contentHash) {
    attached.set("attribution_content_hash", base::ValueAccess::opaque(*current_->contentHash));
  }
  return attached;
}

void PushAttributionStore::capture(Attribution attribution) {
  attribution.capturedAt = static_cast<double>(millisecondsOf(clock_.now())) / 1000;
  base::MutexLock lock(lock_);
  replaceLocked(std::move(attribution));
}

void PushAttributionStore::clear() {
  base::MutexLock lock(lock_);
  replaceLocked(std::nullopt);
}

}  // namespace zarn::push
