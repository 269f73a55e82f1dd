// Members of a JSON object that was read, each with the type it must have.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::base {

/// Nothing when the member is missing or of another type.
inline std::optional<std::string> stringMember(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  const auto text = value != nullptr ? value->asString() : std::nullopt;
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

/// False when the member is missing or of another type.
inline bool isTrue(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr && value->asBool().value_or(false);
}

}  // namespace zarn::base
