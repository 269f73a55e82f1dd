// Sees to it that crashes and hangs of earlier processes become events. It watches nothing itself:
// no signal handler, no watchdog. Such an event says nothing of what this process shows, so the
// screen visit that is open stays open.
#pragma once

#include <functional>
#include <string_view>

#include "base/mutex.h"
#include "crash/metric_kit_subscriber.h"
#include "model/event.h"

namespace zarn::platform {
class Defaults;
}

namespace zarn::crash {

/// Any thread.
class CrashTracker {
 public:
  /// Of how many opt-outs the last start knew. What was recorded during a later one is not told,
  /// even where the opt-in came between two launches or just before a kill.
  static constexpr const char* kOptOutsKey = "zarn_diagnostics_opt_outs";
  /// Admits an event; see runtime::Admission.
  using Track =
      std::function<bool(model::EventType type, std::string_view name, const Properties&)>;

  CrashTracker(platform::DiagnosticsSource& source, const redaction::PiiFilter& filter,
               platform::Defaults& defaults, std::function<bool()> isOptedOut, Track track);
  /// No event is tracked once this returns.
  ~CrashTracker();

  /// At start-up, and again when an opt-out has ended; more often does no harm. Does nothing while
  /// the user has opted out. What the system recorded up to the end of an opt-out is never told.
  void start();
  /// The user has opted out. No event is tracked once this returns.
  void optOut();

 private:
  void skipWhatOptOutsCover();

  // Constant after construction.
  platform::DiagnosticsSource& source_;
  platform::Defaults& defaults_;
  const std::function<bool()> isOptedOut_;
  const MetricKitSubscriber subscriber_;

  base::Mutex lock_{base::LockRank::leaf};
  bool isStarted_ ZARN_GUARDED_BY(lock_) = false;
};

}  // namespace zarn::crash
