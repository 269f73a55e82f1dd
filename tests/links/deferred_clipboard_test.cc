#include <gtest/gtest.h>

#include "base/json.h"
#include "base/value_access.h"
#include "links/clipboard_token.h"
#include "links/links_world.h"

namespace zarn::links {
namespace {

using Outcome = DeferredClipboardMatcher::Outcome;
using testing::LinksWorld;

constexpr const char* kToken = "zn:1;exp=1893456060;znt=2f6c";  // a minute from the clock's start
constexpr const char* kReadDone = DeferredClipboardMatcher::kReadDoneKey;
constexpr const char* kGatesClosed =
    "[Zarn DeepLink] clipboard read skipped — consent gates not all open";
constexpr const char* kNoUrl =
    "[Zarn DeepLink] clipboard detect: no probableWebURL → no read, no banner";

ConfigurationOptions lookingOptions() {
  return {.universalLinkHosts = {"go.shop.example", "other.example"},
          .deferredClipboardMatchEnabled = true};
}

/// A first launch with a token on the clipboard.
struct FirstLaunch : LinksWorld {
  explicit FirstLaunch(ConfigurationOptions options = lookingOptions(), bool isFirstRun = true)
      : LinksWorld(std::move(options), isFirstRun) {
    sources.clipboard.holdsUrl = true;
    sources.clipboard.text = kToken;
    listen();
  }
  void applyPolicy(std::optional<bool> clipboardEnabled = std::nullopt) {
    links->policyApplied({.deeplink = model::DeepLinkConfig{.clipboardEnabled = clipboardEnabled}});
  }
  Outcome outcomeOf(const char* text) {
    sources.clipboard.text = text;
    applyPolicy();
    dispatch.runUntilIdle();
    return links->clipboardOutcome();
  }
  bool isReadDone() { return defaults.getBool(kReadDone).value_or(false); }
};

TEST(ClipboardTokenTest, HasAnExpiryAndAToken) {
  const auto token = parseClipboardToken(kToken);
  ASSERT_TRUE(token);
  EXPECT_EQ(token->expiry, 1893456060);
  EXPECT_EQ(token->token, "2f6c");
  EXPECT_TRUE(parseClipboardToken("zn:;more;znt=a;exp=1.5"));
  for (const std::string& text : std::vector<std::string>{
           "", "zn:", "zn:a", "zn:a;exp=1", "zn:a;znt=b", "zn:a;exp=1;znt=", "zn:a;exp=;znt=b",
           "zn:a;exp=1x;znt=b", "zn:a;exp=inf;znt=b", "zn:exp=1;znt=b", "ZN:a;exp=1;znt=b",
           " zn:a;exp=1;znt=b", "zn:a;exp=1;znt=b\nmy own notes", "zn:é;exp=1;znt=b",
           "zn:a;exp=1;znt=" + std::string(kMaxClipboardToken, 'b')}) {
    EXPECT_FALSE(parseClipboardToken(text)) << text;
  }
}

TEST(DeferredClipboardTest, AsksTheServerAboutATokenAndHandsTheLinkOver) {
  FirstLaunch launch;
  launch.sources.clipboard.duringRead = [&] {
    testing::FakeDefaults left;
    launch.defaults.leaveTo(left);
    EXPECT_EQ(left.getBool(kReadDone), true);  // lasts before the reading
  };
  launch.applyPolicy();
  EXPECT_EQ(launch.sources.clipboard.detections, 0);  // off the caller's thread
  launch.dispatch.runUntilIdle();
  EXPECT_EQ(launch.links->clipboardOutcome(), Outcome::readZarnToken);
  EXPECT_EQ(
      *base::parseJson(launch.http.nextBody()),
      Value(Properties{
          {"project_id", "shop"}, {"api_key", "wk_live_x_shop_abc"}, {"clipboard_token", kToken}}));
  EXPECT_TRUE(launch.delivered.empty());
  launch.answer(R"({"resolved":true,"match_method":"clipboard","link":{"id":"L9"}})");
  ASSERT_EQ(launch.delivered.size(), 1u);
  EXPECT_EQ(launch.delivered[0].url.text, "https://go.shop.example/link/deferred");
  EXPECT_EQ(launch.delivered[0].linkId, "L9");
  EXPECT_TRUE(launch.delivered[0].isDeferred);
  ASSERT_EQ(launch.clicks.size(), 1u);
  EXPECT_EQ(*launch.clicks[0].find("is_deferred"), Value(true));
  EXPECT_EQ(*launch.clicks[0].find("link_id"), Value("L9"));
  EXPECT_EQ(launch.links->lastSource(), ZarnDeepLink::Source::deferredClipboard);
  EXPECT_EQ(launch.http.waitingCount(), 0u);  // not asked about again
  launch.links->handleURL("https://a.example/link/L9");
  EXPECT_EQ(launch.delivered.size(), 1u);
}

TEST(DeferredClipboardTest, EveryGateKeepsTheClipboardUntouched) {
  auto unwanted = lookingOptions();
  unwanted.deferredClipboardMatchEnabled = false;
  FirstLaunch disabled(unwanted), forbidden, later(lookingOptions(), false), optedOut, changedMind;
  disabled.applyPolicy();
  forbidden.applyPolicy(false);
  forbidden.applyPolicy(true);  // only the first one counts
  later.applyPolicy();
  optedOut.optOut();
  optedOut.applyPolicy();
  changedMind.applyPolicy();
  changedMind.optOut();
  for (FirstLaunch* launch : {&disabled, &forbidden, &later, &optedOut, &changedMind}) {
    launch->dispatch.runUntilIdle();
    EXPECT_EQ(launch->links->clipboardOutcome(), Outcome::notAttempted);
    EXPECT_EQ(launch->sources.clipboard.detections, 0);
    EXPECT_FALSE(launch->defaults.mayHold(kReadDone));
    EXPECT_EQ(launch->log.count(kGatesClosed), 1);
  }
  FirstLaunch done;
  done.defaults.set(kReadDone, true);
  done.optOut();
  EXPECT_EQ(done.outcomeOf(kToken), Outcome::alreadyDone);
  EXPECT_EQ(done.sources.clipboard.detections, 0);
}

TEST(DeferredClipboardTest, WithoutAProbableUrlNothingIsRead) {
  FirstLaunch none;
  none.sources.clipboard.holdsUrl = false;
  EXPECT_EQ(none.outcomeOf(kToken), Outcome::noProbableWebURL);
  FirstLaunch slow;
  slow.sources.clipboard.answers = false;
  slow.applyPolicy();
  slow.dispatch.advance(0.999);
  EXPECT_EQ(slow.log.count(kNoUrl), 0);
  slow.dispatch.advance(0.001);
  EXPECT_EQ(slow.links->clipboardOutcome(), Outcome::noProbableWebURL);
  for (FirstLaunch* launch : {&none, &slow}) {
    EXPECT_EQ(launch->log.count(kNoUrl), 1);
    EXPECT_EQ(launch->sources.clipboard.reads, 0);
    EXPECT_FALSE(launch->isReadDone());
    EXPECT_EQ(launch->dispatch.pendingCount(), 0u);
  }
}

TEST(DeferredClipboardTest, WhatIsNoTokenOrExpiredIsNotSent) {
  FirstLaunch empty, other, expired,
      unused(ConfigurationOptions{.deferredClipboardMatchEnabled = true});
  EXPECT_EQ(empty.outcomeOf(""), Outcome::readNonZarnToken);
  EXPECT_EQ(other.outcomeOf("https://a.example/?my=own"), Outcome::readNonZarnToken);
  EXPECT_EQ(other.log.count("[Zarn DeepLink] clipboard value not a zn: token → discarded"), 1);
  expired.clock.advance(base::seconds(60));
  expired.clock.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(expired.outcomeOf(kToken), Outcome::readNonZarnToken);
  EXPECT_EQ(expired.log.count("[Zarn DeepLink] clipboard token past best-effort TTL → discarded"),
            1);
  EXPECT_EQ(unused.outcomeOf(kToken), Outcome::readZarnToken);  // but there is nobody to ask about
  for (FirstLaunch* launch : {&empty, &other, &expired, &unused}) {
    EXPECT_TRUE(launch->isReadDone());
    EXPECT_EQ(launch->http.waitingCount(), 0u);
  }
  FirstLaunch lastMoment;
  lastMoment.clock.advance(base::seconds(60));
  EXPECT_EQ(lastMoment.outcomeOf(kToken), Outcome::readZarnToken);
}

TEST(DeferredClipboardTest, AnOptOutOnTheWayEndsIt) {
  FirstLaunch detecting;
  detecting.applyPolicy();
  detecting.dispatch.runOne();  // has asked whether there is an address
  detecting.optOut();
  detecting.dispatch.runUntilIdle();
  EXPECT_EQ(detecting.sources.clipboard.reads, 0);
  EXPECT_FALSE(detecting.isReadDone());

  FirstLaunch reading;
  reading.sources.clipboard.duringRead = [&] { reading.optOut(); };
  FirstLaunch back;  // opted in again: it was not this consent
  back.sources.clipboard.duringRead = [&] {
    back.optOut();
    back.optIn();
  };
  for (FirstLaunch* launch : {&reading, &back}) {
    launch->applyPolicy();
    launch->dispatch.runUntilIdle();
    EXPECT_EQ(launch->sources.clipboard.reads, 1);
    EXPECT_EQ(launch->http.waitingCount(), 0u);
  }
}

TEST(DeferredClipboardTest, AnAnswerAfterAResetOrWithoutAMatchIsNotHandedOver) {
  FirstLaunch reset, unmatched;
  for (FirstLaunch* launch : {&reset, &unmatched}) {
    launch->applyPolicy();
    launch->dispatch.runUntilIdle();
  }
  reset.links->forgetUser();
  reset.answer(R"({"resolved":true})");
  unmatched.answer(R"({"resolved":false})");
  for (FirstLaunch* launch : {&reset, &unmatched}) {
    EXPECT_TRUE(launch->delivered.empty() && launch->clicks.empty());
  }
}

}  // namespace
}  // namespace zarn::links
