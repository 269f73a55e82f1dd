#include "runtime/recovery.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

class Recovery::Run {
 public:
  Run(Recovery& owner, NetworkGuard::Token atEntry)
      : ticket(atEntry), end_(base::weakly(owner.scope_, [&owner] { owner.end(); })) {}
  ~Run() { end_(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  const NetworkGuard::Token ticket;  // a boundary after the entry ends the recovery
  int attempt = 0;

 private:
  base::Closure end_;
};

std::unique_ptr<Recovery::Run> Recovery::begin() {
  {
    base::MutexLock lock(lock_);
    if (std::exchange(recoveryInFlight_, true)) return nullptr;
  }
  return std::make_unique<Run>(*this, guard_.current());
}

void Recovery::end() {
  base::MutexLock lock(lock_);
  recoveryInFlight_ = false;
}

void Recovery::enterRecovery(std::string_view reason, bool immediately) {
  if (privacy_.optedOut() || runState_.isPaused()) return;
  auto run = begin();
  if (!run) return;
  log_.debug({"[Zarn] Entering recovery: ", reason});
  if (!runState_.becomeRecoveringUnlessPaused()) return;
  if (immediately) {
    recoveryStep(std::move(run));
  } else {
    wait(std::move(run));
  }
}

void Recovery::wait(std::unique_ptr<Run> run) {
  const double delay = recoveryDelay(run->attempt) * base::retryJitter(random_.next());
  const auto ticket = run->ticket;
  guard_.scheduleGuardedWork(base::seconds(delay), ticket,
                             base::weakly(scope_, [this, run = std::move(run)]() mutable {
                               recoveryStep(std::move(run));
                             }));
}

void Recovery::recoveryStep(std::unique_ptr<Run> run) {
  if (privacy_.optedOut() || runState_.current() != LifecycleState::recovering) return;
  ++run->attempt;
  const auto ticket = run->ticket;
  controlPlane_.sendRecoveryInit(
      ticket, base::weakly(scope_, [this, run = std::move(run)](
                                       const platform::HttpResult& result,
                                       control::ControlPlaneResponseEpoch::Token epoch) mutable {
        answered(std::move(run), result, epoch);
      }));
}

void Recovery::answered(std::unique_ptr<Run> run, const platform::HttpResult& result,
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
  if (runState_.current() == LifecycleState::recovering) wait(std::move(run));
}

}  // namespace zarn::runtime
