// A user's way through an app, as events tell it.
#include "capture/capture.h"

#include <gtest/gtest.h>

#include <thread>

#include "capture/capture_world.h"

namespace zarn::capture {
namespace {

using model::EventType;
using platform::LifeEvent;
using Names = std::vector<std::string>;

class CaptureTest : public ::testing::Test, protected CaptureWorld {
 protected:
  void appear(const Page& page) { ui.screens.appear(page.screen); }
  /// Later than anything that counts as the same arrival.
  void wait() { dispatch.advance(3.0); }
};

TEST_F(CaptureTest, TellsTheWayOfAUser) {
  start();
  const Page home = page("Home", 2);
  const Page cart = page("Shopping cart", 5);
  told.clear();
  appear(home);
  wait();
  ui.input.beginScroll(home.button);
  ui.input.endScroll(home.button);
  ui.input.tap(home.button);
  dispatch.advance(0.4);
  appear(cart);
  EXPECT_EQ(names(), (Names{"Home", "Next", "screen_transition", "Shopping cart"}));
  EXPECT_EQ(told[0].type, EventType::screenView);
  EXPECT_EQ(told[0].text("screen_class"), "\"ShopPage\"");
  EXPECT_EQ(told[0].text("screen_state"), "\"normal\"");
  EXPECT_NE(told[0].text("_zarn_name_candidates").find(R"("text":"Home","source":"navTitle")"),
            std::string::npos)
      << told[0].text("_zarn_name_candidates");
  EXPECT_EQ(told[1].type, EventType::tap);
  EXPECT_EQ(told[1].text("view_hierarchy"), "\"Button > PageView > Window\"");
  const std::string from = told[0].text("screen_fingerprint");
  const std::string to = told[3].text("screen_fingerprint");
  EXPECT_NE(from, to);
  EXPECT_EQ(told[2].text("duration_ms"), "400");
  EXPECT_EQ(told[2].text("from_identity_hash"), from);
  EXPECT_EQ(told[2].text("to_screen"), to);
  EXPECT_EQ(told[2].text("ts"), "\"2030-01-01T00:00:03.400Z\"");
  ASSERT_EQ(crumbs.size(), 3u);
  EXPECT_EQ(crumbs[0].message, "Screen: Home");
  EXPECT_EQ(crumbs[1].message, "Tap: Next");
  EXPECT_EQ(crumbs[1].category, "ui");
  ASSERT_EQ(offers.size(), 2u);
  EXPECT_EQ(model::shapeName(offers[0].seen.observation.structureHash),
            "Screen_" + from.substr(1, 8));

  told.clear();
  dispatch.advance(1.0);
  background();
  EXPECT_EQ(names(), (Names{"Home", "Shopping cart", "app_background"}));
  EXPECT_EQ(flushes, 1);
  EXPECT_EQ(told[0].text("entry_index"), "0");
  EXPECT_EQ(told[0].text("screen_id"), from);
  EXPECT_EQ(told[0].text("entered_at"), "1893456000000");
  EXPECT_EQ(told[0].text("exited_at"), "1893456003400");
  EXPECT_EQ(told[0].text("dwell_ms"), "3400");
  EXPECT_EQ(told[0].text("tap_count"), "1");
  EXPECT_EQ(told[0].text("scroll_count"), "1");
  EXPECT_EQ(told[0].text("exit_reason"), "\"forward\"");
  EXPECT_EQ(told[0].text("trigger_kind"), "absent");
  EXPECT_EQ(told[0].text("trigger_view_class"), "\"ShopPage\"");
  EXPECT_EQ(told[1].text("exit_reason"), "\"background\"");
  EXPECT_EQ(told[1].text("dwell_ms"), "1000");
  EXPECT_NE(told[0].text("visit_id"), told[1].text("visit_id"));
  capture->handle(LifeEvent::willTerminate);
  EXPECT_EQ(flushes, 1) << "there was nothing left to tell";
}

TEST_F(CaptureTest, TellsOneArrivalOnce) {
  start();
  told.clear();
  const Page settings = page("Settings", 2);
  appear(settings);
  settings.screen->look.title = "Other";
  dispatch.advance(2.0);
  appear(settings);
  EXPECT_EQ(names(), (Names{"Settings"})) << "the same shape";
  appear(page("My SETTINGS", 3));
  EXPECT_EQ(names().size(), 2u) << "the name was told two seconds ago";
  dispatch.advance(0.9);
  appear(page("settings", 4));
  EXPECT_EQ(names().size(), 2u) << "most likely the same place";
  dispatch.advance(0.2);
  appear(page("settings", 5));
  EXPECT_EQ(names().size(), 3u);
  // A name that says nothing is not told, but its shape counts as seen.
  const Page nameless = page("CheckoutHelper", 6);
  appear(nameless);
  nameless.screen->look.title = "Checkout";
  appear(nameless);
  EXPECT_EQ(names().size(), 3u);
  wait();
  appear(nameless);
  EXPECT_EQ(names().back(), "Checkout");
}

TEST_F(CaptureTest, PassesOverWhatIsNoScreenToTheUser) {
  start();
  told.clear();
  const Page stack = page("Stack", 2);
  stack.screen->look.kind = platform::ScreenKind::navigation;
  const Page alert = page("Alert", 3);
  alert.screen->look.kind = platform::ScreenKind::system;
  const Page flat = page("Flat", 4);
  flat.screen->look.view->look.frame.height = 0;
  const Page unloaded = page("Unloaded", 5);
  unloaded.screen->look.view = nullptr;
  for (const Page& none : {stack, alert, flat, unloaded}) appear(none);
  EXPECT_EQ(names(), Names{});
}

TEST_F(CaptureTest, TellsNothingOfWhatIsMasked) {
  start();
  told.clear();
  const Page page = this->page("", 0);
  const auto& view = page.screen->look.view;
  const auto secret = ui.label("Card 4111 1111", {16, 20, 300, 40}, 30, true);
  secret->look.isMarkedPrivate = true;
  secret->look.accessibilityIdentifier = "card-4111";
  view->add(secret);
  view->add(ui.label("anna@example.org", {16, 80, 300, 40}, 24, true));
  page.button->look.isMarkedPrivate = true;
  appear(page);
  ui.input.tap(page.button);
  background();
  ASSERT_GE(told.size(), 3u);
  for (const ToldEvent& event : told) {
    std::string all = event.name;
    base::JsonWriter(all).object(event.properties);
    EXPECT_EQ(all.find("4111"), std::string::npos) << all;
    EXPECT_EQ(all.find("anna@"), std::string::npos) << all;
    EXPECT_EQ(all.find("Next"), std::string::npos) << all;
  }
}

TEST_F(CaptureTest, ATabSwitchIsAVisitOfItsOwn) {
  start();
  const Page home = page("Home", 2);
  const Page cart = page("", 3);
  const Page empty = page("", 4);
  const auto tabs = ui.screen({.kind = platform::ScreenKind::tabs,
                               .classText = "TabView",
                               .view = ui.node({}),
                               .children = {home.screen, cart.screen, empty.screen},
                               .tabTitles = {"Home", "My cart", ""},
                               .selectedIndex = 0});
  told.clear();
  appear(home);
  wait();
  ui.input.tap(home.button);
  ui.screens.select(tabs, 1);
  ASSERT_EQ(names(), (Names{"Home", "Next", "My cart"}));
  EXPECT_EQ(told[2].text("trigger"), "\"tab_switch\"");
  EXPECT_EQ(told[2].text("screen_class"), "\"ShopPage\"");
  EXPECT_EQ(offers.back().seen.name, "My cart");
  dispatch.advance(0.5);
  ui.screens.select(tabs, 0);
  ui.screens.select(tabs, 2);
  EXPECT_EQ(events(EventType::screenView).back().name, "Tab 3") << "placeholders are names here";
  appear(home);
  dispatch.advance(0.5);
  told.clear();
  ui.screens.select(tabs, 0);
  EXPECT_EQ(names(), Names{}) << "it was told a moment ago";
  background();
  Names visits;
  for (const auto& visit : events(EventType::screenVisit)) visits.push_back(visit.name);
  EXPECT_EQ(visits, (Names{"Home", "My cart", "Home", "Tab 3", "Home"}));
}

TEST_F(CaptureTest, ATabThatShowsOnlyPlumbingIsNotToldOf) {
  start();
  const Page home = page("Home", 2);
  const auto loading = ui.screen({.kind = platform::ScreenKind::navigation,
                                  .classText = "StackView",
                                  .view = ui.node({}),
                                  .title = "Orders"});
  const auto tabs = ui.screen({.kind = platform::ScreenKind::tabs,
                               .view = ui.node({}),
                               .children = {home.screen, loading},
                               .tabTitles = {"Home", "Orders"},
                               .selectedIndex = 0});
  appear(home);
  wait();
  told.clear();
  ui.screens.select(tabs, 1);
  EXPECT_EQ(names(), Names{});
  EXPECT_EQ(offers.size(), 1u);
  background();
  EXPECT_EQ(events(EventType::screenVisit).size(), 1u);
}

TEST_F(CaptureTest, ManualScreensAreTheHostsOwn) {
  start();
  const Page home = page("Home", 2);
  const Page over = page("Over", 3);
  home.screen->look.presented = over.screen;
  told.clear();
  std::thread([&] {
    capture->screenView("First", {});
    capture->screenView("Cart of anna@example.org", {{"screen_class", "x"}, {"items", 3}});
  }).join();
  EXPECT_EQ(names(), (Names{"First", "Cart of [redacted]"}));
  EXPECT_EQ(told[1].text("screen_class"), "\"manual\"");
  EXPECT_EQ(told[1].text("items"), "3");
  EXPECT_EQ(crumbs.back().message, "Screen: Cart of [redacted]");
  dispatch.runUntilIdle();
  ASSERT_EQ(offers.size(), 1u);
  EXPECT_EQ(offers[0].seen.name, "Cart of [redacted]");
  EXPECT_EQ(offers[0].seen.className, "manual");
  EXPECT_EQ(offers[0].screen, over.screen->id);
  ui.kill(home.screen);
  ui.kill(over.screen);
  capture->screenView("Gone", {});
  dispatch.runUntilIdle();
  EXPECT_EQ(offers.size(), 1u);
  capture->screenView("x" + std::string(2000, 'x').replace(998, 2, "é"), {});
  EXPECT_EQ(told.back().name, std::string(999, 'x')) << "cut between characters";
}

TEST_F(CaptureTest, TellsTheLifeOfTheApp) {
  device.appFacts.build.clear();
  device.deviceFacts.physicalMemory = (std::uint64_t{8} << 30) + 5;
  start();
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0].type, EventType::lifecycle);
  EXPECT_EQ(told[0].text("is_first_launch"), "true");
  EXPECT_EQ(told[0].text("app_version"), "\"2.4.1\"");
  EXPECT_EQ(told[0].text("build_number"), "\"unknown\"");
  start();
  EXPECT_EQ(told[1].text("is_first_launch"), "false");
  told.clear();
  for (const LifeEvent event :
       {LifeEvent::didBecomeActive, LifeEvent::didEnterBackground, LifeEvent::willEnterForeground,
        LifeEvent::willTerminate, LifeEvent::didReceiveMemoryWarning}) {
    capture->handle(event);
  }
  EXPECT_EQ(names(),
            (Names{"app_foreground", "app_background", "app_terminate", "memory_warning"}));
  EXPECT_EQ(told.back().text("used_memory_mb"), "8192");
}

