// Sees to it that crashes and hangs of earlier processes become events. It watches nothing itself:
// no signal handler, no watchdog. Such an event says nothing of what this process shows, so the
// screen visit that is open stays open.
#pragma once

#include <functional>
#include <string_view>

#include "base/mutex.h"
#include "crash/metric_kit_subscriber.h"
#include "model/event.h"

namespace zarn::crash {

/// Any thread.
class CrashTracker {
 public:
  /// Admits an event; see runtime::Admission.
  using Track =
      std::function<bool(model::EventType type, std::string_view name, const Properties&)>;

  CrashTracker(platform::DiagnosticsSource& source, const redaction::PiiFilter& filter,
               std::function<bool()> isOptedOut, Track track);
  /// No event is tracked once this returns.
  ~CrashTracker();

  /// At start-up, and again when an opt-out has ended; more often does no harm. Does nothing while
  /// the user has opted out. What the system recorded up to the end of an opt-out is never told.
  void start();
  /// The user has opted out. No event is tracked once this returns.
  void optOut();

 private:
  enum class State { idle, started, optedOut };

  // Constant after construction.
  platform::DiagnosticsSource& source_;
  const std::function<bool()> isOptedOut_;
  const MetricKitSubscriber subscriber_;

  base::Mutex lock_{base::LockRank::leaf};
  State state_ ZARN_GUARDED_BY(lock_) = State::idle;
};

}  // namespace zarn::crash
