#include "model/event_encoder.h"

#include "base/iso8601.h"

namespace zarn::model {

void beginEvent(base::JsonWriter& json, const EventFields& fields) {
  json.beginObject()
      .member("event_id", fields.eventId)
      .raw(fields.idMembers)
      .member("session_id", fields.sessionId)
      .raw(fields.fingerprintMember)
      .member("event_type", wireName(fields.type))
      .member("event_name", fields.name)
      .key("properties")
      .beginObject();
}

void endEvent(base::JsonWriter& json, const EventFields& fields) {
  json.endObject()
      .member("timestamp", base::iso8601Seconds(fields.time))
      .key("context")
      .raw(fields.context)
      .endObject();
}

}  // namespace zarn::model
