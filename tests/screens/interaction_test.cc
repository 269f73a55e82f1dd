// Scrolls and taps, as those hear of them who follow the user.
#include "screens/scroll_observer.h"
#include "screens/window_event_interceptor.h"
#include "screens_test.h"

namespace zarn::screens {
namespace {

class Scrolling : public ScreensTest {
 protected:
  platform::View scroll = ui.view(ui.node({.kind = platform::ViewKind::scroll}));
  ScrollObserver observer{clock};
};

TEST_F(Scrolling, LastsAsLongAsTheViewStillMoves) {
  EXPECT_FALSE(observer.isScrolling());
  observer.began(scroll);
  clock.advance(base::seconds(60));
  EXPECT_TRUE(observer.isScrolling());
  observer.ended(scroll);
  clock.advance(base::seconds(1.4));
  EXPECT_TRUE(observer.isScrolling());
  clock.advance(base::seconds(0.1));
  EXPECT_FALSE(observer.isScrolling());
}

TEST_F(Scrolling, CountsViewsAndIgnoresStrayEnds) {
  observer.ended(scroll);
  clock.advance(base::seconds(2));
  observer.began(scroll);
  EXPECT_TRUE(observer.isScrolling()) << "an end without a beginning is not owed";
  observer.began(scroll);
  observer.ended(scroll);
  clock.advance(base::seconds(2));
  EXPECT_TRUE(observer.isScrolling());
  observer.appDidEnterBackground();
  EXPECT_FALSE(observer.isScrolling());
}

TEST_F(Scrolling, IsTold) {
  std::string told;
  observer.began(scroll);  // nobody listens yet
  observer.onScrollStart = [&](const platform::View&) { told += '('; };
  observer.onScrollEnd = [&](const platform::View&) { told += observer.isScrolling() ? ')' : '?'; };
  observer.began(scroll);
  observer.ended(scroll);
  EXPECT_EQ(told, "()");
}

class Tapping : public ScreensTest {
 protected:
  Tapping() {
    interceptor->noteTap = [this] { ++noted; };
    interceptor->onInteraction = [this](const Interaction& interaction) {
      ++told;
      last = interaction.location;
      hitIsAlive = static_cast<bool>(interaction.hit.lock());
      EXPECT_EQ(interaction.kind, InteractionKind::tap);
      EXPECT_EQ(interaction.startLocation, interaction.location);
    };
    ui.input.listen({.tapped = [this](const platform::Touch& touch) {
      if (interceptor) interceptor->tapped(touch);
    }});
  }
  zarn::testing::ManualDispatch dispatch{clock};
  NodePtr button = ui.button("Pay", {0, 0, 100, 100});
  NodePtr window = ui.window(ui.screen({.view = page({button})}));
  std::unique_ptr<WindowEventInterceptor> interceptor =
      std::make_unique<WindowEventInterceptor>(ui.input, dispatch.main());
  int noted = 0;
  int told = 0;
  base::Point last;
  bool hitIsAlive = false;
};

TEST_F(Tapping, IsToldAfterTheAppHasHadIt) {
  ui.input.tap(window, {10, 20});
  EXPECT_EQ(noted, 1);
  EXPECT_EQ(told, 0);
  dispatch.runUntilIdle();
  EXPECT_EQ(told, 1);
  EXPECT_EQ(last, (base::Point{10, 20}));
  EXPECT_TRUE(hitIsAlive);
}

TEST_F(Tapping, IsNotedEvenWhereInteractionsAreNotWanted) {
  interceptor->setEnabled(false);
  ui.input.tap(window, {10, 20});
  dispatch.runUntilIdle();
  EXPECT_EQ(noted, 1);
  EXPECT_EQ(told, 0);
  interceptor->setEnabled(true);
  ui.input.tap(window, {10, 20});
  dispatch.runUntilIdle();
  EXPECT_EQ(told, 1);
}

TEST_F(Tapping, OutlivesWhatWasHitAndWhoListens) {
  ui.input.tap(window, {10, 20});
  ui.kill(button);
  dispatch.runUntilIdle();
  EXPECT_EQ(told, 1);
  EXPECT_FALSE(hitIsAlive);
  ui.input.tap(window, {5000, 5000});  // nothing is there
  dispatch.runUntilIdle();
  EXPECT_EQ(told, 2);
  ui.input.tap(window, {10, 20});
  interceptor.reset();
  dispatch.runUntilIdle();
  EXPECT_EQ(told, 2);
}

}  // namespace
}  // namespace zarn::screens
