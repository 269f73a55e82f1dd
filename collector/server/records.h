// What the collector keeps: events, the batches they came in, and the other requests.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/acks.h"
#include "server/wire_check.h"

namespace zarn::collector {

/// What became of one delivered event.
enum class Fate {
  stored,
  duplicate,  // its id was here already, with the same bytes
  conflict,   // its id was here already, with other bytes
  withheld,   // not stored, since a fault or a pause said so
};

std::string_view fateWord(Fate fate);

struct Delivered {
  std::string_view raw;
  EventFacts facts;
  std::optional<Verdict> verdict;  // none: the answer acknowledged nothing
  bool keep = true;
  // Filled in by the store:
  Fate fate = Fate::withheld;
  std::int64_t seq = 0;  // the place in order of arrival; 0 unless stored
};

struct BatchRecord {
  std::int64_t id = 0;  // given by the store
  std::int64_t receivedMs = 0;
  std::int64_t bytes = 0;
  int status = 200;
  std::string cause;  // the fault's kind, "paused" or "refused"; empty for an ordinary answer
  EnvelopeFacts envelope;
  std::string envelopeJson;
  std::string response;
  std::vector<Delivered> events;
};

/// A request to another endpoint than batch.
struct CallRecord {
  std::int64_t receivedMs = 0;
  std::string endpoint;
  int status = 200;
  std::string cause;
  std::string request;  // body or query
  std::string response;
  std::vector<std::string> problems;
};

/// How many events of a batch came to which end.
struct BatchSums {
  std::int64_t stored = 0, duplicates = 0, conflicts = 0, withheld = 0, invalid = 0;
  std::int64_t accepted = 0, permanent = 0, transient = 0;
};

BatchSums sumsOf(const BatchRecord& batch);

}  // namespace zarn::collector
