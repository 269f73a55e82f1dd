// NetworkObservation: a configured client's side of network observation. Connects the tracker, and
// keeps an aggregator at work while there is something to count.
//
//   aggregator   begins with                                     ends with
//   none         start, a proxy, a policy: when requests can     -
//                come; or by force
//   at work      -                                               stopAggregator
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "network/network_aggregator.h"
#include "network/network_tracker.h"

namespace zarn::base {
class RepeatingTimer;
}

namespace zarn::network {

struct NetworkObservationParts {
  base::Executor& executor;  // counts on it: short work that may write events down
  const platform::Clock& clock;
  platform::RequestHook& hook;
  std::shared_ptr<NetworkTracker> tracker;
  bool autoTrackNetwork = true;
  OwnHosts ownHosts;
  /// Whether user and server allow that anything is recorded. On hosts' threads, for each request:
  /// within some 100 ns. Not called any more once the observation has gone.
  std::function<bool()> mayRecord;
  NetworkEvents events;
};

/// Any thread. Nothing here waits or calls a host, but for willTerminate; all may be called with a
/// lock of the control plane held.
class NetworkObservation {
 public:
  explicit NetworkObservation(NetworkObservationParts parts);
  ~NetworkObservation();

  /// At the end of start-up, before there is a policy: capture begins, so that the first requests
  /// count. What was gathered goes when the first policy forbids it.
  void start();

  /// Makes an aggregator unless there is one. Without `force` only where requests can come: capture
  /// is on, and a proxy is in use or the platform's hook in place.
  void ensureNetworkAggregator(bool force);
  /// Whatever was gathered is dropped.
  void stopAggregator();
  /// Without an aggregator, nothing.
  void enableDiagnostics(double maxEventsPerMin, std::vector<std::string> allowlist);
  void disableDiagnostics();
  /// Puts the platform's hook in place and switches swizzle capture on.
  void installReplacement() { tracker_->installReplacement(hook_); }
  NetworkTracker& tracker() { return *tracker_; }

  /// The window is told at once, on the queue.
  void didEnterBackground();
  /// The same on the calling thread: nothing runs on the queue any more when the process ends.
  void willTerminate();

 private:
  struct Running;
  void begin(NetworkEvents::Token generation);
  void tick();
  void end();
  template <typename F>
  void postToAggregator(F action);

  // Constant after construction.
  const std::shared_ptr<NetworkTracker> tracker_;
  platform::RequestHook& hook_;
  const platform::Clock& clock_;
  const bool autoTrackNetwork_;
  const OwnHosts ownHosts_;
  const NetworkEvents events_;

  base::SerialQueue queue_;
  std::unique_ptr<Running> running_ ZARN_GUARDED_BY(queue_);

  base::Mutex networkAggregatorLock_{base::LockRank::leaf};
  bool hasAggregator_ ZARN_GUARDED_BY(networkAggregatorLock_) = false;

  base::Scope scope_;  // last: what runs on the queue ends before the rest goes
};

}  // namespace zarn::network
