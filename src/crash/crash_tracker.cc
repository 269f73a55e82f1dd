#include "crash/crash_tracker.h"

#include <utility>

namespace zarn::crash {
namespace {

MetricKitSubscriber::Handler handler(const CrashTracker::Track& track, std::string_view name) {
  return [track, name](const Properties& properties) {
    track(model::EventType::crash, name, properties);
  };
}

}  // namespace

CrashTracker::CrashTracker(platform::DiagnosticsSource& source, const redaction::PiiFilter& filter,
                           std::function<bool()> isOptedOut, Track track)
    : source_(source),
      isOptedOut_(std::move(isOptedOut)),
      subscriber_(filter, handler(track, "hang"), handler(track, "metric_kit_crash")) {}

CrashTracker::~CrashTracker() {
  optOut();
}

void CrashTracker::start() {
  const bool optedOut = isOptedOut_();
  State before;
  {
    base::MutexLock lock(lock_);
    before = state_;
    if (before == State::started) return;
    state_ = optedOut ? State::optedOut : State::started;
  }
  if (optedOut) return;
  if (before == State::optedOut) source_.skipToNow();
  source_.start([this](const std::vector<platform::DiagnosticPayload>& payloads) {
    subscriber_.didReceive(payloads);
  });
}

void CrashTracker::optOut() {
  State before;
  {
    base::MutexLock lock(lock_);
    before = std::exchange(state_, State::optedOut);
  }
  if (before == State::started) source_.stop();
}

}  // namespace zarn::crash
