// PropertySanitizer: what of an event's properties may leave the device. Text passes the filter for
// personal data, save where the host gave it for just that purpose; what the library made itself,
// and anything that is no text, stays as it is.
#pragma once

#include <string_view>

#include "base/json.h"
#include "model/event.h"
#include "zarn/value.h"

namespace zarn::redaction {
class PiiFilter;
}

namespace zarn::runtime {

/// What an event's type allows.
struct SanitizingRules {
  /// Attribution identifiers of any form pass; otherwise only UUIDs do.
  bool attributionAllowed = false;
  /// Traits such as "email" pass, but only those of the call itself.
  bool piiKeysAllowed = false;
};

constexpr SanitizingRules sanitizingRules(model::EventType type) {
  using model::EventType;
  return {.attributionAllowed = type == EventType::deepLink || type == EventType::install,
          .piiKeysAllowed = type == EventType::userProperty || type == EventType::identify};
}

/// Any thread. No key is removed.
class PropertySanitizer {
 public:
  explicit PropertySanitizer(const redaction::PiiFilter& filter) : filter_(filter) {}

  /// Writes one member of an object, sanitised. `isOwn`: the call itself gave it, as against a
  /// super property.
  void write(base::JsonWriter& json, std::string_view key, const Value& value,
             SanitizingRules rules, bool isOwn) const;

 private:
  void writeScrubbed(base::JsonWriter& json, const Value& value) const;
  void writeScrubbedText(base::JsonWriter& json, std::string_view text) const;

  const redaction::PiiFilter& filter_;
};

}  // namespace zarn::runtime
