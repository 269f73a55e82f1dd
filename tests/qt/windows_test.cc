#include "qt/windows.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QWidget>

#include "qt/quick_views.h"
#include "qt/widget_views.h"
#include "quick_scene.h"

namespace zarn::qt {
namespace {

using platform::Bitmap;
using platform::Color;
using testing::QuickScene;

Color pixel(Bitmap& bitmap, int x, int y) {
  const std::uint8_t* const at = bitmap.row(y) + std::ptrdiff_t{x} * 4;
  return {at[0], at[1], at[2], at[3]};
}

int count(QtWindows& windows, const platform::View& view) {
  int found = 0;
  windows.each([&](const platform::Window& window) {
    found += window.view == view ? 1 : 0;
    return true;
  });
  return found;
}

TEST(QtWindowsTest, DrawsAWindowOfItemsInItsPlaces) {
  QuickScene scene(R"(
    color: "white"
    Rectangle { x: 100; y: 200; width: 100; height: 100; color: "#ff0000"
      transform: Translate { x: 50 } }
    Rectangle { x: 0; y: 700; width: 390; height: 144; color: "#0000ff"; opacity: 0.5 })");
  QtWindows windows({});
  const auto view = quickView(scene.window().contentItem());
  EXPECT_EQ(count(windows, view), 1);
  Bitmap bitmap;
  ASSERT_TRUE(windows.draw(view, 1000, bitmap));
  EXPECT_EQ(bitmap.width, 390);
  EXPECT_EQ(bitmap.height, 844);
  EXPECT_EQ(bitmap.scale, 1);
  EXPECT_EQ(pixel(bitmap, 200, 250), (Color{255, 0, 0, 255}));
  EXPECT_EQ(pixel(bitmap, 120, 250), (Color{255, 255, 255, 255}));
  EXPECT_EQ(pixel(bitmap, 10, 800).alpha, 255);
  ASSERT_TRUE(windows.draw(view, 195, bitmap));
  EXPECT_EQ(bitmap.width, 195);
  EXPECT_EQ(bitmap.height, 422);
  EXPECT_EQ(bitmap.scale, 0.5);
  EXPECT_EQ(pixel(bitmap, 100, 125), (Color{255, 0, 0, 255}));
}

TEST(QtWindowsTest, DrawsNothingOfWhatIsNotShown) {
  QuickScene scene("color: 'white'");
  QtWindows windows({});
  const auto view = quickView(scene.window().contentItem());
  Bitmap bitmap;
  EXPECT_FALSE(windows.draw(view, 0, bitmap));
  EXPECT_FALSE(windows.draw({}, 300, bitmap));
  scene.window().hide();
  EXPECT_FALSE(windows.draw(view, 300, bitmap));
  EXPECT_EQ(count(windows, view), 0);
}

TEST(QtWindowsTest, DrawsAWindowOfWidgets) {
  QWidget window;
  window.resize(400, 300);
  QLabel label(&window);
  label.setGeometry(100, 100, 50, 50);
  label.setStyleSheet(QStringLiteral("background: #00ff00"));
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
  QtWindows windows({});
  EXPECT_EQ(count(windows, widgetView(&window)), 1);
  Bitmap bitmap;
  ASSERT_TRUE(windows.draw(widgetView(&window), 200, bitmap));
  EXPECT_EQ(bitmap.width, 200);
  EXPECT_EQ(bitmap.height, 150);
  EXPECT_EQ(pixel(bitmap, 60, 60), (Color{0, 255, 0, 255}));
  window.hide();
  EXPECT_FALSE(windows.draw(widgetView(&window), 200, bitmap));
}

TEST(QtWindowsTest, TellsWhichWindowGetsTheKeys) {
  QtWindows windows({});
  static int told = 0;  // the listener outlives the test
  windows.listen([] { ++told; });
  QuickScene first("color: 'white'");
  first.window().requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&first.window()));
  EXPECT_GE(told, 1);
}

TEST(QtWindowsTest, VisitsTheOneInFrontFirst) {
  QuickScene items("color: 'white'");
  QWidget widgets;
  widgets.show();
  QtWindows windows({});
  const auto first = [&] {
    platform::View view;
    windows.each([&](const platform::Window& window) {
      view = window.view;
      return false;
    });
    return view;
  };
  for (int i = 0; i < 2; ++i) {
    items.window().requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&items.window()));
    EXPECT_EQ(first(), quickView(items.window().contentItem()));
    widgets.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&widgets));
    EXPECT_EQ(first(), widgetView(&widgets));
  }
}

}  // namespace
}  // namespace zarn::qt
