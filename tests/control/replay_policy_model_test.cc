// Random sequences of admissions, boundaries, revocations, crashes and faults of the disk, held
// against what the admission is there for: nothing is captured or kept under a policy that does not
// allow it.
#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

#include "control/replay_policy_admission.h"
#include "desktop/files.h"
#include "support/fake_services.h"
#include "support/temp_directory.h"

namespace zarn::control {
namespace {

using Coordinator = ReplayPolicyAdmissionCoordinator;
using Verdict = Coordinator::Verdict;
using Policy = Coordinator::Policy;

/// A file in memory, on a disk with moods.
class MoodyFiles final : public desktop::PosixFiles {
 public:
  using PosixFiles::PosixFiles;
  bool isFull = false, losesSyncs = false, canRead = true, canRemove = true;
  std::function<void()> beforeWrite;

  std::optional<std::string> read(const std::string&) override {
    return canRead ? content_ : std::nullopt;
  }
  bool writeAtomically(const std::string&, std::string_view content) override {
    if (auto hook = std::exchange(beforeWrite, nullptr)) hook();
    if (!isFull) content_ = content;
    return !isFull && !losesSyncs;
  }
  bool createDirectories(const std::string&) override { return true; }
  std::unique_ptr<platform::FileLock> tryLock(const std::string&) override {
    return std::make_unique<platform::FileLock>();
  }
  bool remove(const std::string&) override {
    if (canRemove) content_.reset();
    return canRemove;
  }

 private:
  std::optional<std::string> content_;
};

struct Host {
  testing::TempDirectory directory;
  testing::FakeEnvironment environment;
  testing::FakeLog log;
  testing::FakeRandom random;
  MoodyFiles files{{.dataDirectory = directory.path(), .bundleId = ""}, environment, log};
  ReplayPolicyFileStore store{files};
};

class World {
 public:
  explicit World(Host& host, unsigned seed) : host_(host), random_(seed) { launch(); }

  void step() {
    host_.files.beforeWrite = oneIn(20) ? [this] { revoke(); } : std::function<void()>();
    switch (below(24)) {
      case 0:
        return revoke();
      case 1:
        return require(oneIn(2));
      case 2:
      case 3:
        return finishGlobalPurge();
      case 4:
        return changeMood();
      case 5:
        return oneIn(3) ? launch() : remember();
      case 6:
      case 7:
      case 8:
      case 9:
      case 10:
      case 11:
        return admit();
      case 12:
      case 13:
      case 14:
      case 15:
      case 16:
        return purgeForBoundary();
      default:
        return completeBoundary();
    }
  }

  /// Captures if that is allowed; whatever is kept must be allowed by the policy in force.
  ::testing::AssertionResult holds() {
    if (!coordinator_->isAuthorized()) return ::testing::AssertionSuccess();
    ++captures;
    if (!inForce_ || !inForce_->enabled) {
      return ::testing::AssertionFailure() << "authorised without a policy";
    }
    for (const Captured& captured : kept_) {
      if (captured.isDue) return ::testing::AssertionFailure() << "authorised before a purge";
      if (model::narrows(*inForce_, captured.under)) {
        return ::testing::AssertionFailure() << "kept from a wider policy";
      }
    }
    kept_.push_back({*inForce_});
    return ::testing::AssertionSuccess();
  }
  int captures = 0;

 private:
  struct Captured {
    model::ReplayRemotePolicy under;
    bool isDue = false;    // must be purged before anything is authorised
    bool isNoted = false;  // and that was written down
  };

  unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
  bool oneIn(unsigned chances) { return below(chances) == 0; }

  void launch() {
    host_.files.beforeWrite = nullptr;
    coordinator_.emplace(model::ReplayPolicyPersistenceScope{"shop", "production", "com.example"},
                         host_.store, host_.random);
    tokens_ = {coordinator_->trust()};
    purged_.clear();
    purging_.clear();
    inForce_ = waiting_ = std::nullopt;
    for (Captured& captured : kept_) captured.isDue = captured.isNoted;
    if (oneIn(2) && coordinator_->hasPendingAdmission()) require(true);
  }

  void remember() {
    tokens_.push_back(coordinator_->trust());
    if (tokens_.size() > 3) tokens_.erase(tokens_.begin());
  }