TEST_F(CaptureTest, ListensToNoMoreThanTheOptionsAskFor) {
  const auto listening = [&](bool screens, bool taps, bool flows) {
    ui.screens.listeners.clear();
    ui.windows.listeners.clear();
    ui.input.listeners.clear();
    start({.autoTrackScreens = screens, .autoTrackTaps = taps, .autoTrackFlows = flows});
    std::string found;
    if (!ui.screens.listeners.empty()) found += "screens ";
    if (!ui.windows.listeners.empty()) found += "windows ";
    for (const auto& listener : ui.input.listeners) {
      if (listener.tapped) found += "tapped ";
      if (listener.activated) found += "activated ";
      if (listener.scrollBegan && listener.scrollEnded) found += "scroll ";
    }
    return found;
  };
  EXPECT_EQ(listening(false, false, false), "");
  EXPECT_EQ(listening(false, true, false), "activated ");
  EXPECT_EQ(listening(false, false, true), "tapped scroll ");
  EXPECT_EQ(listening(true, false, false), "screens windows scroll ");
  EXPECT_EQ(listening(true, true, true), "screens windows tapped activated scroll ");
}

TEST_F(CaptureTest, ListensOnTheMainThreadAndNeverAfterItsEnd) {
  dispatch.main().setCurrent(false);
  start();
  EXPECT_TRUE(ui.screens.listeners.empty());
  capture.reset();
  dispatch.runUntilIdle();
  EXPECT_TRUE(ui.screens.listeners.empty());
  start();
  dispatch.runUntilIdle();
  const Page home = page("Home", 2);
  appear(home);
  capture->screenView("Manual", {});
  ui.screens.layOut(home.screen);
  capture.reset();
  const auto before = told.size();
  dispatch.advance(5.0);
  appear(page("Cart", 3));
  ui.screens.layOut(home.screen);
  ui.input.tap(home.button);
  ui.windows.becomeKey();
  dispatch.runUntilIdle();
  EXPECT_EQ(told.size(), before);
}

}  // namespace
}  // namespace zarn::capture
