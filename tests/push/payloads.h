// Payloads that the tests of push messages have in common.
#pragma once

#include <string>

#include "base/json.h"
#include "zarn/value.h"

namespace zarn::push {

inline Properties payload(std::string_view json) {
  return *base::parseJson(json).value().asProperties();
}

inline std::string encoded(const Properties& properties) {
  std::string out;
  base::JsonWriter(out).object(properties);
  return out;
}

inline Properties payloadWithId(const std::string& id) {
  return {{"zarn", Properties{{"send_id", id}}}};
}

/// A message with all that a payload may hold.
inline Properties richPayload() {
  return payload(R"({
    "aps": {"alert": {"title": " Sale\n", "body": "Half price", "subtitle": "Today"},
            "category": "offer", "thread-id": "thread-1", "mutable-content": 1},
    "zarn": {"send_id": "6f9619ff-8b86-4011-b42d-00c04fc964ff", "delivery_id": "d1",
             "campaign_id": "spring", "job_id": "j1",
             "deep_link": "https://shop.example/cart?u=7"},
    "apns-collapse-id": "c1", "apns-id": "a1", "secret": "swordfish"})");
}

}  // namespace zarn::push