  void revoke() {
    coordinator_->revoke();
    for (Captured& captured : kept_) captured.isDue = true;
  }

  Policy anyPolicy() {
    if (oneIn(8)) return std::nullopt;
    model::ReplayRemotePolicy policy{.enabled = !oneIn(8)};
    policy.sampleRate = 0.25 * (1 + below(3));
    policy.maskInputs = oneIn(2);
    policy.structuralEnabled = oneIn(2);
    if (oneIn(2)) policy.autoMaskCategories = {"text"};
    return policy;
  }

  void admit() {
    const Policy policy = anyPolicy();
    const auto token =
        oneIn(4) ? tokens_[below(static_cast<unsigned>(tokens_.size()))] : coordinator_->trust();
    const Verdict verdict = coordinator_->admit(policy, token);
    if (verdict == Verdict::unchanged) inForce_ = policy;
    if (verdict == Verdict::boundaryRequired) waiting_ = policy;
  }

  void purgeForBoundary() {
    const auto revision = coordinator_->pendingRevision();
    if (!revision) return;
    kept_.clear();
    purged_.push_back(*revision);
  }

  void completeBoundary() {
    if (purged_.empty()) return;
    const std::string revision = purged_[below(static_cast<unsigned>(purged_.size()))];
    const bool isLast = coordinator_->pendingRevision() == revision;
    if (coordinator_->completeBoundary(revision) && isLast) inForce_ = waiting_;
  }

  void require(bool isGlobal) {
    for (Captured& captured : kept_) captured.isDue = true;
    const auto revision =
        isGlobal ? coordinator_->beginGlobalPurge() : coordinator_->requireBoundary();
    if (revision) {
      for (Captured& captured : kept_) captured.isNoted = true;
      if (isGlobal) purging_.push_back(*revision);
      if (!isGlobal) waiting_ = std::nullopt;
    } else if (isGlobal) {
      kept_.clear();
    }
  }

  void finishGlobalPurge() {
    if (purging_.empty()) return;
    kept_.clear();
    coordinator_->finishGlobalPurge(purging_[below(static_cast<unsigned>(purging_.size()))]);
  }

  void changeMood() {
    host_.files.isFull = oneIn(6);
    host_.files.losesSyncs = oneIn(6);
    host_.files.canRead = !oneIn(6);
    host_.files.canRemove = !oneIn(3);
  }

  Host& host_;
  std::mt19937 random_;
  std::optional<Coordinator> coordinator_;
  std::vector<Coordinator::Trust::Token> tokens_;
  std::vector<std::string> purged_;   // revisions whose purge is done
  std::vector<std::string> purging_;  // revisions of global purges
  std::vector<Captured> kept_;
  Policy inForce_, waiting_;
};

TEST(ReplayPolicyModel, NothingIsCapturedOrKeptThatThePolicyInForceForbids) {
  const unsigned first = std::random_device()();
  int captures = 0;
  for (unsigned seed = first; seed != first + 120; ++seed) {
    Host host;
    World world(host, seed);
    for (int step = 0; step < 120; ++step) {
      world.step();
      ASSERT_TRUE(world.holds()) << "seed " << seed << ", step " << step;
    }
    captures += world.captures;
  }
  EXPECT_GT(captures, 200) << "the sequences must get somewhere";
}

TEST(ReplayPolicyModel, OnARealThreadARevocationWinsAtWhateverMomentItComes) {
  Host host;
  const model::ReplayRemotePolicy policy{.enabled = true};
  Coordinator coordinator({"shop", "production", "com.example"}, host.store, host.random);
  for (int round = 0; round < 200; ++round) {
    const auto token = coordinator.trust();
    std::thread admission([&] {
      if (coordinator.admit(policy, token) == Verdict::boundaryRequired) {
        coordinator.completeBoundary(coordinator.pendingRevision().value());
      }
    });
    for (int i = 0; i < round * 20; ++i) coordinator.isAuthorized();
    coordinator.revoke();
    EXPECT_FALSE(coordinator.isAuthorized());
    admission.join();
    EXPECT_FALSE(coordinator.isAuthorized()) << round;
  }
}

}  // namespace
}  // namespace zarn::control
