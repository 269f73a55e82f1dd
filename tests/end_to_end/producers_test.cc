// Links, push messages, requests and the installation across real processes that are killed, reset
// and opted out.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "collector_test.h"
#include "ordered_host.h"

namespace zarn {
namespace {

using testing::OrderedHost;

constexpr const char* kLink =
    "https://links.example/offers?zarn_click_id=3f2504e0-4f89-41d3-9a0c-0305e82c3301"
    "&utm_content=";

class ProducersTest : public testing::CollectorTest {
 protected:
  struct Host : OrderedHost {
    explicit Host(const ProducersTest& test)
        : OrderedHost(PRODUCERS_HOST_PROGRAM, test.collector_.address(), test.data_.path()) {}
  };

  /// What clients were answered, "resolve" or "register".
  std::size_t answers(const std::string& endpoint) {
    return ask("exchanges?limit=10000&endpoint=" + endpoint).find("exchanges")->asArray()->size();
  }
  /// Whether there come to be as many; each request is one of the collector's calls.
  bool answersCome(const std::string& endpoint, std::size_t number) {
    for (int i = 0; i < 50 && answers(endpoint) < number; ++i) {
      comes("calls", count("calls") + 1, milliseconds(200));
    }
    return answers(endpoint) == number;
  }
  /// Once what a killed process had sent has been read.
  std::size_t settledRequests() {
    while (comes("calls", count("calls") + 1, milliseconds(50))) {
    }
    return requests();
  }
  /// Whether the settings that the next launch reads hold `text` before long.
  bool comesToBeKept(const std::string& text) {
    for (int i = 0; i < 1000; ++i) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(data_.path())) {
        if (entry.path().filename().string().find("defaults") == std::string::npos) continue;
        std::ostringstream bytes;
        bytes << std::ifstream(entry.path()).rdbuf();
        if (bytes.str().find(text) != std::string::npos) return true;
      }
      comes("calls", count("calls") + 1, milliseconds(10));
    }
    return false;
  }
  bool isAttributed(const std::string& name, const std::string& push) {
    return id(propertiesOf(name), "attribution_push_id") == push;
  }
  Properties propertiesOf(const std::string& name) {
    const Properties event = this->event(name);
    const Value* properties = event.find("properties");
    return properties != nullptr ? *properties->asProperties() : Properties();
  }
  std::int64_t arrivedOf(const std::string& filter) {
    return *ask("count?" + filter).find("count")->asInt();
  }
  void policy(const std::string& json) {
    collector_.request("PUT", "/api/collector/projects/producers",
                       R"({"data_collection":)" + json + "}");
  }
};

TEST_F(ProducersTest, AnOptOutHoldsRightAfterALinkATokenAndAMessage) {
  // Whether the server has answered what they ask it, and whether the process lives on.
  for (const bool hangs : {false, true}) {
    SCOPED_TRACE(hangs);
    const std::string void_ = hangs ? "void-2" : "void-1";
    {
      Host host(*this);
      host("deliver");
      if (hangs) {
        fault(R"({"endpoint":"resolve","kind":"hang","hang_ms":20000})");
        fault(R"({"endpoint":"register","kind":"status","status":503})");
      }
      const std::size_t resolved = answers("resolve"), registered = answers("register");
      host("link", kLink + void_);
      host("token", "token-of-" + void_);
      host("receive", void_);
      host("open", void_);
      if (hangs) {
        ASSERT_TRUE(answersCome("resolve", resolved + 1));
        ASSERT_TRUE(answersCome("register", registered + 1));
      }
      host("opt-out");
      if (hangs) {
        // The token's next attempt would be due by then.
        const std::size_t before = requests();
        EXPECT_FALSE(comes("calls", count("calls") + 1, milliseconds(1300)));
        EXPECT_EQ(requests(), before);
      }
      host.kill();
    }
    noFaults();
    const std::size_t before = settledRequests();
    {
      Host host(*this);
      host("link", kLink + void_);
      host("token", "token-of-" + void_);
      host("open", void_);
      host("request", "https://api.example/void");
      expectSilence(before);
      host.exit();
    }
    EXPECT_EQ(requests(), before) << "and none at the end";
    Host host(*this);
    host("opt-in");
    host("await-policy");
    host("track", "again-" + void_);
    host("deliver");
    host.exit();
    EXPECT_EQ(arrivedOf("name=again-" + void_), 1);
    EXPECT_EQ(arrivedOf("type=deep_link"), 0);
    EXPECT_EQ(arrivedOf("type=push_open"), 0);
    EXPECT_EQ(arrivedOf("type=push_received"), 0);
    EXPECT_EQ(arrivedOf("name=push_token"), 0);
    EXPECT_EQ(arrivedOf("name=network_summary"), 0);
  }
}

