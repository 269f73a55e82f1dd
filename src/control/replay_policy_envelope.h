// The document that replay policies are kept in.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "model/replay_policy_snapshot.h"

namespace zarn::control {

struct ReplayPolicyEnvelope {
  static constexpr int kSchemaVersion = 1;

  int schemaVersion = kSchemaVersion;
  /// Of the scope that was admitted last; no other can be trusted.
  std::optional<std::string> activeScopeKey;
  /// By scope key.
  std::map<std::string, model::ReplayPersistedPolicySnapshot> snapshots;
  /// What was captured is being deleted, and must be again if that was interrupted.
  bool globalPurgePending = false;
  std::optional<std::string> globalPurgeRevision;

  /// The snapshot of the scope if it passes every check.
  model::ReplayPersistedPolicyLoad trusted(const model::ReplayPolicyPersistenceScope& scope) const;
  /// Makes the snapshot the active one. Of others the document keeps a few.
  void activate(model::ReplayPersistedPolicySnapshot snapshot);
};

/// Sorted by key: equal documents are equal text.
std::string encodeReplayPolicyEnvelope(const ReplayPolicyEnvelope& envelope);

/// Nothing unless all of it can be read. A snapshot without a revision comes from before there were
/// any: it gets the one that says so, and counts as waiting for its boundary.
std::optional<ReplayPolicyEnvelope> decodeReplayPolicyEnvelope(std::string_view text);

}  // namespace zarn::control
