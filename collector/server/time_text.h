// Times as the wire and the API write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zarn::collector {

/// Milliseconds since 1970.
std::int64_t nowMs();
/// "2026-01-31T09:30:00.250Z".
std::string isoText(std::int64_t ms);
/// Seconds since 1970 of exactly "2026-01-31T09:30:00Z"; nothing else passes.
std::optional<std::int64_t> parseWireTime(std::string_view text);

}  // namespace zarn::collector
