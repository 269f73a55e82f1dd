#include "capture/flow_recorder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <iterator>
#include <limits>
#include <utility>

#include "base/uuid.h"
#include "platform/clock.h"
#include "platform/random.h"

namespace zarn::capture {
namespace {

/// Since 1970; a clock that is set before it counts as there.
std::uint64_t millisecondsOf(Date time) {
  const auto since = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
  return static_cast<std::uint64_t>(std::max<std::int64_t>(since.count(), 0));
}

Uuid freshUuid(platform::Random& random) {
  std::array<std::uint8_t, 16> bytes;
  random.fill(bytes);
  return base::uuidFromRandom(bytes);
}

}  // namespace

void FlowRecorder::restart(std::string sessionId, std::string releaseId) {
  base::MutexLock lock(lock_);
  sessionId_ = std::move(sessionId);
  releaseId_ = std::move(releaseId);
  nextEntryIndex_ = 0;
  currentVisit_.reset();
  pendingVisits_.clear();
}

void FlowRecorder::discard() {
  base::MutexLock lock(lock_);
  sessionId_.reset();
  nextEntryIndex_ = 0;
  currentVisit_.reset();
  pendingVisits_.clear();
}

void FlowRecorder::setReleaseId(const std::string& releaseId) {
  base::MutexLock lock(lock_);
  releaseId_ = releaseId;
  if (currentVisit_ && currentVisit_->releaseId.empty()) currentVisit_->releaseId = releaseId;
  for (ScreenVisit& visit : pendingVisits_) {
    if (visit.releaseId.empty()) visit.releaseId = releaseId;
  }
}

void FlowRecorder::enter(Entry entry, Boundaries now) {
  const Uuid visitId = freshUuid(random_);
  const std::uint64_t nowMs = millisecondsOf(clock_.now());
  base::MutexLock lock(lock_);
  if (!sessionId_) return;
  if (currentVisit_ && currentVisit_->since != now) currentVisit_.reset();  // never to be told
  if (currentVisit_ && currentVisit_->entry.screenId == entry.screenId) return;
  finishCurrent(
      entry.triggerKind == TriggerKind::navBackButton ? ExitReason::back : ExitReason::forward,
      nowMs);
  currentVisit_ = ScreenVisit{.visitId = visitId,
                              .sessionId = *sessionId_,
                              .releaseId = releaseId_,
                              .entryIndex = nextEntryIndex_++,
                              .entry = std::move(entry),
                              .enteredAt = nowMs,
                              .exitedAt = std::nullopt,
                              .since = now};
}

std::optional<FlowRecorder::Tapped> FlowRecorder::noteTap() {
  base::MutexLock lock(lock_);
  if (!currentVisit_) return std::nullopt;
  ++currentVisit_->tapCount;
  return Tapped{currentVisit_->entry.screenId, currentVisit_->since};
}

void FlowRecorder::noteScroll() {
  base::MutexLock lock(lock_);
  if (currentVisit_) ++currentVisit_->scrollCount;
}

std::vector<ScreenVisit> FlowRecorder::drain(ExitReason reason) {
  const std::uint64_t nowMs = millisecondsOf(clock_.now());
  base::MutexLock lock(lock_);
  finishCurrent(reason, nowMs);
  std::vector<ScreenVisit> drained(std::make_move_iterator(pendingVisits_.begin()),
                                   std::make_move_iterator(pendingVisits_.end()));
  pendingVisits_.clear();
  return drained;
}

void FlowRecorder::finishCurrent(ExitReason reason, std::uint64_t nowMs) {
  if (!currentVisit_) return;
  ScreenVisit& visit = *currentVisit_;
  visit.exitedAt = nowMs;
  // The clock may have been set back meanwhile.
  const std::uint64_t dwell = nowMs > visit.enteredAt ? nowMs - visit.enteredAt : 0;
  visit.dwellMs = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(dwell, std::numeric_limits<std::uint32_t>::max()));
  visit.exitReason = reason;
  while (pendingVisits_.size() >= kMostVisits) pendingVisits_.pop_front();
  pendingVisits_.push_back(std::move(visit));
  currentVisit_.reset();
}

}  // namespace zarn::capture
