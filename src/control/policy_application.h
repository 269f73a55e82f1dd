// PolicyApplication: makes an accepted record true in the running library. Most gates are not
// applied here at all: events are held against the published record one by one.
#pragma once

#include <memory>
#include <string>

#include "control/policy_targets.h"
#include "control/server_pauses.h"
#include "model/remote_config.h"
#include "platform/log.h"

namespace zarn::control {

class ReplayPolicyKeeper;

/// A record, and where it comes from.
struct PolicyAnswer {
  std::shared_ptr<const model::RemoteDataCollectionConfig> policy;
  bool authoritative = false;  // it came fresh from the server in this exchange
  bool paused = false;
  ServerPauses::Token pauses;  // as they were when the exchange began
};

/// One call at a time, with the epoch's lock held.
class PolicyApplication {
 public:
  PolicyApplication(bool autoTrackNetwork, std::string deviceId, PolicyTargets targets,
                    ReplayPolicyKeeper& replay, platform::Log log);

  void apply(const PolicyAnswer& answer);

 private:
  void logWhatIsOff(const model::RemoteDataCollectionConfig& policy) const;
  void applyNetwork(const model::RemoteDataCollectionConfig& policy) const;
  void enableDiagnostics(const model::NetworkConfig& config) const;
  void applyPush(const std::optional<model::PushConfig>& push) const;

  // Constant after construction.
  const bool autoTrackNetwork_;
  const std::string deviceId_;
  const PolicyTargets targets_;
  ReplayPolicyKeeper& replay_;
  const platform::Log log_;
};

/// Whether an install with this device id is in the sample of network diagnostics.
bool isInDiagnosticsSample(const std::string& deviceId, std::optional<double> sampleRate);

}  // namespace zarn::control
