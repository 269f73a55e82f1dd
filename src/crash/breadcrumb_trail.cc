#include "crash/breadcrumb_trail.h"

#include <utility>

#include "base/iso8601.h"
#include "base/json.h"
#include "base/members.h"

namespace zarn::crash {

std::string encodeBreadcrumb(const TimedBreadcrumb& breadcrumb) {
  const Breadcrumb& crumb = breadcrumb.crumb;
  std::string out;
  base::JsonWriter json(out);
  json.beginObject()
      .member("timestamp", breadcrumb.timestamp)
      .member("category", crumb.category)
      .member("message", crumb.message);
  if (!crumb.data.empty()) json.key("data").object(crumb.data);
  json.member("level", crumb.level).endObject();
  return out;
}

std::optional<TimedBreadcrumb> decodeBreadcrumb(std::string_view json) {
  const auto parsed = base::parseJson(json);
  const Properties* object = parsed ? parsed->asProperties() : nullptr;
  if (object == nullptr) return std::nullopt;
  auto timestamp = base::stringMember(*object, "timestamp");
  auto category = base::stringMember(*object, "category");
  auto message = base::stringMember(*object, "message");
  auto level = base::stringMember(*object, "level");
  if (!timestamp || !category || !message || !level) return std::nullopt;
  TimedBreadcrumb read{.timestamp = *std::move(timestamp),
                       .crumb = {.category = *std::move(category),
                                 .message = *std::move(message),
                                 .level = *std::move(level)}};
  if (const Value* data = object->find("data"); data != nullptr && !data->isNull()) {
    if (data->asProperties() == nullptr) return std::nullopt;
    read.crumb.data = *data->asProperties();
  }
  return read;
}

BreadcrumbTrail::BreadcrumbTrail() {
  trail_.reserve(kMaxSize);
}

void BreadcrumbTrail::add(Breadcrumb crumb, Date now) {
  TimedBreadcrumb added{base::iso8601Milliseconds(now).str(), std::move(crumb)};
  TimedBreadcrumb removed;  // destroyed after the lock
  base::MutexLock lock(lock_);
  if (trail_.size() >= kMaxSize) {
    removed = std::move(trail_.front());
    trail_.erase(trail_.begin());
  }
  trail_.push_back(std::move(added));
}

std::vector<TimedBreadcrumb> BreadcrumbTrail::trail() const {
  base::MutexLock lock(lock_);
  return trail_;
}

}  // namespace zarn::crash
