#include "model/stored_event.h"

#include "base/iso8601.h"
#include "base/json.h"

namespace zarn::model {
namespace {

bool isString(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr && value->asString().has_value();
}

bool isObject(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr && value->asProperties() != nullptr;
}

bool hasEventShape(const Properties& event) {
  for (const auto key : {"event_id", "device_id", "anonymous_id", "session_id", "fingerprint",
                         "event_type", "event_name", "timestamp"}) {
    if (!isString(event, key)) return false;
  }
  const Value* userId = event.find("user_id");
  if (userId != nullptr && !userId->asString()) return false;
  return isObject(event, "properties") && isObject(event, "context") &&
         eventTypeFromWire(*event.find("event_type")->asString()).has_value();
}

}  // namespace

std::optional<EncodedEvent> readStoredEvent(std::string json) {
  const auto parsed = base::parseJson(json);
  const Properties* event = parsed ? parsed->asProperties() : nullptr;
  if (event == nullptr || !hasEventShape(*event)) return std::nullopt;
  const auto time = base::parseIso8601(*event->find("timestamp")->asString());
  if (!time) return std::nullopt;
  EncodedEvent read;
  read.id = *event->find("event_id")->asString();
  read.name = *event->find("event_name")->asString();
  read.time = *time;
  read.json = std::make_shared<const std::string>(std::move(json));
  return read;
}

}  // namespace zarn::model
