#include "control/replay_policy_store.h"

#include <gtest/gtest.h>

#include "control/policy_files.h"
#include "control/replay_policy_envelope.h"

namespace zarn::control {
namespace {

using model::ReplayRemotePolicy;
using Scope = model::ReplayPolicyPersistenceScope;
using Snapshot = model::ReplayPersistedPolicySnapshot;
using Load = model::ReplayPersistedPolicyLoad;
using Result = ReplayPolicyStoreResult;
using Fault = testing::PolicyFiles::Fault;

const Scope kShop{"shop", "production", "com.example.shop"};
const Scope kOther{"other", "production", "com.example.shop"};

Snapshot snapshotOf(std::optional<ReplayRemotePolicy> policy, const Scope& scope = kShop) {
  const auto fingerprint = model::replayPolicyFingerprint(policy);
  return {.scope = scope,
          .policy = std::move(policy),
          .fingerprint = fingerprint,
          .revision = "r1",
          .boundaryComplete = true};
}

const ReplayRemotePolicy kPolicy{
    .enabled = true, .sampleRate = 0.25, .autoMaskCategories = {"text"}};

struct StoreFixture : ::testing::Test {
  testing::PolicyHost host;
  base::Duration waited{};
  ReplayPolicyFileStore store{host.files, [this](base::Duration wait) { waited += wait; }};

