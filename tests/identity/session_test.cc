#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "identity/session_ids.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn::identity {
namespace {

using model::EventType;

class SessionTest : public ::testing::Test {
 protected:
  struct Event {
    EventType type;
    std::string name;
    std::string sessionId;
  };
  std::string id() const { return *ids_.id(); }
  std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const Event& event : events_) all.push_back(event.name);
    return all;
  }
  void track() {
    tracker_.emplace(base::seconds(30), clock_, random_,
                     [this](EventType type, std::string_view name) {
                       events_.push_back({type, std::string(name), id()});
                     });
  }
  void stayInBackground(double seconds) {
    tracker_->appDidEnterBackground();
    clock_.advance(base::seconds(seconds));
    tracker_->appWillEnterForeground();
  }

  testing::ManualClock clock_;
  testing::FakeRandom random_;
  FallbackSession fallback_{random_};
  std::optional<SessionTracker> tracker_;
  SessionIds ids_{fallback_, tracker_};
  std::vector<Event> events_;
};

using Names = std::vector<std::string>;

TEST_F(SessionTest, ALongStayInTheBackgroundEndsOneAndOpensAnother) {
  track();
  tracker_->start();
  const std::string first = id();
  EXPECT_TRUE(Uuid::parse(first));
  stayInBackground(30);  // no longer than the time-out
  tracker_->appWillEnterForeground();
  EXPECT_EQ(id(), first);
  EXPECT_EQ(names(), (Names{"session_start"}));

  stayInBackground(30.001);
  const std::string second = id();
  EXPECT_NE(second, first);
  ASSERT_EQ(names(), (Names{"session_start", "session_end", "session_start"}));
  EXPECT_EQ(events_[0].type, EventType::sessionStart);
  EXPECT_EQ(events_[1].type, EventType::sessionEnd);
  EXPECT_EQ(events_[0].sessionId, first);
  EXPECT_EQ(events_[1].sessionId, first);
  EXPECT_EQ(events_[2].sessionId, second);

  clock_.advance(base::seconds(100));
  tracker_->appWillEnterForeground();  // with no background before
  tracker_->appWillTerminate();
  ASSERT_EQ(events_.size(), 4U);
  EXPECT_EQ(events_[3].name, "session_end");
  EXPECT_EQ(id(), second);
}

TEST_F(SessionTest, TheWallClockDoesNotCount) {
  track();
  tracker_->start();
  tracker_->appDidEnterBackground();
  clock_.jumpWall(base::seconds(86400));
  tracker_->appWillEnterForeground();
  EXPECT_EQ(events_.size(), 1U);
  tracker_->appDidEnterBackground();
  clock_.jumpWall(base::seconds(-86400));
  clock_.advance(base::seconds(31));
  tracker_->appWillEnterForeground();
  EXPECT_EQ(events_.size(), 3U);
}

TEST_F(SessionTest, ABoundaryRenewsWhicheverIdIsInUseWithoutAnEvent) {
  const std::string fallback = id();
  EXPECT_TRUE(fallback.starts_with("no_session_"));
  EXPECT_TRUE(Uuid::parse(fallback.substr(11)));
  ids_.renew();
  EXPECT_NE(id(), fallback);
  EXPECT_TRUE(id().starts_with("no_session_"));

  const std::string renewedFallback = id();
  track();
  tracker_->start();
  const auto held = ids_.id();
  const std::string first = id();
  ids_.renew();
  EXPECT_NE(id(), first);
  EXPECT_EQ(*held, first);
  EXPECT_EQ(events_.size(), 1U);
  EXPECT_NE(*fallback_.id(), renewedFallback);
}

}  // namespace
}  // namespace zarn::identity
