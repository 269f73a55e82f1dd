// What is remembered of the replay policy between launches: the policy last admitted, for whom, and
// whether what was captured before it has been purged.
#pragma once

#include <optional>
#include <string>

#include "model/replay_policy.h"

namespace zarn::platform {
struct AppFacts;
}

namespace zarn::model {

struct Configuration;

/// Whom a policy is for. A project's server address is not part of it.
struct ReplayPolicyPersistenceScope {
  std::string projectId;
  std::string environment;
  std::string bundleId;
  friend bool operator==(const ReplayPolicyPersistenceScope&,
                         const ReplayPolicyPersistenceScope&) = default;

  /// One text for each scope: the length of each value in bytes, ":" and the value, with "|"
  /// between them.
  std::string key() const;
};

/// With text that can be written and read back as it is.
ReplayPolicyPersistenceScope replayPolicyScope(const Configuration& configuration,
                                               const platform::AppFacts& app);

struct ReplayPersistedPolicySnapshot {
  static constexpr int kSchemaVersion = 1;
  /// Of a record from before there were revisions.
  static constexpr const char* kLegacyRevision = "legacy-pending";

  int schemaVersion = kSchemaVersion;
  ReplayPolicyPersistenceScope scope;
  std::optional<ReplayRemotePolicy> policy;
  std::string fingerprint;
  std::string revision;
  bool boundaryComplete = false;
  friend bool operator==(const ReplayPersistedPolicySnapshot&,
                         const ReplayPersistedPolicySnapshot&) = default;
};

/// What was read for a scope: a snapshot that passed every check, or nothing that can be trusted.
using ReplayPersistedPolicyLoad = std::optional<ReplayPersistedPolicySnapshot>;

/// Whether what was captured so far must be purged before `next` counts.
bool isRestrictive(const std::optional<ReplayRemotePolicy>& next,
                   const ReplayPersistedPolicyLoad& load);

}  // namespace zarn::model
