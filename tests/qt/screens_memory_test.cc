// What an app keeps that opens and closes pages all day long.
#include <QApplication>
#include <QTest>

#include "base/text_arena.h"
#include "platform/screen.h"
#include "qml_app.h"
#include "qt/screen_hooks.h"

namespace zarn::testing {
namespace {

TEST(ScreenMemory, KeepsNothingOfThousandsOfPagesThatWereClosed) {
  QmlApp app(QmlApp::Documents{{"Main", R"(ApplicationWindow {
                 function open() { stack.push(page, StackView.Immediate) }
                 function close() { stack.pop(StackView.Immediate) }
                 StackView { id: stack; anchors.fill: parent; initialItem: Page {} }
                 Component { id: page; SwipeView { Page { Label { text: 'One' } } Page {} } } })"}});
  qt::QtScreenEvents events;
  events.listen({});
  std::uint64_t last = 0;
  for (int i = 0; i < 10'000; ++i) {
    app.call("open");
    const qt::ScreenSight sight = qt::lookFrom(qt::rootOf(app.window()));
    ASSERT_TRUE(sight.leaf);
    ASSERT_GT(sight.path.leafId(), last) << "a number was given twice";
    last = sight.path.leafId();
    EXPECT_NE(sight.leaf.tree->layoutFingerprint(sight.leaf.node), 0u);
    const platform::Screen tabs = sight.leaf.screen().parent();
    ASSERT_EQ(tabs.facts().kind, platform::ScreenKind::tabs);
    // Somebody forgets for a while that the tabs are gone.
    const auto observation = events.observeSelection(tabs, [](auto, auto) {});
    const platform::WeakScreen weak = sight.leaf.screen().weak();
    app.call("close");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_FALSE(weak.lock());
  }
  EXPECT_LT(qt::numberedScreens(), 200u);
}

TEST(ScreenMemory, LooksAtNothingWhileNothingHappensAndSeldomInAStorm) {
  QmlApp app(QmlApp::Documents{{"Main", R"(ApplicationWindow {
                 property alias isTurning: turning.running
                 Rectangle { width: 20; height: 20
                   RotationAnimation on rotation { id: turning; running: false; to: 360
                                                   loops: Animation.Infinite } } })"}});
  qt::ScreenHooks hooks(*QCoreApplication::instance());
  hooks.add(platform::ScreenListener{});
  QTest::qWait(400);
  const int atRest = hooks.scanCount();
  QTest::qWait(500);
  EXPECT_EQ(hooks.scanCount(), atRest);
  app.window().setProperty("isTurning", true);
  EXPECT_TRUE(waitUntil([&] { return hooks.scanCount() > atRest; })) << "frames are drawn";
  const int before = hooks.scanCount();
  QTest::qWait(1000);
  EXPECT_LE(hooks.scanCount() - before, 11);
}

// What hears of a screen may run the loop, as a modal dialog does.
TEST(ScreenLooks, MayBeTakenInsideOfEachOther) {
  QmlApp app(QmlApp::Documents{{"Main", R"(ApplicationWindow {
                 function open() { stack.push(page, StackView.Immediate) }
                 StackView { id: stack; anchors.fill: parent; initialItem: Page { title: 'Home' } }
                 Component { id: page; Page { title: 'Cart' } } })"}});
  qt::ScreenHooks hooks(*QCoreApplication::instance());
  std::vector<std::string> early, late;
  const auto note = [](std::vector<std::string>& seen, const platform::Screen& screen) {
    base::TextArena arena;
    seen.emplace_back(screen.title(arena));
  };
  hooks.add({.appeared = [&](const platform::Screen& screen) {
    note(early, screen);
    if (early.size() > 1) return;
    app.call("open");
    EXPECT_TRUE(waitUntil([&] { return early.size() > 1; }));
  }});
  EXPECT_TRUE(waitUntil([&] { return early.size() > 1; }));
  hooks.add({.appeared = [&](const platform::Screen& screen) { note(late, screen); }});
  EXPECT_TRUE(waitUntil([&] { return !late.empty(); })) << "the screen was there before";
  QTest::qWait(250);
  EXPECT_EQ(early, (std::vector<std::string>{"Home", "Cart"}));
  EXPECT_EQ(late, (std::vector<std::string>{"Cart"}));
}

}  // namespace
}  // namespace zarn::testing
