#include "runtime/control_plane.h"

#include <utility>

#include "runtime/privacy_state.h"
#include "runtime/run_state.h"

namespace zarn::runtime {

using control::InitAnswer;
using control::InitOccasion;
using model::LifecycleState;

ControlPlane::ControlPlane(const model::Configuration& configuration, const platform::AppFacts& app,
                           NetworkGuard& guard, RunState& runState, PrivacyState& privacy,
                           PolicyTargets targets, platform::Log log)
    : configuration_(configuration),
      app_(app),
      guard_(guard),
      runState_(runState),
      privacy_(privacy),
      targets_(std::move(targets)),
      log_(log) {}

void ControlPlane::start() {
  const auto token = guard_.current();
  const auto epoch = epoch_.issue();
  guard_.startGuardedTask(control::makeInitRequest(configuration_, app_, InitOccasion::startUp),
                          token, base::weakly(scope_, [this, epoch](platform::HttpResult result) {
                            initAnswered(result, epoch);
                          }));
}

void ControlPlane::sendRecoveryInit(
    NetworkGuard::Token ticket,
    base::UniqueFunction<void(const platform::HttpResult&, Epoch::Token)> answered) {
  const auto epoch = epoch_.issue();
  guard_.startGuardedTask(
      control::makeInitRequest(configuration_, app_, InitOccasion::recovery), ticket,
      [epoch, answered = std::move(answered)](platform::HttpResult result) mutable {
        answered(result, epoch);
      });
}

void ControlPlane::initAnswered(const platform::HttpResult& result, Epoch::Token epoch) {
  const auto answer = control::readInitAnswer(result);
  if (!answer) {
    log_.debug({"[Zarn] Init failed (status ", std::to_string(control::statusOf(result)),
                ") — continuing without release_id"});
    epoch_.ifLatest(epoch, [&] {
      if (onInitialInitFailed) onInitialInitFailed();
    });
    return;
  }
  if (!answer->dataCollection) {
    log_.debug(
        {"[Zarn] Init: data_collection missing/undecodable — continuing with built-in "
         "defaults"});
  }
  if (answer->paused) {
    log_.debug(
        {"[Zarn] Init: SDK paused by server (", answer->pausedReason.value_or("unspecified"), ")"});
  }
  if (answer->releaseId) {
    targets_.setReleaseId(*answer->releaseId);
    log_.debug({"[Zarn] Init: release_id = ", *answer->releaseId});
  }
  if (answer->appId) targets_.setAppId(*answer->appId);
  const auto known = targets_.latestRemoteConfig();
  const model::RemoteDataCollectionConfig builtIn;
  apply(epoch, *answer,
        answer->dataCollection ? *answer->dataCollection : (known ? *known : builtIn));
}

bool ControlPlane::apply(Epoch::Token epoch, const InitAnswer& answer,
                         const model::RemoteDataCollectionConfig& policy) {
  return epoch_.ifLatest(epoch, [&] {
    if (privacy_.optedOut()) return;
    if (answer.paused) runState_.become(LifecycleState::pausedByServer);
    targets_.applyRemoteConfig(policy);
    privacy_.setAwaitingFreshPolicyAfterOptIn(false);
    if (!answer.paused) runState_.become(LifecycleState::running);
  });
}

bool ControlPlane::applyPause(Epoch::Token epoch) {
  return epoch_.ifLatest(epoch, [&] { runState_.become(LifecycleState::pausedByServer); });
}

}  // namespace zarn::runtime
