// Consent, identity and pauses across real processes: what was asked of the library holds whatever
// is killed, and every look is at what the collector has recorded.
#include <gtest/gtest.h>

#include <set>

#include "collector_test.h"
#include "ordered_host.h"

namespace zarn {
namespace {

using testing::OrderedHost;

class ConsentTest : public testing::CollectorTest {
 protected:
  struct Host : OrderedHost {
    explicit Host(const ConsentTest& test)
        : OrderedHost(CONSENT_HOST_PROGRAM, test.collector_.address(), test.data_.path()) {}
  };

  void project(const std::string& action) {
    collector_.post("/api/collector/projects/consent/" + action, "{}");
  }
};

TEST_F(ConsentTest, AnOptOutHoldsWhenTheProcessIsKilledRightAfter) {
  for (const char* batches : {"", R"({"endpoint":"batch","kind":"status","status":503})",
                              R"({"endpoint":"batch","kind":"hang","hang_ms":20000})"}) {
    SCOPED_TRACE(batches);
    {
      Host host(*this);
      host("track", "allowed");
      host("deliver");
      if (*batches != '\0') fault(batches);
      // Waiting, or given to a server that has not taken it.
      const std::int64_t before = count("batches");
      host(*batches == '\0' ? "track" : "send", "undelivered");
      if (*batches != '\0') {
        ASSERT_TRUE(comes("batches", before + 1));
      }
      host("opt-out");
      host.kill();
    }
    noFaults();
    const std::size_t before = requests();
    {
      Host host(*this);
      EXPECT_EQ(host.ask("opted-out"), "yes");
      host("send", "void");
      expectSilence(before);
      host.exit();
    }
    EXPECT_EQ(requests(), before) << "and none at the end";
    Host host(*this);
    fault(R"({"kind":"delay","delay_ms":9000})");
    host("opt-in");
    host("track", "void");
    noFaults();  // only now the policy can come
    host("await-policy");
    host("track", "again");
    host("deliver");
    host.exit();
  }
  EXPECT_EQ(arrived("allowed"), 3);
  EXPECT_EQ(arrived("again"), 3);
  EXPECT_EQ(arrived("void"), 0);
  EXPECT_EQ(arrived("undelivered"), 0);
}

TEST_F(ConsentTest, AResetHoldsWhenTheProcessIsKilledRightAfter) {
  std::set<std::string> anonymous, sessions;
  for (const std::string user : {"ada-17", "bo-42"}) {
    {
      Host host(*this);
      host("identify", user);
      host("track", "signed_in");
      host("deliver");
      EXPECT_EQ(id(event("signed_in"), "user_id"), user);
      anonymous.insert(id(event("signed_in"), "anonymous_id"));
      sessions.insert(id(event("signed_in"), "session_id"));
      host("track", "waiting_as_" + user);
      host("reset");
      host.kill();
    }
    const std::size_t before = requests();
    {
      Host host(*this);
      host("track", "signed_out");
      host("deliver");
      host.exit();
    }
    const Properties event = this->event("signed_out");
    EXPECT_EQ(id(event, "user_id"), "");
    EXPECT_TRUE(anonymous.insert(id(event, "anonymous_id")).second);
    EXPECT_TRUE(sessions.insert(id(event, "session_id")).second);
    const auto later =
        collector_.getJson("/api/collector/requests/raw?since=" + std::to_string(before));
    EXPECT_EQ(later.find(user), std::string::npos);
    EXPECT_EQ(arrived("waiting_as_" + user), 0);
  }
}

TEST_F(ConsentTest, AnOptOutInOneProcessStopsTheOther) {
  Host chooser(*this), other(*this);
  chooser("deliver");
  other("track", "allowed");
  other("deliver");
  other("track", "waiting");

  chooser("opt-out");
  const std::size_t before = requests();
  other("send", "void");
  other("await-empty");
  EXPECT_EQ(other.ask("opted-out"), "yes");
  expectSilence(before);

  chooser("opt-in");
  chooser("await-policy");
  other("await-policy");
  EXPECT_EQ(other.ask("opted-out"), "no");
  other("track", "again");
  other("deliver");
  other("opt-out");
  EXPECT_EQ(chooser.ask("opted-out"), "yes");
  chooser("track", "void");
  chooser.exit();
  other.exit();
  EXPECT_EQ(arrived("allowed"), 1);
  EXPECT_EQ(arrived("waiting"), 0);
  EXPECT_EQ(arrived("again"), 1);
  EXPECT_EQ(arrived("void"), 0);
}

TEST_F(ConsentTest, APauseDropsWhatWaitsAndEndsWithALaterLaunch) {
  {
    Host host(*this);
    host("track", "allowed");
    host("deliver");
    project("pause");
    host("send", "paused");
    host("await-pause");
    host("track", "void");
    host.exit();
  }
  {
    Host host(*this);
    host("await-pause");
    host("send", "void");
    host.kill();
  }
  project("resume");
  Host host(*this);
  host("deliver");
  host("track", "again");
  host("deliver");
  host.exit();
  EXPECT_EQ(arrived("allowed"), 1);
  EXPECT_EQ(arrived("again"), 1);
  EXPECT_EQ(arrived("paused"), 0);
  EXPECT_EQ(arrived("void"), 0);
}

TEST_F(ConsentTest, WhatWasTrackedWhileTheServerWasAwayArrives) {
  collector_.stop();
  Host host(*this);
  host("identify", "ada-17");
  host("track", "early");
  EXPECT_EQ(host.ask("flush"), "no");
  collector_.start();
  host("deliver");
  host.exit();
  EXPECT_EQ(arrived("early"), 1);
  EXPECT_EQ(id(event("early"), "user_id"), "ada-17");
}

}  // namespace
}  // namespace zarn
