#include "links/links.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "base/json.h"
#include "base/value_access.h"
#include "links/links_world.h"

namespace zarn::links {
namespace {

using base::ValueAccess;
using testing::LinksWorld;
using Source = ZarnDeepLink::Source;

constexpr const char* kClickId = "0a1b2c3d-4e5f-4a6b-8c7d-0123456789ab";
const std::string kAsked =
    std::string("https://go.shop.example/sale?zarn_click_id=") + kClickId + "&size=m";
constexpr const char* kKnown =
    R"({"resolved":true,"match_method":"san","match_confidence":1,"campaign":"spring",)"
    R"("media_source":"","link":{"id":"L1","target_path":"/sale/1"}})";
constexpr const char* kRepeat =
    "[Zarn DeepLink] dedup: dropping repeat ingest of ab (source=universalLink)";

ConfigurationOptions askingOptions() {
  return {.universalLinkHosts = {"Shop.example"}};
}

TEST(LinksTest, KnowsARepeatByItsKeyWithinTheWindow) {
  LinksWorld world;
  const auto isNew = [&] {
    const auto before = world.clicks.size();
    EXPECT_TRUE(world.links->handleURL("https://a.example/link/ab"));
    return world.clicks.size() > before;
  };
  EXPECT_TRUE(isNew());
  world.clock.advance(base::seconds(60));
  EXPECT_FALSE(isNew());
  world.clock.advance(base::seconds(30));
  EXPECT_FALSE(isNew());  // 90,000 ms after the first
  EXPECT_EQ(world.log.count(kRepeat), 2);
  world.clock.advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(isNew());  // a repeat does not begin a new window
  world.clock.jumpWall(-base::seconds(10));
  EXPECT_FALSE(isNew());
  world.clock.jumpWall(-base::seconds(3600));
  EXPECT_TRUE(isNew());
  EXPECT_FALSE(isNew());
}

TEST(LinksTest, Remembers64Keys) {
  LinksWorld world;
  const auto open = [&](int i) {
    world.links->handleURL("myapp:open?n=" + std::string(static_cast<std::size_t>(i), 'x'));
  };
  for (int i = 0; i < 65; ++i) open(i);
  ASSERT_EQ(world.clicks.size(), 65u);
  open(1);
  EXPECT_EQ(world.clicks.size(), 65u);
  open(0);
  EXPECT_EQ(world.clicks.size(), 66u);
}

TEST(LinksTest, HandsOverOnMainAndKeepsTheLatestLinkForTheHandler) {
  LinksWorld world;
  world.links->handleURL("myapp:one");
  world.links->handleURL("myapp:two");
  world.listen();
  EXPECT_TRUE(world.delivered.empty());
  world.dispatch.runUntilIdle();
  ASSERT_EQ(world.delivered.size(), 1u);
  EXPECT_EQ(world.delivered[0].path, "two");
  EXPECT_EQ(world.delivered[0].source, Source::customScheme);

  world.dispatch.main().setCurrent(true);
  world.links->handleURL("myapp:three");
  EXPECT_EQ(world.delivered.size(), 2u);
  world.links->onDeepLink(nullptr);
  world.links->handleURL("myapp:four");
  world.listen();
  ASSERT_EQ(world.delivered.size(), 3u);
  EXPECT_EQ(world.delivered[2].path, "four");
  world.links->onDeepLink([](const ZarnDeepLink&) { throw std::runtime_error("the host's"); });
  EXPECT_TRUE(world.links->handleURL("myapp:five"));
  EXPECT_EQ(world.clicks.size(), 5u);
}

// What a handler holds may be anything of the host's, and go with it.
TEST(LinksTest, AHandlerThatIsReplacedMayCallBackAsItGoes) {
  LinksWorld world;
  std::shared_ptr<void> held(nullptr, [&](void*) { world.links->handleURL("myapp:bye"); });
  world.links->onDeepLink([held = std::move(held)](const ZarnDeepLink&) {});
  EXPECT_TRUE(world.clicks.empty());
  world.links->onDeepLink(nullptr);
  EXPECT_EQ(world.clicks.size(), 1u);
}

TEST(LinksTest, HandsAnAllowedLinkOverAgainWithTheAnswer) {
  LinksWorld world(askingOptions());
  world.listen();
  world.links->handleURL(kAsked);
  world.dispatch.runUntilIdle();
  ASSERT_EQ(world.delivered.size(), 1u);
  EXPECT_EQ(world.http.nextUrl(), "http://collector.example/api/sdk/link/resolve");
  EXPECT_EQ(world.http.nextRequest().timeout, base::seconds(3));
  EXPECT_EQ(base::parseJson(world.http.nextBody())->asProperties()->size(), 3u);
  EXPECT_EQ(
      *base::parseJson(world.http.nextBody()),
      Value(Properties{
          {"project_id", "shop"}, {"api_key", "wk_live_x_shop_abc"}, {"zarn_click_id", kClickId}}));
  world.answer(kKnown, 404);  // whatever the status
  ASSERT_EQ(world.delivered.size(), 2u);
  const ZarnDeepLink& link = world.delivered[1];
  EXPECT_EQ(link.url.text, kAsked);
  EXPECT_EQ(link.linkId, "L1");
  EXPECT_EQ(link.campaign, "spring");
  EXPECT_EQ(link.mediaSource, std::nullopt);
  EXPECT_EQ(link.targetPath, "/sale/1");
  EXPECT_EQ(link.matchConfidence, 1.0);
  EXPECT_TRUE(link.isDeterministic());
  EXPECT_EQ(world.clicks.size(), 1u);
  EXPECT_TRUE(world.kept.empty());  // not of the installation
}

TEST(LinksTest, AnAnswerThatDoesNotResolveChangesNothing) {
  for (const char* body : {"", "[]", R"({"resolved":false,"campaign":"x"})",
                           R"({"resolved":"true"})", R"({"resolved":1})", "{\"resolved\":true"}) {
    LinksWorld world(askingOptions());
    world.listen();
    world.links->handleURL(kAsked);
    world.answer(body);
    EXPECT_EQ(world.delivered.size(), 1u) << body;
  }
  const auto partial =
      readResolveAnswer(platform::HttpResponse{200, R"({"resolved":true,"link":[],"campaign":7})"});
  EXPECT_TRUE(partial.resolved);
  EXPECT_FALSE(partial.linkId || partial.campaign || partial.matchConfidence);
  EXPECT_EQ(merged({.linkId = "own"}, partial).linkId, "own");
}

TEST(LinksTest, AsksOnlyAboutAllowedHostsAndClickIds) {
  LinksWorld world(askingOptions());
  const std::string click = std::string("?zarn_click_id=") + kClickId;
  world.links->handleURL("https://evilshop.example/" + click);
  world.links->handleURL("myapp:open" + click);
  EXPECT_EQ(world.log.count("[Zarn DeepLink] host not allowlisted — skipping backend resolve (§7 "
                            "SSRF scope)"),
            2);
  world.links->handleURL("https://shop.example/plain");
  EXPECT_EQ(world.http.waitingCount(), 0u);
  world.optOut();
  world.links->handleURL("https://shop.example/" + click);
  EXPECT_EQ(world.http.waitingCount(), 0u);
  EXPECT_EQ(world.log.count("[Zarn] tracking opted out — skipping link resolve"), 1);
}

TEST(LinksTest, ADeferredLinkKeepsItsClickForTheInstall) {
  LinksWorld world;
  LinkResolver resolver(
      {"key", {.apiHost = "http://collector.example"}}, world.guard,
      {.isOptedOut = [] { return false; },
       .keepInstallClickId = [&](const std::string& id) { world.kept.push_back(id); }},
      platform::Log(world.log, false));
  ZarnDeepLink link{.parameters = {{"zarn_click_id", kClickId}}, .isDeferred = true};
  for (const char* body : {"{}", kKnown}) {
    resolver.resolve(link, "zn:token", world.guard.current(), [](const ResolveResult&) {});
    world.answer(body);
  }
  EXPECT_EQ(world.kept, std::vector<std::string>{kClickId});
}

TEST(LinksTest, TellsOfALinkWithoutItsPathAndQuery) {
  LinksWorld world;
  world.links->handleURL(std::string("https://a.example/link/ab?utm_source=mail&utm_=no&secret=1&"
                                     "~campaign=spring&zarn_click_id=") +
                         kClickId);
  ASSERT_EQ(world.clicks.size(), 1u);
  EXPECT_EQ(world.clicks[0],
            (Properties{{"link_host", "a.example"},
                        {"link_path_hash", ValueAccess::opaque("9ceb2d33209e8514")},
                        {"source", ValueAccess::opaque("universalLink")},
                        {"is_deferred", false},
                        {"link_id", "ab"},
                        {"zarn_click_id", ValueAccess::opaque(kClickId)},
                        {"utm_source", "mail"},
                        {"utm_campaign", "spring"}}));
  world.links->ingestPush("myapp:x?utm_campaign=own&~campaign=other");
  EXPECT_EQ(*world.clicks[1].find("utm_campaign"), Value("own"));
  EXPECT_EQ(*world.clicks[1].find("source"), ValueAccess::opaque("push"));
  EXPECT_EQ(*world.clicks[1].find("link_host"), Value(""));
  EXPECT_EQ(world.links->lastSource(), Source::push);
}

TEST(LinksTest, NoLinkMakesALargeEvent) {
  LinksWorld world;
  std::string url = "https://" + std::string(5000, 'h') + "/?utm_jo@mail.example=v&utm_" +
                    std::string(200, 'n') + "=v&";
  std::string accents = "e";
  for (int i = 0; i < 5000; ++i) accents += "\u0301";  // one character all the same
  for (int i = 0; i < 1000; ++i)
    url += "utm_" + std::to_string(i) + std::string(20, 'n') + "=" + (i == 0 ? accents : "v") + "&";
  world.links->handleURL(url);
  ASSERT_EQ(world.clicks.size(), 1u);
  EXPECT_EQ(world.clicks[0].size(), 4 + 50u);
  for (const auto& [key, value] : world.clicks[0]) {
    EXPECT_LE(key.size(), 64u);
    EXPECT_EQ(key.find('@'), std::string::npos);
    EXPECT_LE(value.asString().value_or("").size(), 1024u);
  }
}

TEST(LinksTest, AResetForgetsTheLinksOfTheUser) {
  LinksWorld world(askingOptions());
  world.links->handleURL(kAsked);  // waits for a handler
  world.links->forgetUser();
  world.listen();
  world.answer(kKnown);
  EXPECT_TRUE(world.delivered.empty());
  world.links->handleURL(kAsked);  // no repeat, on its way to main
  EXPECT_EQ(world.clicks.size(), 2u);
  world.links->forgetUser();
  world.answer(kKnown);
  EXPECT_TRUE(world.delivered.empty());

  world.dispatch.main().setCurrent(true);
  world.links->onDeepLink([&](const ZarnDeepLink&) { world.links->forgetUser(); });
  world.links->handleURL(kAsked);
  EXPECT_EQ(world.clicks.size(), 2u);
  EXPECT_EQ(world.http.waitingCount(), 0u);
}

TEST(LinksTest, TakesWebLinksOfActivitiesAndAllOfAWindow) {
  LinksWorld world;
  const std::string web(UserActivity::kBrowsingWeb);
  EXPECT_FALSE(world.links->handleUserActivity({"com.example.edit", "https://a.example/1"}));
  EXPECT_FALSE(world.links->handleUserActivity({web}));
  EXPECT_FALSE(world.links->handleUserActivity({web, "not a link"}));
  EXPECT_TRUE(world.links->handleUserActivity({web, "https://a.example/2"}));
  world.links->handleSceneConnection(
      {.userActivities = {{"com.example.edit", "https://a.example/3"},
                          {web, "https://a.example/4"}},
       .urls = {"myapp:5", "", "https://a.example/2"}});
  std::vector<std::string> sources;
  for (const auto& click : world.clicks)
    sources.push_back(*ValueAccess::opaqueText(*click.find("source")));
  EXPECT_EQ(sources, (std::vector<std::string>{"universalLink", "universalLink", "customScheme"}));
}

TEST(LinksTest, OpensElsewhereOnlyWhatTheHostWantsAndAllows) {
  LinksWorld world({.deepLinkAutoOpen = true, .universalLinkHosts = {"shop.example"}});
  world.links->handleURL("https://shop.example/1");
  world.links->handleURL("https://shop.example/1");  // it has come back
  world.links->handleURL("https://evil.example/1");
  world.links->handleUserActivity(
      {std::string(UserActivity::kBrowsingWeb), "https://shop.example/2"});
  EXPECT_TRUE(world.sources.opener.opened.empty());
  world.dispatch.runUntilIdle();
  EXPECT_EQ(world.sources.opener.opened, std::vector<std::string>{"https://shop.example/1"});
  EXPECT_EQ(world.log.count("[Zarn DeepLink] auto-open denied for non-allowlisted host"), 1);
  LinksWorld unwanted(askingOptions());
  unwanted.links->handleURL("https://shop.example/1");
  unwanted.dispatch.runUntilIdle();
  EXPECT_TRUE(unwanted.sources.opener.opened.empty());
}

/// What a host that looks a link up is told.
struct Told {
  std::function<void(std::optional<ZarnDeepLink>)> callback() {
    return [this](std::optional<ZarnDeepLink> link) {
      ++count;
      last = std::move(link);
    };
  }
  int count = 0;
  std::optional<ZarnDeepLink> last;
};

TEST(LinksTest, AnswersALookUpOnceOnMainWhateverBecomesOfIt) {
  const auto lookUp = [](std::string_view url, const std::function<void(LinksWorld&)>& then) {
    LinksWorld world(askingOptions());
    world.listen();
    Told told;
    world.dispatch.main().setCurrent(true);
    world.links->resolveLink(url, told.callback());
    EXPECT_EQ(told.count, 0);
    then(world);
    world.dispatch.runUntilIdle();
    EXPECT_EQ(told.count, 1);
    EXPECT_TRUE(world.delivered.empty());
    return told.last;
  };
  const auto nothing = [](LinksWorld&) {};
  EXPECT_FALSE(lookUp("no link", nothing));
  EXPECT_EQ(lookUp("https://evil.example/x", nothing)->path, "/x");
  EXPECT_EQ(lookUp("https://shop.example/x", nothing)->path, "/x");
  const auto known = lookUp(kAsked, [](LinksWorld& world) { world.answer(kKnown); });
  EXPECT_EQ(known->campaign, "spring");
  EXPECT_EQ(known->source, Source::universalLink);
  for (const std::function<void(LinksWorld&)>& end : std::vector<std::function<void(LinksWorld&)>>{
           [](LinksWorld& world) { world.answer("{}"); },
           [](LinksWorld& world) { world.http.failNext(); },
           [](LinksWorld& world) { world.optOut(); },
           [](LinksWorld& world) {
             world.links->forgetUser();
             world.answer(kKnown);
           },
           [](LinksWorld& world) {
             world.links.reset();
             world.answer(kKnown);
           }}) {
    const auto link = lookUp(kAsked, end);
    ASSERT_TRUE(link);
    EXPECT_FALSE(link->campaign);
  }
}

TEST(LinksTest, ALookUpTellsOfANewWebLinkOnly) {
  LinksWorld world;
  world.links->resolveLink("myapp:x", nullptr);
  EXPECT_TRUE(world.clicks.empty());
  world.links->resolveLink("https://a.example/x",
                           [](auto) { throw std::runtime_error("the host's"); });
  world.links->resolveLink("https://a.example/x", nullptr);
  world.links->handleURL("https://a.example/x");
  EXPECT_EQ(world.clicks.size(), 1u);
  world.dispatch.runUntilIdle();
}

}  // namespace
}  // namespace zarn::links