TEST_F(ProducersTest, EventsAreAttributedToAMessageAcrossAKillAndNotAcrossAReset) {
  {
    Host host(*this);
    host("receive", "push-1");
    host("open", "push-1");
    ASSERT_TRUE(comesToBeKept("push-1"));
    host.kill();
  }
  {
    Host host(*this);
    host("track", "later");
    host("open", "push-2");
    host("track", "latest");
    host("deliver");
    host("reset");
    host("track", "after_reset");
    host.kill();
  }
  Host host(*this);
  host("track", "relaunched");
  host("deliver");
  host.exit();

  EXPECT_EQ(arrivedOf("type=push_open"), 2);
  EXPECT_FALSE(propertiesOf("push_open").empty());
  EXPECT_EQ(propertiesOf("push_open").find("attribution_push_id"), nullptr);
  EXPECT_TRUE(isAttributed("later", "push-1"));
  EXPECT_TRUE(isAttributed("latest", "push-2"));
  for (const std::string name : {"after_reset", "relaunched"}) {
    EXPECT_EQ(arrived(name), 1) << name;
    EXPECT_TRUE(isAttributed(name, "")) << name;
  }
}

TEST_F(ProducersTest, AnInstallationIsReportedOnce) {
  collector_.stop();
  for (int launch = 0; launch < 3; ++launch) Host(*this).kill();
  collector_.start();
  for (int launch = 0; launch < 2; ++launch) {
    Host host(*this);
    host("deliver");
    host("reset");
    host.exit();
  }
  EXPECT_EQ(arrived("app_install"), 1);
}

TEST_F(ProducersTest, TheServerSwitchesMessagesAndRequestsOffWhileTheAppRuns) {
  {
    Host host(*this);
    host("deliver");
    host("open", "push-1");
    host("request", "https://api.example/allowed/1");
    host("track", "allowed");
    host("deliver");
    host.exit();
  }
  policy(R"({"push":{"enabled":false},"performance":{"networkRequests":false},
             "replay":{"enabled":false}})");
  {
    fault(R"({"kind":"delay","delay_ms":20000})");
    Host host(*this);
    host("request", "https://api.example/forbidden/1");
    noFaults();  // only now the policy comes
    host("await-ban");
    host("request", "https://api.example/forbidden/2");
    host("receive", "push-2");
    host("open", "push-2");
    host("track", "banned");
    host("deliver");
    host.exit();
  }
  Host host(*this);
  host("track", "banned_later");
  host("deliver");
  host.exit();

  EXPECT_TRUE(isAttributed("allowed", "push-1"));
  EXPECT_EQ(arrived("network_summary"), 1);
  const auto summaries = collector_.getJson("/api/collector/events?name=network_summary");
  EXPECT_NE(summaries.find("/allowed/:id"), std::string::npos) << summaries;
  EXPECT_EQ(summaries.find("forbidden"), std::string::npos) << summaries;
  EXPECT_EQ(arrivedOf("type=push_open"), 1);
  EXPECT_EQ(arrivedOf("type=push_received"), 0);
  for (const std::string name : {"banned", "banned_later"}) {
    EXPECT_EQ(arrived(name), 1) << name;
    EXPECT_TRUE(isAttributed(name, "")) << name;
  }
}

TEST_F(ProducersTest, ATokenIsRegisteredAgainAfterAFaultAndOnceAfterAnAnswer) {
  Host host(*this);
  host("deliver");
  fault(R"({"endpoint":"register","kind":"status","status":503,"count":1})");
  host("token", "token-1");
  EXPECT_TRUE(answersCome("register", 2));
  // Refused for good, until the host calls again.
  fault(R"({"endpoint":"register","kind":"status","status":404,"count":1})");
  host("token", "token-2");
  EXPECT_TRUE(answersCome("register", 3));
  for (int i = 0; i < 50 && answers("register") < 4; ++i) {
    host("token", "token-2");  // void as long as the refusal has not been heard
    comes("calls", count("calls") + 1, milliseconds(100));
  }
  host("token", "token-2");
  host("token", "token-1");
  EXPECT_TRUE(answersCome("register", 5));
  host("deliver");
  host.exit();
  EXPECT_EQ(answers("register"), 5u);
  EXPECT_EQ(arrived("push_token"), 4);
}

}  // namespace
}  // namespace zarn
