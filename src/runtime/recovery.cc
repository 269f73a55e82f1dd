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
  Run(Recovery& owner, Runs::Token itself, NetworkGuard::Token atEntry)
      : self(itself),
        network(atEntry),
        end_(base::weakly(owner.scope_, [&owner, itself] { owner.end(itself); })) {}
  ~Run() { end_(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  const Runs::Token self;
  const NetworkGuard::Token network;  // a boundary after the entry ends the recovery
  int attempt = 0;

 private:
  base::Closure end_;
};

std::unique_ptr<Recovery::Run> Recovery::begin() {
  const auto network = guard_.current();
  base::MutexLock lock(lock_);
  if (recoveryInFlight_) return nullptr;
  auto run = std::make_unique<Run>(*this, runs_.bump(), network);
  recoveryInFlight_ = true;
  return run;
}

void Recovery::end(Runs::Token run) {
  base::MutexLock lock(lock_);
  if (run == runs_.current()) recoveryInFlight_ = false;
}

void Recovery::abandon() {
  base::MutexLock lock(lock_);
  runs_.bump();
  recoveryInFlight_ = false;
}

bool Recovery::isUnderWay(Runs::Token run) const {
  base::MutexLock lock(lock_);
  return run == runs_.current();
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
  const auto network = run->network;
  guard_.scheduleGuardedWork(base::seconds(delay), network,
                             base::weakly(scope_, [this, run = std::move(run)]() mutable {
                               recoveryStep(std::move(run));
                             }));
}

void Recovery::recoveryStep(std::unique_ptr<Run> run) {
  if (!isUnderWay(run->self) || privacy_.optedOut() ||
      runState_.current() != LifecycleState::recovering) {
    return;
  }
  ++run->attempt;
  const auto network = run->network;
  controlPlane_.sendRecoveryInit(
      network,
      base::weakly(scope_, [this, run = std::move(run)](const platform::HttpResult& result,
                                                        const ControlTicket& ticket) mutable {
        answered(std::move(run), result, ticket);
      }));
}

void Recovery::answered(std::unique_ptr<Run> run, const platform::HttpResult& result,
                        const ControlTicket& ticket) {
  if (const auto answer = control::readInitAnswer(result)) {
    controlPlane_.applyRecovery(*answer, ticket);
  }
  // Whatever became of the answer, only the state it has led to decides whether to go on asking.
  if (runState_.current() == LifecycleState::recovering) wait(std::move(run));
}

}  // namespace zarn::runtime
