// NetworkRecord: what is kept of one request until it is counted.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::network {

struct NetworkRecord {
  enum class Method : std::uint8_t { get, post, put, patch, del, head, options, other };
  static constexpr std::int16_t kNoStatus = 0;
  static constexpr std::int16_t kTransportError = -1;
  static constexpr std::int32_t kUnknown = -1;

  std::string host;     // as the host app wrote it; empty for none, and for one that is too long
  std::string rawPath;  // without query and fragment, still percent-encoded; see storedPath
  Method method = Method::get;
  std::int16_t statusCode = kNoStatus;
  // Milliseconds, kUnknown where they are not known.
  std::int32_t durationMs = 0;
  std::int32_t dnsMs = kUnknown, connectMs = kUnknown, ttfbMs = kUnknown;
  std::int32_t requestBytes = 0, responseBytes = 0;
  Date timestamp;  // when the record was made
};

/// In either case; empty is `get`, what is unknown is `other`.
NetworkRecord::Method methodOf(std::string_view word);
/// "GET", "POST" and so on, "OTHER".
std::string_view wordOf(NetworkRecord::Method method);

/// Whole milliseconds of so many seconds: kUnknown for what is no finite number, 0 for less than
/// nothing (a clock was set back), at most 2147483647.
std::int32_t millisecondsOf(double seconds);
/// Not below 0, at most 2147483647.
std::int32_t clampedBytes(std::int64_t count);
std::int16_t clampedStatus(std::int64_t status);

/// A path of more than 1,024 bytes loses the segments behind that, for which one ":id" stands: what
/// is left of a segment that was cut could be a readable half of an identifier.
std::string storedPath(std::string_view path);

}  // namespace zarn::network
