// Writes what both reports about screens tell.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "server/json.h"
#include "server/screen_facts.h"

namespace zarn::collector {

/// The median, or null of nothing.
void writeMedian(JsonOut& out, std::string_view key, const std::vector<std::int64_t>& values);
/// The members of an object that is open, but for the screen and the session.
void writeVisit(JsonOut& out, const ScreenVisit& visit);

}  // namespace zarn::collector
