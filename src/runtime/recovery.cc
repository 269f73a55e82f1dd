#include "runtime/recovery.h"

#include <algorithm>
#include <iterator>

#include "base/jitter.h"
#include "platform/random.h"
#include "runtime/control_plane.h"
#include "runtime/privacy_state.h"
#include "runtime/run_state.h"

namespace zarn::runtime {
namespace {

constexpr double kRecoveryDelays[] = {5, 10, 20, 30, 60, 60, 60, 60, 60, 60};  // seconds

double recoveryDelay(int attempt) {
  return kRecoveryDelays[std::min<std::size_t>(static_cast<std::size_t>(attempt),
                                               std::size(kRecoveryDelays) - 1)];
}

}  // namespace

using model::LifecycleState;

Recovery::Recovery(RunState& runState, const PrivacyState& privacy, NetworkGuard& guard,
                   ControlPlane& controlPlane, platform::Random& random, platform::Log log)
    : runState_(runState),
      privacy_(privacy),
      guard_(guard),
      controlPlane_(controlPlane),
      random_(random),
      log_(log) {}

bool Recovery::begin() {
  base::MutexLock lock(lock_);
  if (recoveryInFlight_) return false;
  recoveryInFlight_ = true;
  recoveryAttempt_ = 0;
  return true;
}

void Recovery::end() {
  base::MutexLock lock(lock_);
  recoveryInFlight_ = false;
}

void Recovery::enterRecovery(std::string_view reason, bool immediately) {
  if (privacy_.optedOut() || runState_.isPaused() || !begin()) return;
  log_.debug({"[Zarn] Entering recovery: ", reason});
  if (!runState_.becomeRecoveringUnlessPaused()) return end();
  if (immediately) {
    recoveryStep();
  } else {
    wait();
  }
}

void Recovery::wait() {
  double delay = 0;
  {
    base::MutexLock lock(lock_);
    delay = recoveryDelay(recoveryAttempt_) * base::retryJitter(random_.next());
  }
  const bool scheduled = guard_.scheduleGuardedWork(
      base::seconds(delay), guard_.current(), base::weakly(scope_, [this] { recoveryStep(); }));
  if (!scheduled) end();
}

void Recovery::recoveryStep() {
  if (privacy_.optedOut() || runState_.current() != LifecycleState::recovering) return end();
  {
    base::MutexLock lock(lock_);
    ++recoveryAttempt_;
  }
  const bool sent = controlPlane_.sendRecoveryInit(base::weakly(
      scope_,
      [this](const platform::HttpResult& result, control::ControlPlaneResponseEpoch::Token epoch) {
        answered(result, epoch);
      }));
  if (!sent) end();
}

void Recovery::answered(const platform::HttpResult& result,
                        control::ControlPlaneResponseEpoch::Token epoch) {
  const auto answer = control::readInitAnswer(result);
  if (answer && answer->releaseId && !answer->releaseId->empty()) {
    controlPlane_.setReleaseId(*answer->releaseId);
  }
  if (answer && answer->dataCollection) {
    controlPlane_.apply(epoch, *answer, *answer->dataCollection);
  } else if (answer) {
    if (answer->paused) controlPlane_.applyPause(epoch);
    log_.debug({"[Zarn] Recovery init missing fresh data_collection — remaining fail-closed"});
  }
  // Whatever became of the answer, only the state it has led to decides whether to go on asking.
  if (runState_.current() == LifecycleState::recovering) {
    wait();
  } else {
    end();
  }
}

}  // namespace zarn::runtime
