// ControlPlane: asks the server for its policy and makes the answer true. Each request carries a
// ticket; answers are applied one at a time, under the epoch's lock, and only the answer to the
// request issued last counts. A privacy boundary makes all answers asked for before it stale.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/weakly.h"
#include "control/config_fetcher.h"
#include "control/init_exchange.h"
#include "control/policy_application.h"
#include "control/response_epoch.h"
#include "model/configuration.h"
#include "platform/device.h"
#include "platform/log.h"
#include "runtime/network_guard.h"
#include "runtime/privacy_state.h"

namespace zarn::runtime {

class RunState;

/// What held when a control request was issued. The project is not among it: a client has one.
struct ControlTicket {
  control::ControlPlaneResponseEpoch::Token epoch;
  PrivacyState::Transition::Token privacy;
  control::ServerPauses::Token pauses;
};

/// Where answers go, besides the policy itself.
struct AnswerTargets {
  std::function<void(const std::string& releaseId)> setReleaseId;
  std::function<void(const std::string& appId)> setAppId;
  /// The policy in force, or null before the first.
  std::function<std::shared_ptr<const model::RemoteDataCollectionConfig>()> latestRemoteConfig;
};

/// Any thread; answers come on the control queue.
class ControlPlane {
 public:
  using Answered = base::UniqueFunction<void(platform::HttpResult, const ControlTicket&)>;

  ControlPlane(const model::Configuration& configuration, const platform::AppFacts& app,
               NetworkGuard& guard, RunState& runState, PrivacyState& privacy,
               control::ConfigFetcher& fetcher, control::PolicyApplication& policies,
               AnswerTargets targets, platform::Log log);

  /// Called when a request failed without which the library can't go on, and no newer one was
  /// issued; with the epoch's lock held: it may change the run state and schedule, but not wait.
  /// Set before the first request.
  std::function<void(std::string_view reason)> onRecoveryNeeded;

  void sendInit();
  /// Unless a boundary has come since `network` was read; `answered` is dropped unused then.
  void sendRecoveryInit(NetworkGuard::Token network, Answered answered);
  enum class Fetch { startUp, refresh };
  void fetchConfig(Fetch occasion);

  /// Makes the answer to a recovery true if it counts.
  void applyRecovery(const control::InitAnswer& answer, const ControlTicket& ticket);

  /// A boundary: no answer asked for before it counts. Waits for one that is being applied.
  void invalidateAnswers() { epoch_.invalidate(); }

 private:
  using Policy = std::shared_ptr<const model::RemoteDataCollectionConfig>;

  bool send(platform::HttpRequest request, NetworkGuard::Token network, Answered answered);
  void initAnswered(const platform::HttpResult& result, const ControlTicket& ticket);
  void configAnswered(const std::optional<model::ConfigResponse>& response,
                      const ControlTicket& ticket, Fetch occasion);
  /// `onPause` is logged when the answer counts and pauses; may be empty.
  void apply(const ControlTicket& ticket, Policy policy, bool authoritative, bool paused,
             std::string_view onPause = {});

  // Constant after construction.
  const model::Configuration configuration_;
  const platform::AppFacts app_;
  NetworkGuard& guard_;
  RunState& runState_;
  PrivacyState& privacy_;
  control::ConfigFetcher& fetcher_;
  control::PolicyApplication& policies_;
  const AnswerTargets targets_;
  const platform::Log log_;

  control::ControlPlaneResponseEpoch epoch_;
  base::Scope scope_;
};

}  // namespace zarn::runtime
