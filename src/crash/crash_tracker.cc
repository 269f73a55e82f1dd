#include "crash/crash_tracker.h"

#include <utility>

#include "platform/defaults.h"
#include "runtime/privacy_state.h"

namespace zarn::crash {
namespace {

MetricKitSubscriber::Handler handler(const CrashTracker::Track& track, std::string_view name) {
  return [track, name](const Properties& properties) {
    track(model::EventType::crash, name, properties);
  };
}

}  // namespace

CrashTracker::CrashTracker(platform::DiagnosticsSource& source, const redaction::PiiFilter& filter,
                           platform::Defaults& defaults, std::function<bool()> isOptedOut,
                           Track track)
    : source_(source),
      defaults_(defaults),
      isOptedOut_(std::move(isOptedOut)),
      subscriber_(filter, handler(track, "hang"), handler(track, "metric_kit_crash")) {}

CrashTracker::~CrashTracker() {
  optOut();
}

void CrashTracker::start() {
  if (isOptedOut_()) return;
  {
    base::MutexLock lock(lock_);
    if (std::exchange(isStarted_, true)) return;
  }
  skipWhatOptOutsCover();
  source_.start([this](const std::vector<platform::DiagnosticPayload>& payloads) {
    subscriber_.didReceive(payloads);
  });
}

void CrashTracker::optOut() {
  {
    base::MutexLock lock(lock_);
    if (!std::exchange(isStarted_, false)) return;
  }
  source_.stop();
}

void CrashTracker::skipWhatOptOutsCover() {
  const auto optOuts = static_cast<double>(runtime::readOptOut(defaults_).count);
  if (defaults_.getDouble(kOptOutsKey).value_or(0) == optOuts) return;
  source_.skipToNow();
  defaults_.set(kOptOutsKey, optOuts);
  defaults_.commit();
}

}  // namespace zarn::crash
