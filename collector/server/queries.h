// Questions about events and batches, answered as JSON. Thread-safe.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "server/connections.h"

namespace zarn::collector {

struct EventFilter {
  std::string type, name, user, session, device;  // empty: any
  std::string text;  // anywhere in the event's JSON, ASCII case ignored
  std::optional<bool> valid;
  std::int64_t batch = 0;
  // Top-level properties and the text of their values (true is 1, false is 0).
  std::vector<std::pair<std::string, std::string>> properties;
};

struct Page {
  static constexpr std::int64_t kMost = 10'000;

  std::int64_t since = 0;   // only what came after this place
  std::int64_t before = 0;  // only what came before it; 0: no limit
  bool ascending = false;
  std::int64_t limit = 100;
};

class Queries {
 public:
  explicit Queries(std::string file) : connections_(std::move(file)) {}

  // Each answers nothing, with a message, when the database fails or takes longer than 10 s.
  using Result = std::optional<std::string>;

  /// {"events": [...], "next": place for the next page or null}
  Result events(const EventFilter& filter, const Page& page, std::string& error);
  /// {"count": n, "ids": [...]} in order of arrival.
  Result ids(const EventFilter& filter, std::string& error);
  /// {"count": n}
  Result count(const EventFilter& filter, std::string& error);
  /// The event at a place; empty text when there is none.
  Result event(std::int64_t seq, std::string& error);
  static bool isField(const std::string& field);
  /// {"field": ..., "values": [{"value": ..., "count": n}]}, the most frequent 10,000. The field is
  /// type, name, user, session, device, launch, batch or "property:KEY".
  Result countsBy(const std::string& field, const EventFilter& filter, std::string& error);
  /// {"batches": [...], "next": ...}
  Result batches(const Page& page, std::string& error);
  /// One batch with envelope, answer and the fate of each event; empty text when there is none.
  Result batch(std::int64_t id, std::string& error);

 private:
  Connections connections_;
};

}  // namespace zarn::collector
