// The JSON form of one event.
#pragma once

#include <string>
#include <string_view>

#include "base/json.h"
#include "model/event.h"

namespace zarn::model {

/// What an event consists of but its properties. The members are JSON text without braces, made
/// when what they tell last changed.
struct EventFields {
  std::string_view eventId;
  std::string_view idMembers;  // "device_id" to "user_id"
  std::string_view sessionId;
  std::string_view fingerprintMember;
  EventType type;
  std::string_view name;
  Date time;
  std::string_view context;  // a whole JSON object
};

/// All up to the first property, and all after the last.
void beginEvent(base::JsonWriter& json, const EventFields& fields);
void endEvent(base::JsonWriter& json, const EventFields& fields);

/// Appends the event to `out`; `writeProperties(json)` writes the members of "properties".
template <typename F>
void encodeEvent(std::string& out, const EventFields& fields, F&& writeProperties) {
  base::JsonWriter json(out);
  beginEvent(json, fields);
  writeProperties(json);
  endEvent(json, fields);
}

}  // namespace zarn::model
