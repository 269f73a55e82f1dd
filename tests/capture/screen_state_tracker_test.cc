// The state of a screen in sight, through layout storms, scrolling and the ends of screens.
#include "capture/screen_state_tracker.h"

#include <gtest/gtest.h>

#include "capture/capture_world.h"

namespace zarn::capture {
namespace {

class ScreenStateTrackerTest : public ::testing::Test, protected CaptureWorld {
 protected:
  ScreenStateTrackerTest() {
    start();
    told.clear();
  }
  void addRow(const Page& page) {
    page.screen->look.view->add(ui.label("row", {16, 500, 300, 20}));
  }
  /// Laid out, and at rest for long enough.
  void settle(const Page& page) {
    ui.screens.layOut(page.screen);
    dispatch.advance(ScreenStateTracker::kRest);
  }
};

TEST_F(ScreenStateTrackerTest, TellsAChangeOnceTheLayoutIsAtRest) {
  const Page list = page("Orders", 0);
  const auto spinner = ui.node({.classText = "BusyIndicator",
                                .kind = platform::ViewKind::activityIndicator,
                                .frame = {150, 300, 40, 40},
                                .isAnimating = true});
  list.screen->look.view->add(spinner);
  ui.screens.appear(list.screen);
  settle(list);
  EXPECT_EQ(names(), (std::vector<std::string>{"Orders"}));
  EXPECT_EQ(told[0].text("screen_state"), "\"loading\"");
  list.screen->look.view->remove(spinner);
  list.screen->look.view->add(ui.list({0, 100, 390, 600}, {"First", "Second"}));
  settle(list);
  ASSERT_EQ(told.size(), 2u);
  EXPECT_EQ(told[1].name, "Orders");
  EXPECT_EQ(told[1].text("screen_state"), "\"populated\"");
  EXPECT_EQ(told[1].text("trigger"), "\"state_change\"");
  EXPECT_EQ(told[1].text("screen_class"), "\"ShopPage\"");
  EXPECT_NE(told[1].text("screen_fingerprint"), told[0].text("screen_fingerprint"));
  EXPECT_EQ(offers.back().seen.observation.state, model::ScreenState::populated);
  settle(list);
  addRow(list);
  list.screen->look.title = "OrdersHelper";
  settle(list);
  EXPECT_EQ(told.size(), 2u) << "the same, and one whose name says nothing";
}

TEST_F(ScreenStateTrackerTest, HoldsTheFirstRestAgainstWhatWasToldOfTheArrival) {
  for (const bool isLoading : {true, false}) {
    const Page list = isLoading ? page("Orders", 0) : page("Invoices", 5);
    const auto spinner =
        ui.node({.kind = platform::ViewKind::activityIndicator, .isAnimating = isLoading});
    list.screen->look.view->add(spinner);
    ui.screens.appear(list.screen);
    told.clear();
    list.screen->look.view->remove(spinner);
    addRow(list);
    settle(list);
    EXPECT_EQ(told.size(), isLoading ? 1u : 0u) << "another shape of the same state is no news";
    told.clear();
    settle(list);
    addRow(list);
    settle(list);
    EXPECT_EQ(told.size(), 1u) << "from then on every shape is";
  }
}

TEST_F(ScreenStateTrackerTest, LooksAtNothingOnceItMayNot) {
  const Page home = page("Home", 2);
  settle(home);
  for (const bool isPause : {true, false}) {
    addRow(home);
    ui.screens.layOut(home.screen);
    isPause ? pause() : optOut();
    const int before = ui.questions();
    dispatch.advance(2 * ScreenStateTracker::kRest);
    EXPECT_EQ(ui.questions(), before);
    mayCollect = true;
  }
  settle(home);
  EXPECT_EQ(told.size(), 1u) << "changed since the last look";
}

TEST_F(ScreenStateTrackerTest, AStormOfSignalsCostsOneLook) {
  const Page home = page("Home", 20);
  int before = ui.questions();
  settle(home);
  const int oneLook = ui.questions() - before;
  ASSERT_GT(oneLook, 0);
  addRow(home);
  before = ui.questions();
  for (int i = 0; i < 1000; ++i) {
    ui.screens.layOut(home.screen);
    EXPECT_EQ(dispatch.pendingCount(), 1u);
    dispatch.advance(0.002);
  }
  EXPECT_EQ(told.size(), 0u);
  dispatch.advance(0.799);
  EXPECT_EQ(told.size(), 1u) << "0.8 seconds after the last one";
  // The name of the changed screen is asked for as well.
  EXPECT_LT(ui.questions() - before, 3 * oneLook);
  dispatch.advance(60.0);
  EXPECT_EQ(dispatch.pendingCount(), 0u);
}

TEST_F(ScreenStateTrackerTest, WhatMovesWhileTheUserScrollsDoesNotCount) {
  const Page home = page("Home", 2);
  settle(home);
  ui.input.beginScroll(home.button);
  addRow(home);
  ui.screens.layOut(home.screen);
  EXPECT_EQ(dispatch.pendingCount(), 0u);
  ui.input.endScroll(home.button);
  dispatch.advance(1.4);
  ui.screens.layOut(home.screen);
  EXPECT_EQ(dispatch.pendingCount(), 0u) << "it may still decelerate";
  dispatch.advance(0.1);
  settle(home);
  EXPECT_EQ(told.size(), 1u);
  // The end of a scroll may get lost in the background.
  ui.input.beginScroll(home.button);
  background();
  addRow(home);
  dispatch.advance(1.5);
  told.clear();
  settle(home);
  EXPECT_EQ(told.size(), 1u);
}

TEST_F(ScreenStateTrackerTest, WhatLoadsRightAfterAScrollIsTold) {
  const Page home = page("Home", 2), cart = page("Cart", 3);
  const auto spinner =
      ui.node({.kind = platform::ViewKind::activityIndicator, .isAnimating = true});
  cart.screen->look.view->add(spinner);
  ui.input.beginScroll(home.button);
  ui.input.endScroll(home.button);
  ui.screens.appear(cart.screen);
  ASSERT_EQ(names(), (std::vector<std::string>{"Cart"}));
  cart.screen->look.view->remove(spinner);
  settle(cart);
  ASSERT_EQ(told.size(), 2u);
  EXPECT_EQ(told[1].text("screen_state"), "\"normal\"");
}

TEST_F(ScreenStateTrackerTest, LooksOnlyAtWhatIsInSight) {
  const Page home = page("Home", 2);
  settle(home);
  home.window->remove(home.screen->look.view);
  addRow(home);
  settle(home);
  EXPECT_EQ(told.size(), 0u) << "in no window";
  home.window->add(home.screen->look.view);
  settle(home);
  EXPECT_EQ(told.size(), 1u);
  addRow(home);
  ui.screens.layOut(home.screen);
  ui.kill(home.screen);
  dispatch.advance(5.0);
  const Page alert = page("Alert", 4);
  alert.screen->look.kind = platform::ScreenKind::system;
  settle(alert);
  addRow(alert);
  settle(alert);
  EXPECT_EQ(told.size(), 1u);
}

}  // namespace
}  // namespace zarn::capture
