// How people went from screen to screen: pure functions of what was told.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "server/screen_facts.h"

namespace zarn::collector {

struct ScreenWay {
  std::int64_t visits = 0;              // visits of the one screen that were followed by the other
  std::vector<std::int64_t> durations;  // of the transitions, ms
  std::int64_t count() const;           // whichever of both tells of more
};

using ScreenWays = std::map<std::pair<std::string, std::string>, ScreenWay>;  // from and to

struct ScreenStay {
  std::int64_t visits = 0, taps = 0, scrolls = 0, starts = 0, ends = 0;
  std::vector<std::int64_t> dwells;  // ms
};

/// Visits of one session that stand next to each other, and the transitions. A screen that goes on
/// after the app was in the background makes no way.
ScreenWays waysOf(const ScreenFacts& facts);
/// The visits of each screen; a session starts and ends with a visit.
std::map<std::string, ScreenStay, std::less<>> staysOf(const ScreenFacts& facts);
/// The lower one of two in the middle; nothing of nothing.
std::optional<std::int64_t> medianOf(std::vector<std::int64_t> values);

}  // namespace zarn::collector
