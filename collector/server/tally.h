// Running counts of everything that has arrived, so that asking for them costs nothing.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>

#include "server/records.h"

namespace zarn::collector {

class Tally {
 public:
  using Counts = std::unordered_map<std::string, std::int64_t>;

  struct Moment {
    std::int64_t events = 0;
    std::int64_t invalid = 0;
  };
  using Times = std::map<std::int64_t, Moment>;  // by second since 1970

  struct Sums {
    std::int64_t unique = 0;      // events kept
    std::int64_t duplicates = 0;  // deliveries of events that were here already
    std::int64_t conflicts = 0;   // those of them that had other bytes
    std::int64_t withheld = 0;    // deliveries not kept because of a fault or a pause
    std::int64_t invalid = 0;     // kept events with a problem
    std::int64_t batches = 0;     // batch requests, the refused ones too
    std::int64_t refused = 0;     // batch requests answered 4xx because of what they were
    std::int64_t calls = 0;       // requests to the other endpoints
  };

  void add(const BatchRecord& batch);
  void addCall() { ++sums.calls; }
  /// A kept event, or many of one kind.
  void addEvent(const EventFacts& facts, bool valid, std::int64_t arrivedSecond);

  Sums sums;
  Counts types, names, sessions, users, devices;
  Times arrived;   // by arrival
  Times happened;  // by the events' own time
};

/// The answer to "counts"; of each group the 500 most frequent.
std::string countsJson(const Tally& tally);

struct TimelineQuery {
  bool byArrival = true;
  std::int64_t until = 0;   // second since 1970; 0: now, or the last event's own time
  std::int64_t span = 600;  // seconds; 0: everything there is
  std::int64_t bucket = 0;  // seconds; 0: chosen so that there are at most 120
};

/// At most 1,000 buckets, the last one holding `until`.
std::string timelineJson(const Tally& tally, TimelineQuery query, std::int64_t nowSecond);

}  // namespace zarn::collector
