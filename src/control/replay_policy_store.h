// ReplayPolicyFileStore: the replay policies that were admitted, and the purges they wait for, in
// one small file that outlives the process.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/executor.h"
#include "model/replay_policy_snapshot.h"

namespace zarn::platform {
class FileLock;
class Files;
}  // namespace zarn::platform

namespace zarn::control {

struct ReplayPolicyEnvelope;

enum class ReplayPolicyStoreResult {
  done,
  staleRevision,  // a newer one has come, and stands
  failed,         // nothing has changed for sure
};

/// Any thread, one call at a time in the whole process. All of it may wait for the disk or for
/// another process: never on a host's thread.
class ReplayPolicySnapshotStoring {
 public:
  using Scope = model::ReplayPolicyPersistenceScope;
  using Snapshot = model::ReplayPersistedPolicySnapshot;
  using Load = model::ReplayPersistedPolicyLoad;
  using Result = ReplayPolicyStoreResult;
  virtual ~ReplayPolicySnapshotStoring() = default;

  virtual Load load(const Scope& scope) = 0;
  /// Makes what `next` returns the active snapshot, in one step with the load that it is given; it
  /// may take locks above the file's only. False when it was not written, and `next` may not have
  /// been called then.
  virtual bool replace(const Scope& scope, const std::function<Snapshot(const Load&)>& next) = 0;
  /// What was captured before the snapshot of this revision has been purged.
  virtual Result completeBoundary(const Scope& scope, const std::string& revision) = 0;
  /// Nothing is trusted from here on, in no scope, until the purge of the last revision is
  /// finished.
  virtual bool beginGlobalPurge(const std::string& revision) = 0;
  virtual Result finishGlobalPurge(const std::string& revision) = 0;
  /// The way out where a boundary can't be written down: forgets everything, so that nothing is
  /// trusted.
  virtual void forget() = 0;
};

/// "io.zarn.sdk/replay-policy-v1.json" among the app's private data. Whatever can't be read whole,
/// or fails a check, is not trusted; the next write begins anew then. Processes of one app share
/// the file and change it under a lock; who can't get that in a quarter of a second has failed.
class ReplayPolicyFileStore final : public ReplayPolicySnapshotStoring {
 public:
  using Wait = std::function<void(base::Duration)>;
  /// `wait` passes the time before another process is tried again; by default the thread sleeps.
  explicit ReplayPolicyFileStore(platform::Files& files, Wait wait = nullptr);

  Load load(const Scope& scope) override;
  bool replace(const Scope& scope, const std::function<Snapshot(const Load&)>& next) override;
  Result completeBoundary(const Scope& scope, const std::string& revision) override;
  bool beginGlobalPurge(const std::string& revision) override;
  Result finishGlobalPurge(const std::string& revision) override;
  void forget() override;

 private:
  using Change = std::function<Result(ReplayPolicyEnvelope&)>;
  /// Reads, changes and writes as one step; writes only what `change` has done.
  Result update(const Change& change);
  std::optional<ReplayPolicyEnvelope> read();
  std::unique_ptr<platform::FileLock> lockAgainstOthers();

  // Constant after construction.
  platform::Files& files_;
  const Wait wait_;
  const std::string folder_;
  const std::string path_;
};

}  // namespace zarn::control
