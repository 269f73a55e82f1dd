// Recovery: asks the server again and again until it answers with a fresh policy.
//
//   idle --enter--> waiting --the delay has passed--> asking --no usable answer--> waiting
//                                                     asking --fresh policy, or a pause--> idle
//                   waiting, asking --another state than recovering, a boundary--> idle
#pragma once

#include <memory>
#include <string_view>

#include "base/generation.h"
#include "base/mutex.h"
#include "base/weakly.h"
#include "platform/http.h"
#include "platform/log.h"
#include "runtime/network_guard.h"

namespace zarn::platform {
class Random;
}

namespace zarn::runtime {

class ControlPlane;
struct ControlTicket;
class PrivacyState;
class RunState;

/// Any thread. Attempts have no upper bound.
class Recovery {
 public:
  Recovery(RunState& runState, const PrivacyState& privacy, NetworkGuard& guard,
           ControlPlane& controlPlane, platform::Random& random, platform::Log log);

  /// Nothing while one is under way, while the server pauses or after an opt-out. `immediately`:
  /// the first attempt does not wait.
  void enterRecovery(std::string_view reason, bool immediately = false);
  /// For an opt-out: what is under way ends without a trace, and another one can begin.
  void abandon();

 private:
  /// One recovery, from entry to end. It travels with the work that is to carry on; when that work
  /// is dropped, by a boundary or an opt-out, the recovery ends with it, and another one can begin.
  class Run;

  using Runs = base::Generation<Recovery>;

  std::unique_ptr<Run> begin();
  void end(Runs::Token run);
  bool isUnderWay(Runs::Token run) const;
  void wait(std::unique_ptr<Run> run);
  void recoveryStep(std::unique_ptr<Run> run);
  void answered(std::unique_ptr<Run> run, const platform::HttpResult& result,
                const ControlTicket& ticket);

  // Constant after construction.
  RunState& runState_;
  const PrivacyState& privacy_;
  NetworkGuard& guard_;
  ControlPlane& controlPlane_;
  platform::Random& random_;
  const platform::Log log_;

  mutable base::Mutex lock_{base::LockRank::leaf};
  Runs runs_ ZARN_GUARDED_BY(lock_);
  bool recoveryInFlight_ ZARN_GUARDED_BY(lock_) = false;
  base::Scope scope_;
};

}  // namespace zarn::runtime
