#include "model/replay_policy_snapshot.h"

#include "base/text.h"
#include "model/configuration.h"
#include "platform/device.h"

namespace zarn::model {
namespace {

std::string withLength(const std::string& value) {
  return std::to_string(value.size()) + ":" + value;
}

bool isEnabled(const std::optional<ReplayRemotePolicy>& policy) {
  return policy && policy->enabled;
}

}  // namespace

std::string ReplayPolicyPersistenceScope::key() const {
  return withLength(projectId) + "|" + withLength(environment) + "|" + withLength(bundleId);
}

ReplayPolicyPersistenceScope replayPolicyScope(const Configuration& configuration,
                                               const platform::AppFacts& app) {
  return {base::replaceInvalidUtf8(configuration.projectId()),
          base::replaceInvalidUtf8(configuration.environment()),
          base::replaceInvalidUtf8(app.bundleId)};
}

bool isRestrictive(const std::optional<ReplayRemotePolicy>& next,
                   const ReplayPersistedPolicyLoad& load) {
  if (!isEnabled(next)) return true;
  if (!load || !load->boundaryComplete) return true;
  return isEnabled(load->policy) && narrows(*next, *load->policy);
}

}  // namespace zarn::model
