#include <gtest/gtest.h>

#include <stdexcept>

#include "core/test_host.h"

namespace zarn {
namespace {

using testing::TestClient;
using testing::TestHost;

TEST(ClientLinksTest, ALinkReachesTheHandlerAndLeavesWithoutPersonalData) {
  TestHost host;
  TestClient client(host);
  std::vector<std::string> paths;
  client->onDeepLink([&](const ZarnDeepLink& link) { paths.push_back(link.path); });
  EXPECT_FALSE(client->handleURL("https://shop.example/early"));
  client.run();
  EXPECT_TRUE(client->handleURL("https://shop.example/jo@mail.example?utm_source=jo@mail.example"));
  host.dispatch.runUntilIdle();
  EXPECT_EQ(paths, std::vector<std::string>{"/jo@mail.example"});
  client->flush();
  host.dispatch.runUntilIdle();
  const std::string body = host.http.bodyOf("/batch");
  EXPECT_EQ(body.find("jo@mail"), std::string::npos);
  for (const auto& event : client.waitingEvents()) {
    if (*event.find("event_name")->asString() != "deep_link") continue;
    const Properties& properties = *event.find("properties")->asProperties();
    EXPECT_EQ(properties.find("link_host")->asString(), "shop.example");
    EXPECT_EQ(properties.find("link_path_hash")->asString()->size(), 16u);
    EXPECT_EQ(client->diagnostics().lastDeepLinkSource, "universalLink");
    return;
  }
  FAIL() << "no event of the link";
}

TEST(ClientLinksTest, AResetForgetsALinkThatWaits) {
  TestHost host;
  TestClient client(host);
  client.run();
  client->handleURL("myapp:of-the-last-user");
  client->reset();
  int count = 0;
  client->onDeepLink([&](const ZarnDeepLink&) { ++count; });
  host.dispatch.runUntilIdle();
  EXPECT_EQ(count, 0);
}

TEST(ClientLinksTest, ALookUpBeforeConfigureIsAnsweredAndItsAnswerMayThrow) {
  TestHost host;
  TestClient client(host);
  int count = 0;
  client->resolveLink("https://shop.example/1", [&](const std::optional<ZarnDeepLink>& link) {
    ++count;
    EXPECT_FALSE(link);
    throw std::runtime_error("the host's");
  });
  EXPECT_EQ(count, 0);
  host.dispatch.runUntilIdle();
  EXPECT_EQ(count, 1);
}

}  // namespace
}  // namespace zarn
