#include "runtime/property_sanitizer.h"

#include <algorithm>
#include <array>

#include "base/value_access.h"
#include "redaction/pii_filter.h"

namespace zarn::runtime {
namespace {

constexpr std::array<std::string_view, 6> kAttributionKeys = {
    "advertising_id", "idfa", "gaid", "rdid", "zarn_click_id", "zarn_link_id"};

constexpr std::array<std::string_view, 12> kPiiKeys = {
    "$email", "$phone", "$name", "$first_name", "$last_name", "$avatar_url",
    "email",  "phone",  "name",  "first_name",  "last_name",  "avatar_url"};

template <typename Keys>
bool contains(const Keys& keys, std::string_view key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

bool isTextOrNumber(const Value& value) {
  return value.asString() || value.asInt() || value.asDouble() || value.asDecimal() != nullptr;
}

bool isUuidText(const Value& value) {
  const auto text = value.asString();
  return text && Uuid::parse(*text).has_value();
}

bool passesUntouched(std::string_view key, const Value& value, SanitizingRules rules, bool isOwn) {
  if (rules.piiKeysAllowed && isOwn && contains(kPiiKeys, key) && isTextOrNumber(value))
    return true;
  return contains(kAttributionKeys, key) && (rules.attributionAllowed || isUuidText(value));
}

}  // namespace

void PropertySanitizer::write(base::JsonWriter& json, std::string_view key, const Value& value,
                              SanitizingRules rules, bool isOwn) const {
  json.key(key);
  if (passesUntouched(key, value, rules, isOwn)) {
    json.value(value);
  } else {
    writeScrubbed(json, value);
  }
}

void PropertySanitizer::writeScrubbed(base::JsonWriter& json, const Value& value) const {
  if (const auto text = value.asString()) {
    writeScrubbedText(json, *text);
  } else if (const Url* url = value.asUrl()) {
    writeScrubbedText(json, url->text);
  } else if (const Array* array = value.asArray()) {
    json.beginArray();
    for (const Value& element : *array) writeScrubbed(json, element);
    json.endArray();
  } else if (const Properties* properties = value.asProperties()) {
    json.beginObject();
    for (const auto& [key, member] : *properties) write(json, key, member, {}, false);
    json.endObject();
  } else {
    json.value(value);
  }
}

void PropertySanitizer::writeScrubbedText(base::JsonWriter& json, std::string_view text) const {
  json.string(filter_.scrubBounded(text).text);
}

}  // namespace zarn::runtime
