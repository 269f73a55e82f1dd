// ISO 8601 date and time in UTC, in the two forms of the wire. No locale, no time-zone database.
//
//   json.member("timestamp", iso8601Seconds(event.time));
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::base {

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

/// Text in place, without an allocation.
class Iso8601Text {
 public:
  operator std::string_view() const { return {chars_.data(), size_}; }  // NOLINT: it is text
  std::string str() const { return std::string(std::string_view(*this)); }

 private:
  friend Iso8601Text iso8601Seconds(Milliseconds);
  friend Iso8601Text iso8601Milliseconds(Milliseconds);
  std::array<char, 24> chars_;
  std::uint8_t size_ = 0;
};

/// "2024-03-09T16:05:07Z". Parts of a second are cut off, towards the past. Times outside of the
/// years 0 to 9999 become the first or last one inside.
Iso8601Text iso8601Seconds(Milliseconds time);
/// "2024-03-09T16:05:07.042Z", likewise.
Iso8601Text iso8601Milliseconds(Milliseconds time);

inline Iso8601Text iso8601Seconds(Date time) {
  return iso8601Seconds(std::chrono::floor<std::chrono::milliseconds>(time));
}
inline Iso8601Text iso8601Milliseconds(Date time) {
  return iso8601Milliseconds(std::chrono::floor<std::chrono::milliseconds>(time));
}

/// Reads both forms; the fraction may have one to nine digits, of which three count. Nothing for
/// other text and for days or times that don't exist. What no Date can hold becomes the first or
/// last one.
std::optional<Date> parseIso8601(std::string_view text);

}  // namespace zarn::base
