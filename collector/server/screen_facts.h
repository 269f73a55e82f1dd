// What the events about screens tell, put together: each screen by its name, the visits in order,
// and the ways from one screen to the next.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "server/frequencies.h"
#include "server/report_rows.h"

namespace zarn::collector {

/// A finished stay on a screen.
struct ScreenVisit {
  std::string name, screenId, session, device, eventId, exitReason;
  std::int64_t enteredMs = 0;  // since 1970
  std::int64_t dwellMs = 0;
  std::int64_t index = 0;  // its place in the session
  std::int64_t taps = 0, scrolls = 0;
};

/// How many of its views told what. Texts as the clients sent them.
struct ScreenViews {
  struct Candidate {
    std::int64_t count = 0;
    double confidence = 0;  // the newest one's
  };
  std::int64_t count = 0;
  Frequencies states, triggers, classes, fingerprints;
  std::map<std::pair<std::string, std::string>, Candidate> candidates;  // by text and source
};

/// A tap on one screen that led to another.
struct ScreenTransition {
  std::string from, to;  // names
  std::int64_t ms = 0;   // from the tap to the arrival
};

struct ScreenFacts {
  static constexpr std::size_t kMostScreens = 2'000;
  static constexpr std::size_t kMostVisits = 100'000;  // the newest
  static constexpr std::size_t kMostTransitions = 100'000;

  std::map<std::string, ScreenViews, std::less<>> views;  // by screen
  std::vector<ScreenVisit> visits;                        // by session, and in its order
  std::vector<ScreenTransition> transitions;
};

/// False, with the message noted, when the search failed.
bool readScreenFacts(Connections::Lease& lease, const ReportScope& scope, ScreenFacts& facts);

}  // namespace zarn::collector
