// NetworkAggregator: counts requests by host, route and status for a window of time, and tells the
// window as one event, "network_summary". For hosts that the server names, it also tells single
// requests, at a bounded rate.
//
// What was gathered before an opt-out, a reset or a pause is never told after it: a window belongs
// to the discard generation of the event queue that it began under, and is dropped when that has
// changed.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/generation.h"
#include "network/hosts.h"
#include "network/network_record.h"
#include "zarn/value.h"

namespace zarn::platform {
class Clock;
}
namespace zarn::events {
class EventQueue;
}

namespace zarn::network {

class NetworkRecordBuffer;

/// The way to the event queue. On the aggregator's queue.
struct NetworkEvents {
  using Token = base::Generation<events::EventQueue>::Token;
  std::function<Token()> currentGeneration;
  /// Takes an event of type `network`, unless a boundary has come since `generation` was read.
  std::function<void(std::string_view name, const Properties& properties, Token generation)> emit;
};

/// Confined to one serial queue.
class NetworkAggregator {
 public:
  /// Begins the first window, under `generation`.
  NetworkAggregator(NetworkRecordBuffer& buffer, const platform::Clock& clock, OwnHosts ownHosts,
                    NetworkEvents events, NetworkEvents::Token generation);

  /// Every 5 seconds: takes what has come; every 6th time, tells the window.
  void tick();
  /// Takes what has come and tells the window at once.
  void flush();

  /// From now on, single requests to these hosts and those below them are told.
  void enableDiagnostics(double maxEventsPerMin, const std::vector<std::string>& allowlist);
  void disableDiagnostics();

 private:
  using Token = NetworkEvents::Token;
  struct Key {
    std::string host, route;
    std::string_view statusBucket;
    friend auto operator<=>(const Key&, const Key&) = default;
  };
  struct Bucket {
    std::int64_t count = 0;
    std::array<std::int64_t, 5> latency{};  // from the fastest requests to the slowest
    std::int64_t requestBytes = 0, responseBytes = 0;
  };
  using Entry = std::map<Key, Bucket>::value_type;

  void drain();
  void count(const NetworkRecord& record);
  void tellWindow();
  Properties summary(Date now) const;
  static Properties routeObject(const Entry& entry);
  void beginWindow(Date now);
  bool takesDiagnostics(const NetworkRecord& record, std::string_view comparable);
  void tellDiagnostics(const NetworkRecord& record, const std::string& route) const;

  // Constant after construction.
  NetworkRecordBuffer& buffer_;
  const platform::Clock& clock_;
  const OwnHosts ownHosts_;
  const NetworkEvents events_;

  std::uint64_t drainTickCount_ = 0;
  Token generation_;  // of the open window
  std::map<Key, Bucket> aggregates_;
  Date windowStart_;
  std::uint64_t windowDroppedRecords_ = 0;

  std::vector<std::string> diagnosticAllowlist_;  // comparable; empty is off
  double diagnosticMaxEventsPerMin_ = 60;
  std::optional<Date> diagnosticWindowStart_;
  std::int64_t diagnosticEmittedInWindow_ = 0;
};

}  // namespace zarn::network