  bool put(const Snapshot& snapshot) {
    return store.replace(snapshot.scope, [&](const Load&) { return snapshot; });
  }
};
using ReplayPolicyStore = StoreFixture;

TEST_F(ReplayPolicyStore, KeepsWhatWasPutInTheAgreedForm) {
  EXPECT_FALSE(store.load(kShop));
  const Snapshot none = snapshotOf(std::nullopt);
  ASSERT_TRUE(put(none));
  EXPECT_EQ(store.load(kShop), none);
  EXPECT_EQ(host.text(),
            R"({"activeScopeKey":"4:shop|10:production|16:com.example.shop",)"
            R"("globalPurgePending":false,"schemaVersion":1,"snapshots":{)"
            R"("4:shop|10:production|16:com.example.shop":{"boundaryComplete":true,)"
            R"("fingerprint":"none","revision":"r1","schemaVersion":1,"scope":{)"
            R"("bundleId":"com.example.shop","environment":"production","projectId":"shop"}}}})");
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  ReplayPolicyFileStore nextLaunch(host.files);
  EXPECT_EQ(nextLaunch.load(kShop), snapshotOf(kPolicy));
}

TEST_F(ReplayPolicyStore, NoChangedByteIsTrusted) {
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  const std::string text = host.text();
  const std::size_t policyAt = text.find("\"policy\":{");
  const std::size_t policyEnd = text.find('}', policyAt);
  ASSERT_NE(policyAt, text.npos);
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (const char flip : {1, 16, 32}) {
      std::string changed = text;
      changed[at] = static_cast<char>(changed[at] ^ flip);
      const auto envelope = decodeReplayPolicyEnvelope(changed);
      const Load load = envelope ? envelope->trusted(kShop) : std::nullopt;
      if (at >= policyAt && at <= policyEnd) {
        EXPECT_FALSE(load) << changed.substr(policyAt, policyEnd - policyAt);
      } else if (load) {  // such as another digit of the revision
        EXPECT_EQ(load->policy, kPolicy) << changed;
        EXPECT_EQ(load->scope, kShop) << changed;
      }
    }
  }
  for (std::size_t size = 0; size < text.size(); ++size) {
    EXPECT_FALSE(decodeReplayPolicyEnvelope(text.substr(0, size))) << size;
  }
}

TEST_F(ReplayPolicyStore, WhatIsUnclearIsNotTrusted) {
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  const std::string whole = host.text();
  EXPECT_FALSE(store.load(kOther)) << "a file of another project";
  const auto replaced = [&](std::string_view from, std::string_view to) {
    std::string text = whole;
    const auto at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return text.replace(at, from.size(), to);
  };
  const std::string doubtful[] = {
      "",
      "null",
      "[]",
      whole + "}",
      std::string(300 << 10, ' ') + whole,
      replaced("\"schemaVersion\":1,\"snapshots\"", "\"schemaVersion\":2,\"snapshots\""),
      replaced("\"schemaVersion\":1,\"scope\"", "\"schemaVersion\":2,\"scope\""),
      replaced("\"projectId\":\"shop\"", "\"projectId\":\"cafe\""),
      replaced("\"activeScopeKey\"", "\"activeScope\""),
      replaced("\"globalPurgePending\":false", "\"globalPurgePending\":true"),
      replaced("\"boundaryComplete\":true", "\"boundaryComplete\":null"),
      replaced("\"boundaryComplete\":true,", ""),
  };
  for (const std::string& text : doubtful) {
    host.put(text);
    EXPECT_FALSE(store.load(kShop)) << text.substr(0, 600);
  }
  // It is begun anew with the next write.
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  EXPECT_EQ(host.text(), whole);

  host.put(replaced("\"revision\":\"r1\",", ""));
  const Load legacy = store.load(kShop);
  ASSERT_TRUE(legacy);
  EXPECT_EQ(legacy->revision, "legacy-pending");
  EXPECT_FALSE(legacy->boundaryComplete);

  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  host.files.canRead = false;
  EXPECT_FALSE(store.load(kShop));
}

TEST_F(ReplayPolicyStore, OnlyTheScopeAdmittedLastIsTrusted) {
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  ASSERT_TRUE(put(snapshotOf(kPolicy, kOther)));
  EXPECT_FALSE(store.load(kShop));
  EXPECT_TRUE(store.load(kOther));
  for (int i = 0; i < 40; ++i) {
    ASSERT_TRUE(put(snapshotOf(kPolicy, {std::to_string(i), "production", "com.example"})));
  }
  EXPECT_LT(host.text().size(), 16000u);
}

TEST_F(ReplayPolicyStore, ABoundaryIsCompletedByItsOwnRevisionOnly) {
  Snapshot waiting = snapshotOf(kPolicy);
  waiting.boundaryComplete = false;
  ASSERT_TRUE(put(waiting));
  EXPECT_EQ(store.completeBoundary(kShop, "r0"), Result::staleRevision);
  EXPECT_EQ(store.completeBoundary(kOther, "r1"), Result::staleRevision);
  EXPECT_FALSE(store.load(kShop)->boundaryComplete);
  EXPECT_EQ(store.completeBoundary(kShop, "r1"), Result::done);
  EXPECT_TRUE(store.load(kShop)->boundaryComplete);
}

TEST_F(ReplayPolicyStore, AGlobalPurgeLastsUntilTheLastOneIsFinished) {
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  ASSERT_TRUE(store.beginGlobalPurge("p1"));
  ASSERT_TRUE(store.beginGlobalPurge("p2"));
  EXPECT_FALSE(store.load(kShop));
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  EXPECT_FALSE(store.load(kShop)) << "an admission does not end it";
  EXPECT_EQ(store.finishGlobalPurge("p1"), Result::staleRevision);
  EXPECT_FALSE(store.load(kShop));
  EXPECT_EQ(store.finishGlobalPurge("p2"), Result::done);
  EXPECT_TRUE(store.load(kShop));
  EXPECT_EQ(store.finishGlobalPurge("p2"), Result::staleRevision);
}

TEST_F(ReplayPolicyStore, AFailedWriteLeavesWhatWasThere) {
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  const std::string before = host.text();
  host.files.fault = Fault::unwritten;
  EXPECT_FALSE(put(snapshotOf(std::nullopt)));
  EXPECT_EQ(store.completeBoundary(kShop, "r1"), Result::failed);
  EXPECT_FALSE(store.beginGlobalPurge("p1"));
  EXPECT_EQ(host.text(), before);
  store.forget();
  EXPECT_FALSE(store.load(kShop));

  host.files.fault = Fault::none;
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  EXPECT_FALSE(put(snapshotOf(kPolicy, {std::string(300 << 10, 'p'), "production", ""})));
  EXPECT_TRUE(store.load(kShop)) << "what could not be read again is not written";
}

TEST_F(ReplayPolicyStore, AnotherProcessIsWaitedForButNotLong) {
  ASSERT_TRUE(put(snapshotOf(kPolicy)));
  auto lock = host.files.tryLock(host.path() + ".lock");
  ASSERT_TRUE(lock);
  EXPECT_FALSE(put(snapshotOf(std::nullopt)));
  EXPECT_EQ(waited, std::chrono::milliseconds(254));
  EXPECT_EQ(store.load(kShop), snapshotOf(kPolicy)) << "a reader needs no lock";

  ReplayPolicyFileStore patient(host.files, [&](base::Duration) { lock.reset(); });
  EXPECT_EQ(patient.completeBoundary(kShop, "r1"), Result::done);
}

}  // namespace
}  // namespace zarn::control
