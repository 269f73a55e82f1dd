// The faults that are switched on, in the order in which they were: the first that fits a request
// strikes it. Also holds requests that are to be answered late, and the pause. Thread-safe.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "server/fault_rule.h"

namespace zarn::collector {

class FaultBoard {
 public:
  static constexpr std::size_t kMostRules = 100;

  /// Takes the fault's id. False when there are too many.
  bool add(FaultRule& rule);
  bool replace(std::vector<FaultRule> rules);
  bool remove(std::int64_t id);
  void clear();

  /// Which fault strikes a request of the project to the endpoint, if any, counting it.
  std::optional<FaultRule> strike(Endpoint endpoint, std::string_view project = {});
  /// Which of the next events an `outcomes` fault picks. Its turns go on from batch to batch.
  std::vector<bool> pick(const FaultRule& rule, std::size_t events);

  /// Waits until the time is over, the fault is gone, `isPointless` says so (asked every 50 ms) or
  /// the collector stops.
  void hold(std::int64_t rule, int ms, const std::function<bool()>& isPointless);
  /// Ends every hold, now and later.
  void stop();

  void pause(std::string reason);
  void resume();
  /// The reason of the pause, which may be empty; none while there is no pause.
  std::optional<std::string> paused() const;

  /// {"faults": [...], "paused": ..., "paused_reason": ...}
  std::string json() const;

 private:
  struct Entry {
    FaultRule rule;
    std::uint64_t met = 0;     // requests that it fitted
    std::uint64_t picked = 0;  // events that it looked at
    std::int64_t struck = 0;
  };
  Entry* find(std::int64_t id);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Entry> entries_;         // guarded by mutex_
  std::optional<std::string> paused_;  // guarded by mutex_
  std::int64_t nextId_ = 1;            // guarded by mutex_
  bool stopped_ = false;               // guarded by mutex_
};

}  // namespace zarn::collector
