#include "control/replay_policy_envelope.h"

#include <iterator>
#include <utility>

#include "base/canonical_json.h"
#include "base/json.h"
#include "model/json_fields.h"
#include "model/replay_policy_fields.h"

namespace zarn::model {

using control::ReplayPolicyEnvelope;

template <>
inline constexpr auto kFields<ReplayPolicyPersistenceScope> =
    fields(Field{"projectId", &ReplayPolicyPersistenceScope::projectId},
           Field{"environment", &ReplayPolicyPersistenceScope::environment},
           Field{"bundleId", &ReplayPolicyPersistenceScope::bundleId});

template <>
inline constexpr auto kFields<ReplayPersistedPolicySnapshot> =
    fields(Field{"schemaVersion", &ReplayPersistedPolicySnapshot::schemaVersion},
           Field{"scope", &ReplayPersistedPolicySnapshot::scope},
           Field{"policy", &ReplayPersistedPolicySnapshot::policy},
           Field{"fingerprint", &ReplayPersistedPolicySnapshot::fingerprint},
           Field{"revision", &ReplayPersistedPolicySnapshot::revision},
           Field{"boundaryComplete", &ReplayPersistedPolicySnapshot::boundaryComplete});

template <>
inline constexpr auto kFields<ReplayPolicyEnvelope> =
    fields(Field{"schemaVersion", &ReplayPolicyEnvelope::schemaVersion},
           Field{"activeScopeKey", &ReplayPolicyEnvelope::activeScopeKey},
           Field{"snapshots", &ReplayPolicyEnvelope::snapshots},
           Field{"globalPurgePending", &ReplayPolicyEnvelope::globalPurgePending},
           Field{"globalPurgeRevision", &ReplayPolicyEnvelope::globalPurgeRevision});

}  // namespace zarn::model

namespace zarn::control {
namespace {

using Snapshot = model::ReplayPersistedPolicySnapshot;

constexpr std::size_t kMostSnapshots = 16;

Value withRevision(const Value& snapshot) {
  const Properties* members = snapshot.asProperties();
  if (members == nullptr || members->find("revision") != nullptr) return snapshot;
  Properties completed = *members;
  completed.set("revision", Snapshot::kLegacyRevision);
  completed.set("boundaryComplete", false);
  return completed;
}

Value withRevisions(const Value& document) {
  const Properties* members = document.asProperties();
  const Value* snapshots = members != nullptr ? members->find("snapshots") : nullptr;
  if (snapshots == nullptr || snapshots->asProperties() == nullptr) return document;
  Properties completed;
  for (const auto& [key, snapshot] : *snapshots->asProperties()) {
    completed.set(key, withRevision(snapshot));
  }
  Properties changed = *members;
  changed.set("snapshots", std::move(completed));
  return changed;
}

}  // namespace

model::ReplayPersistedPolicyLoad ReplayPolicyEnvelope::trusted(
    const model::ReplayPolicyPersistenceScope& scope) const {
  const std::string key = scope.key();
  const auto found = snapshots.find(key);
  if (globalPurgePending || activeScopeKey != key || found == snapshots.end()) return std::nullopt;
  const Snapshot& snapshot = found->second;
  const bool isWhole = snapshot.schemaVersion == Snapshot::kSchemaVersion &&
                       snapshot.scope == scope &&
                       snapshot.fingerprint == model::replayPolicyFingerprint(snapshot.policy);
  return isWhole ? model::ReplayPersistedPolicyLoad(snapshot) : std::nullopt;
}

void ReplayPolicyEnvelope::activate(Snapshot snapshot) {
  std::string key = snapshot.scope.key();
  while (snapshots.size() >= kMostSnapshots && snapshots.count(key) == 0) {
    snapshots.erase(snapshots.begin());
  }
  snapshots.insert_or_assign(key, std::move(snapshot));
  activeScopeKey = std::move(key);
}

std::string encodeReplayPolicyEnvelope(const ReplayPolicyEnvelope& envelope) {
  return base::canonicalJson(model::propertiesOf(envelope));
}

std::optional<ReplayPolicyEnvelope> decodeReplayPolicyEnvelope(std::string_view text) {
  const auto json = base::parseJson(text);
  if (!json) return std::nullopt;
  model::Misfit ignored;
  auto envelope = model::recordIn<ReplayPolicyEnvelope>(withRevisions(*json), ignored);
  if (!envelope || envelope->schemaVersion != ReplayPolicyEnvelope::kSchemaVersion) {
    return std::nullopt;
  }
  return envelope;
}

}  // namespace zarn::control
