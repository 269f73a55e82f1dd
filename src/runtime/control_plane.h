// ControlPlane: asks the server for its policy and makes the answer true. Answers are applied one
// at a time, under the epoch's lock, and only the answer to the request issued last counts.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/weakly.h"
#include "control/init_exchange.h"
#include "control/response_epoch.h"
#include "model/configuration.h"
#include "platform/device.h"
#include "platform/log.h"
#include "runtime/network_guard.h"

namespace zarn::runtime {

class PrivacyState;
class RunState;

/// What an answer changes in other rooms.
struct PolicyTargets {
  std::function<void(const std::string& releaseId)> setReleaseId;
  std::function<void(const std::string& appId)> setAppId;
  std::function<void(const model::RemoteDataCollectionConfig&)> applyRemoteConfig;
  /// The policy in force, or null before the first.
  std::function<std::shared_ptr<const model::RemoteDataCollectionConfig>()> latestRemoteConfig;
};

/// Any thread; answers come on the control queue.
class ControlPlane {
 public:
  using Epoch = control::ControlPlaneResponseEpoch;

  ControlPlane(const model::Configuration& configuration, const platform::AppFacts& app,
               NetworkGuard& guard, RunState& runState, PrivacyState& privacy,
               PolicyTargets targets, platform::Log log);

  /// Called, with the epoch's lock held, when the first init fails and no newer request was issued:
  /// it may change the run state and schedule, but not wait. Set before `start`.
  std::function<void()> onInitialInitFailed;

  /// Sends the first init.
  void start();

  /// Sends an init of the recovery, unless a boundary has come since `ticket`; its answer goes to
  /// `answered` with the epoch to apply it under. Dropped unused when there is none to come.
  void sendRecoveryInit(
      NetworkGuard::Token ticket,
      base::UniqueFunction<void(const platform::HttpResult&, Epoch::Token)> answered);

  /// Makes the answer's policy and run state true if no newer request was issued. False when stale.
  bool apply(Epoch::Token epoch, const control::InitAnswer& answer,
             const model::RemoteDataCollectionConfig& policy);
  /// Only the pause, for an answer without a policy that can be trusted.
  bool applyPause(Epoch::Token epoch);
  void setReleaseId(const std::string& releaseId) { targets_.setReleaseId(releaseId); }

 private:
  void initAnswered(const platform::HttpResult& result, Epoch::Token epoch);

  // Constant after construction.
  const model::Configuration configuration_;
  const platform::AppFacts app_;
  NetworkGuard& guard_;
  RunState& runState_;
  PrivacyState& privacy_;
  const PolicyTargets targets_;
  const platform::Log log_;

  Epoch epoch_;
  base::Scope scope_;
};

}  // namespace zarn::runtime
