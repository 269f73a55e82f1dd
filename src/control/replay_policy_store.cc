#include "control/replay_policy_store.h"

#include <chrono>
#include <thread>
#include <utility>

#include "base/host_call.h"
#include "base/mutex.h"
#include "control/replay_policy_envelope.h"
#include "platform/files.h"

namespace zarn::control {
namespace {

constexpr std::size_t kMostBytes = std::size_t{256} << 10;
constexpr base::Duration kFirstWait = std::chrono::milliseconds(2);
constexpr base::Duration kLastWait = std::chrono::milliseconds(128);

/// Several stores of one process share the file.
base::Mutex& fileMutex() {
  static auto& mutex = *new base::Mutex(base::LockRank::replayPolicyFile);
  return mutex;
}

void sleepFor(base::Duration duration) {
  std::this_thread::sleep_for(duration);
}

}  // namespace

ReplayPolicyFileStore::ReplayPolicyFileStore(platform::Files& files, Wait wait)
    : files_(files),
      wait_(wait ? std::move(wait) : sleepFor),
      folder_(files.dataDirectory() + "/io.zarn.sdk"),
      path_(folder_ + "/replay-policy-v1.json") {}

ReplayPolicyFileStore::Load ReplayPolicyFileStore::load(const Scope& scope) {
  base::assertMayBlock("reading the replay policy");
  base::MutexLock lock(fileMutex());
  const auto envelope = read();
  return envelope ? envelope->trusted(scope) : std::nullopt;
}

bool ReplayPolicyFileStore::replace(const Scope& scope,
                                    const std::function<Snapshot(const Load&)>& next) {
  return update([&](ReplayPolicyEnvelope& envelope) {
           envelope.activate(next(envelope.trusted(scope)));
           return Result::done;
         }) == Result::done;
}

ReplayPolicyFileStore::Result ReplayPolicyFileStore::completeBoundary(const Scope& scope,
                                                                      const std::string& revision) {
  return update([&](ReplayPolicyEnvelope& envelope) {
    const auto found = envelope.snapshots.find(scope.key());
    if (found == envelope.snapshots.end() || found->second.revision != revision) {
      return Result::staleRevision;
    }
    found->second.boundaryComplete = true;
    return Result::done;
  });
}

bool ReplayPolicyFileStore::beginGlobalPurge(const std::string& revision) {
  return update([&](ReplayPolicyEnvelope& envelope) {
           envelope.globalPurgePending = true;
           envelope.globalPurgeRevision = revision;
           return Result::done;
         }) == Result::done;
}

ReplayPolicyFileStore::Result ReplayPolicyFileStore::finishGlobalPurge(
    const std::string& revision) {
  return update([&](ReplayPolicyEnvelope& envelope) {
    if (!envelope.globalPurgePending || envelope.globalPurgeRevision != revision) {
      return Result::staleRevision;
    }
    envelope.globalPurgePending = false;
    envelope.globalPurgeRevision.reset();
    // Nothing of before is left to be purged in any scope.
    for (auto& [key, snapshot] : envelope.snapshots) snapshot.boundaryComplete = true;
    return Result::done;
  });
}

void ReplayPolicyFileStore::forget() {
  base::MutexLock lock(fileMutex());
  files_.remove(path_);
}

ReplayPolicyFileStore::Result ReplayPolicyFileStore::update(const Change& change) {
  base::assertMayBlock("writing the replay policy");
  base::MutexLock lock(fileMutex());
  if (!files_.createDirectories(folder_)) return Result::failed;
  const auto lockOfProcess = lockAgainstOthers();
  if (!lockOfProcess) return Result::failed;
  auto envelope = read().value_or(ReplayPolicyEnvelope());
  const Result result = change(envelope);
  if (result != Result::done) return result;
  const std::string text = encodeReplayPolicyEnvelope(envelope);
  // What could not be read again must not be written.
  const bool written = text.size() <= kMostBytes && files_.writeAtomically(path_, text);
  return written ? Result::done : Result::failed;
}

std::optional<ReplayPolicyEnvelope> ReplayPolicyFileStore::read() {
  const auto text = files_.read(path_);
  if (!text || text->size() > kMostBytes) return std::nullopt;
  return decodeReplayPolicyEnvelope(*text);
}

std::unique_ptr<platform::FileLock> ReplayPolicyFileStore::lockAgainstOthers() {
  const std::string path = path_ + ".lock";
  auto lock = files_.tryLock(path);
  for (auto wait = kFirstWait; !lock && wait <= kLastWait; wait *= 2) {
    wait_(wait);
    lock = files_.tryLock(path);
  }
  return lock;
}

}  // namespace zarn::control
