// What began before an opt-out, a reset or a pause is told neither then nor later, and what the
// user does while nothing may be collected is not even looked at.
#include <gtest/gtest.h>

#include "capture/capture_world.h"

namespace zarn::capture {
namespace {

using model::EventType;
using Names = std::vector<std::string>;

class CaptureBoundariesTest : public ::testing::Test, protected CaptureWorld {
 protected:
  struct Boundary {
    const char* name;
    std::function<void()> pass;
  };
  std::vector<Boundary> all() {
    return {{"opt-out and opt-in",
             [this] {
               optOut();
               optIn();
             }},
            {"reset", [this] { reset(); }},
            {"pause", [this] {
               pause();
               resume();
             }}};
  }
  Names visits() const {
    Names names;
    for (const auto& visit : events(EventType::screenVisit)) names.push_back(visit.name);
    return names;
  }
  void begin() {
    start();
    told.clear();
    flushes = 0;
    clock.advance(base::seconds(10));
  }
};

TEST_F(CaptureBoundariesTest, ABoundaryInTheMiddleOfAnArrivalVoidsTheVisit) {
  const Page home = page("Home", 1);
  for (const Boundary& boundary : all()) {
    SCOPED_TRACE(boundary.name);
    begin();
    // The boundaries have been read, the visit is not there yet.
    random.beforeFill = boundary.pass;
    ui.screens.appear(home.screen);
    ASSERT_FALSE(random.beforeFill);
    background();
    EXPECT_EQ(visits(), Names{});
    EXPECT_EQ(flushes, 0);
  }
}

TEST_F(CaptureBoundariesTest, APictureIsNotAskedForByANameFromBefore) {
  page("Home", 1);
  begin();
  for (const auto& pass : {std::function<void()>([this] { reset(); }), {[this] {
                             optOut();
                             optIn();
                           }}}) {
    capture->screenView("Anna's orders", {});
    pass();
    dispatch.runUntilIdle();
    EXPECT_TRUE(offers.empty());
  }
  capture->screenView("Orders", {});
  dispatch.runUntilIdle();
  ASSERT_EQ(offers.size(), 1u);
  EXPECT_EQ(offers[0].seen.name, "Orders");
}

TEST_F(CaptureBoundariesTest, LooksAtNothingThatMayNotBeCollected) {
  const Page home = page("Home", 1);
  const Page cart = page("Cart", 2);
  for (const bool isOptOut : {true, false}) {
    SCOPED_TRACE(isOptOut);
    begin();
    ui.screens.appear(home.screen);
    ui.screens.layOut(home.screen);
    clock.advance(base::seconds(5));
    dispatch.runUntilIdle();
    told.clear();
    crumbs.clear();
    offers.clear();
    isOptOut ? optOut() : pause();
    const int asked = ui.questions();
    ui.screens.appear(cart.screen);
    ui.screens.layOut(cart.screen);
    ui.input.tap(cart.button);
    ui.input.beginScroll(cart.button);
    ui.input.endScroll(cart.button);
    capture->screenView("Manual", {});
    dispatch.advance(5.0);
    EXPECT_EQ(ui.questions(), asked);
    EXPECT_EQ(crumbs.size(), 1u) << "the host's own";
    isOptOut ? optIn() : resume();
    background();
    EXPECT_EQ(names(), (Names{"app_background"}));
    EXPECT_TRUE(offers.empty());
  }
}

TEST_F(CaptureBoundariesTest, AnAppThatStartsOptedOutBeginsWithTheOptIn) {
  const Page home = page("Home", 1);
  mayCollect = false;
  start({}, false);
  optIn();
  told.clear();
  ui.screens.appear(home.screen);
  background();
  EXPECT_EQ(visits(), (Names{"Home"}));
  reset();
  optOut();
  reset();  // an identity is also renewed while opted out; the recording stays off
  told.clear();
  background();
  EXPECT_EQ(visits(), Names{});
}

}  // namespace
}  // namespace zarn::capture
