// Screens and views that die at any moment, and very many of them.
#include <gtest/gtest.h>

#include "capture/capture_world.h"

namespace zarn::capture {
namespace {

struct SmallApp : CaptureWorld {
  SmallApp() {
    start();
    open();
  }
  /// Two tabs, of which one holds a list.
  void open() {
    home = page("Home", 2);
    cart = page("", 3);
    cart.screen->look.isHosted = true;
    cart.screen->look.view->add(ui.list({0, 300, 390, 400}, {"anna@example.org", "Second"}));
    tabs = ui.screen({.kind = platform::ScreenKind::tabs,
                      .view = ui.node({}),
                      .children = {home.screen, cart.screen},
                      .tabTitles = {"Home", "Cart"},
                      .selectedIndex = 0});
  }
  void close() {
    for (const auto& screen : {home.screen, cart.screen, tabs}) ui.kill(screen);
    ui.windows.roots.clear();
  }
  std::vector<std::function<void()>> steps() {
    return {[this] { ui.screens.appear(home.screen); },
            [this] { ui.screens.layOut(home.screen); },
            [this] { dispatch.advance(0.5); },
            [this] { ui.input.tap(home.button); },
            [this] { dispatch.advance(3.0); },
            [this] { ui.screens.select(tabs, 1); },
            [this] { ui.screens.layOut(cart.screen); },
            [this] { ui.input.beginScroll(cart.button); },
            [this] { ui.input.endScroll(cart.button); },
            [this] { dispatch.advance(3.0); },
            [this] { ui.screens.appear(cart.screen); },
            [this] { capture->screenView("Manual", {}); },
            [this] { ui.screens.layOut(cart.screen); },
            [this] { dispatch.advance(3.0); },
            [this] { background(); }};
  }
  void use() {
    for (const auto& step : steps()) step();
  }

  Page home, cart;
  testing::ScreenPtr tabs;
};

TEST(CaptureSurvivalTest, AnyViewMayDieAtAnyQuestion) {
  bool isStillAsked = true;
  for (int k = 1; isStillAsked; ++k) {
    SmallApp app;
    const testing::NodePtr victims[] = {app.cart.button, app.cart.screen->look.view,
                                        app.home.screen->look.view};
    const int before = app.ui.questions();
    ASSERT_LT(k, 5000);
    app.ui.killAfter(k, victims[k % 3]);
    app.use();
    isStillAsked = app.ui.questions() - before >= k;
    for (const auto& event : app.told) {
      EXPECT_EQ(event.name.find("anna@"), std::string::npos) << event.name;
    }
  }
}

TEST(CaptureSurvivalTest, AllScreensMayDieBetweenAnyTwoSteps) {
  for (std::size_t killBefore = 0; killBefore < SmallApp().steps().size(); ++killBefore) {
    SmallApp app;
    const auto steps = app.steps();
    for (std::size_t step = 0; step < steps.size(); ++step) {
      if (step == killBefore) app.close();
      steps[step]();
    }
    EXPECT_EQ(app.dispatch.pendingCount(), 0u);
  }
}

TEST(CaptureSurvivalTest, PagesThatHaveClosedLeaveNothingBehind) {
  SmallApp app;
  constexpr std::size_t kTimes = 500;
  for (std::size_t i = 0; i < kTimes; ++i) {
    app.use();
    app.close();
    app.open();
  }
  EXPECT_EQ(app.events(model::EventType::screenVisit).size(), 2 * kTimes);
  EXPECT_LE(app.ui.screens.selectionObservers(), 32u);
  EXPECT_EQ(app.dispatch.pendingCount(), 0u);
}

}  // namespace
}  // namespace zarn::capture
