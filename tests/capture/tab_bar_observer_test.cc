#include "capture/tab_bar_observer.h"

#include <gtest/gtest.h>

#include "capture/visible_leaf.h"
#include "support/fake_toolkit.h"

namespace zarn::capture {
namespace {

using platform::ScreenKind;
using testing::ScreenPtr;

class TabBarObserverTest : public ::testing::Test {
 protected:
  ScreenPtr page(const std::string& name) {
    return ui_.screen(
        {.classText = name, .view = ui_.node({.classText = name, .frame = {0, 0, 390, 844}})});
  }
  ScreenPtr container(ScreenKind kind, std::vector<ScreenPtr> children) {
    return ui_.screen({.kind = kind,
                       .view = ui_.node({.frame = {0, 0, 390, 844}}),
                       .children = std::move(children),
                       .selectedIndex = 0});
  }
  std::string nameOf(const platform::Screen& screen) {
    base::TextArena arena;
    return screen ? std::string(screen.classText(arena)) : "none";
  }

  testing::FakeToolkit ui_;
  std::vector<std::string> leaves_;
  TabBarObserver observer_{
      ui_.windows, ui_.screens,
      [this](const platform::Screen&, const platform::Screen&, const platform::Screen& leaf) {
        leaves_.push_back(nameOf(leaf));
      }};
};

TEST_F(TabBarObserverTest, TellsWhatIsSeenInTheTabThatCameToTheFront) {
  const auto cart = container(ScreenKind::navigation, {page("Cart"), page("Checkout")});
  const auto tabs = container(ScreenKind::tabs, {page("Home"), cart, page("Profile")});
  ui_.window(container(ScreenKind::system, {tabs}));
  observer_.scanExistingWindows();
  observer_.scanExistingWindows();
  EXPECT_EQ(ui_.screens.selectionObservers(), 1u);
  ui_.screens.select(tabs, 1);
  ui_.screens.select(tabs, 1);
  tabs->look.children[2]->look.presented = page("Welcome");
  ui_.screens.select(tabs, 2);
  ui_.screens.select(tabs, 7);  // nothing is there
  ui_.screens.select(tabs, std::nullopt);
  EXPECT_EQ(leaves_, (std::vector<std::string>{"Checkout", "Welcome"}));
  ui_.kill(tabs);
  ui_.screens.select(tabs, 0);
  EXPECT_EQ(leaves_.size(), 2u);
}

TEST_F(TabBarObserverTest, FindsTabsThatComeLater) {
  observer_.startObservingWindows();
  ASSERT_EQ(ui_.windows.listeners.size(), 1u);
  const auto first = container(ScreenKind::tabs, {page("A"), page("B")});
  const auto over = page("Sheet");
  over->look.presented = first;
  ui_.window(over);
  ui_.windows.becomeKey();
  ui_.screens.select(first, 1);
  EXPECT_EQ(leaves_, (std::vector<std::string>{"B"}));
  // In a window that has had the keys all the time.
  const auto inner = page("C");
  const auto second = container(ScreenKind::tabs, {inner, page("D")});
  observer_.observeAround(ui_.screenOf(inner));
  ui_.screens.select(second, 1);
  EXPECT_EQ(leaves_.back(), "D");
}

TEST_F(TabBarObserverTest, LetsNothingThrowIntoTheToolkit) {
  TabBarObserver throwing(ui_.windows, ui_.screens,
                          [](const platform::Screen&, const platform::Screen&,
                             const platform::Screen&) { throw std::bad_alloc(); });
  const auto tabs = container(ScreenKind::tabs, {page("Home"), page("Cart")});
  ui_.window(tabs);
  throwing.scanExistingWindows();
  EXPECT_NO_THROW(ui_.screens.select(tabs, 1));
}

TEST_F(TabBarObserverTest, ForgetsTabsThatHaveDied) {
  for (int i = 0; i < 1000; ++i) {
    const auto tabs = container(ScreenKind::tabs, {page("A")});
    observer_.observeAround(ui_.screenOf(tabs));
    ui_.kill(tabs);
  }
  EXPECT_LE(observer_.observedCount(), 32u);
  EXPECT_LE(ui_.screens.selectionObservers(), 32u);
}

TEST_F(TabBarObserverTest, EndlessTreesEnd) {
  const auto loop = container(ScreenKind::navigation, {page("A")});
  loop->look.presented = loop;
  ui_.window(loop);
  observer_.scanExistingWindows();
  EXPECT_EQ(visibleLeaf(ui_.screenOf(loop)), ui_.screenOf(loop));
  loop->look.presented = nullptr;
}

}  // namespace
}  // namespace zarn::capture
