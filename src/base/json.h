// JSON text, written straight into a string and read into values. The library behind it stays
// behind it: no header of ours pays for it.
//
//   std::string out;
//   JsonWriter json(out);
//   json.beginObject();
//   json.member("project_id", projectId);
//   json.key("batch").beginArray();
//   ...
//
// Text that is not valid UTF-8 is written with U+FFFD in place of each bad part; a number that is
// not finite is written as null.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::base {

/// Appends to the string it was given, whose growth is its only allocation; the caller keeps
/// objects and arrays balanced.
class JsonWriter {
 public:
  explicit JsonWriter(std::string& out) : out_(out) {}
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  JsonWriter& beginObject();
  JsonWriter& endObject();
  JsonWriter& beginArray();
  JsonWriter& endArray();
  JsonWriter& key(std::string_view name);

  JsonWriter& null();
  JsonWriter& boolean(bool value);
  JsonWriter& integer(std::int64_t value);
  JsonWriter& number(double value);
  /// With as few digits as tell the float from its neighbours; as a double it would show many more.
  JsonWriter& shortNumber(float value);
  JsonWriter& string(std::string_view text);
  /// By the rules of values on the wire: dates as ISO 8601 with milliseconds, decimals as numbers.
  JsonWriter& value(const Value& value);
  JsonWriter& object(const Properties& properties);
  /// JSON that is already text, written as it is: one value, or the members of an object without
  /// its braces. Empty text adds nothing.
  JsonWriter& raw(std::string_view json);

  JsonWriter& member(std::string_view name, std::string_view text) {
    return key(name).string(text);
  }

 private:
  void separate();
  std::string& out_;
  bool needsComma_ = false;
};

/// Nothing when `text` is not one whole JSON value. Numbers without fraction or exponent that fit
/// become integers, others doubles; a number that no double can hold makes the text no JSON. Bytes
/// that are not UTF-8 are read as U+FFFD. A repeated key counts with its last value. Arrays and
/// objects nested more than 64 levels deep become the text "[nested too deeply]". Takes constant
/// stack and never throws; memory grows with the text, up to about 50 bytes a character, so the
/// caller bounds the text.
std::optional<Value> parseJson(std::string_view text);

}  // namespace zarn::base
