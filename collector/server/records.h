// What the collector keeps: events, the batches they came in, what it decided for its projects, and
// what it told their clients of that.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/acks.h"
#include "server/fault_rule.h"
#include "server/jpeg.h"
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
  // Filled in by the store: the exchange whose policy its app had last been answered, and that
  // policy's revision; 0: none.
  std::int64_t policyExchange = 0;
  std::int64_t policyRevision = 0;
  std::int64_t installation = 0;  // 0: it names no device
};

/// What the server has decided for a project, as of one revision.
struct ProjectSettings {
  std::int64_t revision = 0;        // of one sequence for all projects; 0: as nobody has set
  std::int64_t policyRevision = 0;  // when all but the pause was changed last
  std::int64_t pauseRevision = 0;   // when the pause was changed last
  std::int64_t changedMs = 0;
  std::string policy = "{}";          // JSON
  std::optional<std::string> paused;  // the reason, which may be empty
  std::string releaseId, appId;       // empty: made from the caller's bundle and version
  std::string what;                   // what was changed, in a word for people
};

/// What an answer tells its client of the settings, when the client can read it.
struct Told {
  std::optional<std::int64_t> revision;  // of the settings that it speaks of; none: of nothing
  std::optional<bool> paused;
  std::string pausedReason;
  std::string policy;  // JSON; empty: it has none
};

/// A request of the control plane: init, its form for recovery, config, or a batch that was
/// answered with a pause.
struct ExchangeRecord {
  std::int64_t id = 0;  // given by the store
  std::int64_t receivedMs = 0;
  std::optional<std::int64_t> answeredMs;  // none: not yet, or never
  Endpoint endpoint = Endpoint::init;
  CallerFacts caller;
  int status = 200;   // 0: no answer was given
  std::string cause;  // as a batch's
  Told told;
  std::int64_t newest = 0;  // revision of the project at that time
  std::int64_t batch = 0;   // which batch it was
  std::string request;      // body or query
  std::string response;
};

/// A screen's reference picture, or the question for one. What it is of is told by project, app and
/// screen.
struct Screenshot {
  std::string project, app, screen;
  std::string bundleId, platform, sdkVersion, releaseId, device, anonymous, user;
  JpegSize size;
  std::string jpeg;    // empty: none that could be kept
  std::string sha256;  // of the JPEG; empty without
};

/// How many events of a batch came to which end.
struct BatchSums {
  std::int64_t stored = 0, duplicates = 0, conflicts = 0, withheld = 0, invalid = 0;
  std::int64_t accepted = 0, permanent = 0, transient = 0;
};

BatchSums sumsOf(const BatchRecord& batch);

}  // namespace zarn::collector
