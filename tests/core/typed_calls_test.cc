#include <gtest/gtest.h>

#include "core/test_host.h"

namespace zarn::core {
namespace {

using testing::TestClient;
using testing::TestHost;

class TypedCallsTest : public ::testing::Test {
 protected:
  TypedCallsTest() { client_.run(); }
  /// The events tracked since the last call.
  std::vector<Properties> sent() {
    client_->flush();
    host_.dispatch.runUntilIdle();
    auto events = client_.waitingEvents();
    client_.acceptWaiting();
    return events;
  }
  Value propertiesOf(const NamedEvent& event) {
    client_->trackTyped(event);
    const auto events = sent();
    EXPECT_EQ(*events.at(0).find("event_type"), Value("custom"));
    EXPECT_EQ(*events.at(0).find("event_name"), Value(event.name));
    return *events.at(0).find("properties");
  }

  TestHost host_;
  TestClient client_{host_};
};

TEST_F(TypedCallsTest, ArgumentsThatAreNotSetHaveNoKeyAndTheHostsPropertiesWin) {
  EXPECT_EQ(propertiesOf(eventOf(Purchase{.amount = 9.99, .currency = "EUR", .quantity = 0})),
            Value(Properties{{"amount", 9.99}, {"currency", "EUR"}, {"quantity", 0}}));
  EXPECT_EQ(propertiesOf(eventOf(SubscriptionStart{.plan = "pro",
                                                   .amount = 5,
                                                   .currency = "NOK",
                                                   .interval = SubscriptionInterval::year,
                                                   .properties = {{"plan", "mine"}}})),
            Value(Properties{
                {"plan", "mine"}, {"amount", 5.0}, {"currency", "NOK"}, {"interval", "year"}}));
  EXPECT_EQ(propertiesOf(eventOf(Cancellation{.plan = "pro"})), Value(Properties{{"plan", "pro"}}));
  EXPECT_EQ(propertiesOf(eventOf(Activation{})), Value(Properties()));
}

TEST_F(TypedCallsTest, GoalsHaveStrictNamesAndTheirArgumentsWin) {
  for (const char* refused : {"ab", "Abc", "a b", "", "æøå", "abc\n"})
    client_->markGoal(refused, {});
  client_->markGoal(std::string(65, 'a'), {});
  EXPECT_TRUE(sent().empty());
  EXPECT_EQ(host_.log.count("[Zarn] markGoal: invalid name 'Abc' — must match ^[a-z0-9_-]{3,64}$. "
                            "Event dropped."),
            1);
  client_->markGoal("abc", {.value = 2.5, .properties = {{"$goal_value", 1}, {"x", true}}});
  const auto goal = sent().at(0);
  EXPECT_EQ(*goal.find("event_type"), Value("goal"));
  EXPECT_EQ(*goal.find("properties"), Value(Properties{{"$goal_value", 2.5}, {"x", true}}));
}

TEST_F(TypedCallsTest, AUserPropertyIsSentWhenItChanges) {
  client_->setUserProperties({{"$plan", "pro"}, {"seats", 3}});
  client_->setUserProperties({{"seats", 3}});
  client_->setUserProperties({{"$plan", "pro"}, {"seats", 4}});
  auto events = sent();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(*events[0].find("event_name"), Value("user_property"));
  EXPECT_EQ(*events[1].find("properties"), Value(Properties{{"seats", 4}}));
  client_->reset();
  client_->setUserProperties({{"seats", 4}});
  EXPECT_EQ(sent().size(), 1u) << "news for the next user";
}

TEST_F(TypedCallsTest, TheServerNarrowsWhatIsKnownOfTheUser) {
  TestHost host;
  TestClient client(host);
  client.run(R"({"identity":{"collectEmail":false}})");
  client->setUserProperties({{"$email", "a@b.example"}});
  client->identify("user", {{"email", "a@b.example"}});
  client->flush();
  host.dispatch.runUntilIdle();
  ASSERT_EQ(client.waitingNames(), std::vector<std::string>{"identify"});
  EXPECT_EQ(*client.waitingEvents()[0].find("properties"), Value(Properties{{"user_id", "user"}}));
}

TEST_F(TypedCallsTest, WhatWasNotTakenIsNewTheNextTime) {
  client_->optOut();
  client_->setUserProperties({{"seats", 5}});
  client_->identify("user", {{"a", 1}});
  client_->optIn();
  client_.answerConfig();
  client_->setUserProperties({{"seats", 5}});
  client_->identify("user", {{"a", 1}});
  EXPECT_EQ(sent().size(), 2u);
}

}  // namespace
}  // namespace zarn::core
