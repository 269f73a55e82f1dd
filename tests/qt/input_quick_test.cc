// What is told of a person's hands on an app of Qt Quick.
#include <QPointingDevice>
#include <QTest>

#include "base/text_arena.h"
#include "qml_app.h"
#include "qt/input_events.h"
#include "qt/quick_views.h"

namespace zarn::testing {
namespace {

using Strings = std::vector<std::string>;

/// Controls by their text, or else their class.
struct Hands {
  Hands() {
    events.listen(
        {.tapped = [this](const platform::Touch& touch) { taps.push_back(touch.location); },
         .activated =
             [this](const platform::View& control) { operated.push_back(nameOf(control)); },
         .scrollBegan =
             [this](const platform::View& scroll) { scrolls.push_back("+" + nameOf(scroll)); },
         .scrollEnded =
             [this](const platform::View& scroll) {
               scrolls.push_back(scroll ? "-" + nameOf(scroll) : "-");
             }});
  }
  static std::string nameOf(const platform::View& view) {
    base::TextArena arena;
    const auto text = view.text(arena);
    return std::string(text.empty() ? view.classText(arena) : text);
  }
  qt::QtInputEvents events;
  std::vector<base::Point> taps;
  Strings operated;
  Strings scrolls;
};

constexpr auto kControls = R"(ApplicationWindow {
  property string log
  Item { anchors.fill: parent
    Button { objectName: 'pay'; text: 'Pay'; width: 200; height: 40; onClicked: destroy() }
    Button { objectName: 'off'; text: 'Off'; y: 50; width: 200; height: 40; enabled: false }
    Row2 { objectName: 'row'; y: 100 }
    Rectangle { objectName: 'handled'; y: 150; width: 200; height: 40; TapHandler { } }
    TextField { objectName: 'field'; y: 200; width: 200; height: 40 }
    Button { text: 'Below'; y: 250; width: 200; height: 40 }
    Button { objectName: 'above'; text: 'Above'; y: 250; width: 200; height: 40; z: 2 }
    Button { text: 'Cut'; y: 250; width: 200; height: 40; z: 1 }
    Item { y: 300; width: 200; height: 20; clip: true
      Button { objectName: 'clipped'; text: 'Clipped'; y: 10; width: 200; height: 40 } }
    Label { objectName: 'words'; y: 360; width: 200; height: 40; text: 'Only text' } } })";
const QByteArray kRow =
    "Rectangle { width: 200; height: 40; Text { text: 'Row' } MouseArea { anchors.fill: parent } }";

TEST(QuickInput, TellsOfTapsAndOfTheControlsThatTheyOperate) {
  QmlApp app(QmlApp::Documents{{"Row2", kRow}, {"Main", kControls}});
  Hands hands;
  for (const auto* const name : {"off", "row", "handled", "field", "above", "words"})
    app.click(name);
  EXPECT_EQ(hands.taps.size(), 6u);
  EXPECT_EQ(hands.operated, (Strings{"Row2", "Rectangle", "Above"}));
  const QPoint middle = app.middleOf("words");
  EXPECT_EQ(hands.taps.back(), (base::Point{double(middle.x()), double(middle.y())}));
  app.click("pay");  // is gone thereafter
  EXPECT_EQ(hands.operated, (Strings{"Row2", "Rectangle", "Above", "Pay"}));
  EXPECT_EQ(hands.taps.size(), 7u);
}

TEST(QuickInput, IsNoTapWhenTheHandMovesAway) {
  QmlApp app(QmlApp::Documents{{"Row2", kRow}, {"Main", kControls}});
  Hands hands;
  const QPoint pay = app.middleOf("pay");
  QTest::mousePress(&app.window(), Qt::LeftButton, {}, pay);
  QTest::mouseMove(&app.window(), pay + QPoint(0, 300));
  QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, pay + QPoint(0, 300));
  QTest::mouseClick(&app.window(), Qt::RightButton, {}, pay);
  EXPECT_TRUE(hands.taps.empty());
  EXPECT_TRUE(hands.operated.empty());
  // Within the control it is operated all the same, though not tapped at one place.
  QTest::mousePress(&app.window(), Qt::LeftButton, {}, pay);
  QTest::mouseMove(&app.window(), pay + QPoint(60, 0));
  QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, pay + QPoint(60, 0));
  EXPECT_TRUE(hands.taps.empty());
  EXPECT_EQ(hands.operated, Strings{"Pay"});
}

constexpr auto kValues = R"(ApplicationWindow {
  Rectangle { anchors.fill: parent
    TapHandler { }
    Slider { objectName: 'slider'; width: 200; height: 40 }
    RangeSlider { objectName: 'range'; y: 50; width: 200; height: 40 }
    Dial { objectName: 'dial'; y: 100; width: 40; height: 40 }
    SpinBox { objectName: 'amount'; y: 150; width: 200; height: 40 } } })";

TEST(QuickInput, IsNoOperationWhereAValueIsSet) {
  QmlApp app(QmlApp::Documents{{"Main", kValues}});
  Hands hands;
  for (const auto* const name : {"slider", "range", "dial", "amount"}) {
    app.click(name);
    const QPoint middle = app.middleOf(name);
    QTest::mousePress(&app.window(), Qt::LeftButton, {}, middle - QPoint(15, 0));
    QTest::mouseMove(&app.window(), middle + QPoint(15, 0));
    QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, middle + QPoint(15, 0));
  }
  EXPECT_GT(app.item("slider")->property("value").toDouble(), 0);
  EXPECT_EQ(hands.taps.size(), 4u);
  EXPECT_EQ(hands.operated, Strings{});
}

TEST(QuickInput, CountsATouchOnce) {
  QmlApp app(QmlApp::Documents{{"Row2", kRow}, {"Main", kControls}});
  Hands hands;
  const std::unique_ptr<QPointingDevice> device(QTest::createTouchDevice());
  for (const auto* const name : {"row", "above", "words"}) {
    const QPoint at = app.middleOf(name);
    QTest::touchEvent(&app.window(), device.get()).press(0, at, &app.window());
    QTest::touchEvent(&app.window(), device.get()).release(0, at, &app.window());
  }
  EXPECT_EQ(hands.taps.size(), 3u);
  EXPECT_EQ(hands.operated, (Strings{"Row2", "Above"}));
  const QPoint at = app.middleOf("words");
  QTest::touchEvent(&app.window(), device.get()).press(0, at, &app.window());
  QTest::touchEvent(&app.window(), device.get()).stationary(0).press(1, at * 2, &app.window());
  QTest::touchEvent(&app.window(), device.get())
      .release(0, at, &app.window())
      .release(1, at * 2, &app.window());
  EXPECT_EQ(hands.taps.size(), 3u) << "two fingers";
}

TEST(QuickInput, FindsWhatIsTouched) {
  QmlApp app(QmlApp::Documents{{"Row2", kRow}, {"Main", kControls}});
  Hands hands;
  const platform::View window = qt::quickView(app.window().contentItem());
  const auto at = [&](double x, double y) {
    const platform::View hit = hands.events.hitTest(window, {x, y});
    return hit ? Hands::nameOf(hit) : "";
  };
  EXPECT_EQ(at(100, 270), "Above");
  EXPECT_EQ(at(100, 315), "Clipped");
  EXPECT_EQ(at(100, 330), "");
  EXPECT_EQ(at(100, 120), "MouseArea");
  EXPECT_EQ(at(100, 380), "");
  EXPECT_EQ(at(-5, 5), "");
  // As an app may do to make room for a keyboard.
  app.window().contentItem()->setY(-200);
  EXPECT_EQ(at(100, 70), "Above");
  EXPECT_EQ(at(100, 270), "");
  app.click("above");
  EXPECT_EQ(hands.operated, Strings{"Above"});
  EXPECT_EQ(hands.taps.back().y, 70);
}

/// Writes down what it is operated for, in the words of `Hands`.
constexpr auto kFingers = R"(ApplicationWindow {
  id: app
  property string log
  component Area: MouseArea { width: 80; height: 40; onClicked: app.log += 'Area,' }
  Item { anchors.fill: parent
    Button { objectName: 'one'; text: 'One'; width: 80; height: 40; onClicked: app.log += 'One,' }
    Button { objectName: 'two'; text: 'Two'; x: 90; width: 80; height: 40
      onClicked: app.log += 'Two,' }
    Area { objectName: 'area'; y: 50 }
    Area { objectName: 'next'; y: 50; x: 90 }
    Area { objectName: 'last'; y: 50; x: 180 }
    Rectangle { objectName: 'tile'; y: 100; width: 80; height: 40
      TapHandler { onTapped: app.log += 'Rectangle,' } }
    Label { objectName: 'words'; y: 150; width: 200; height: 40; text: 'Only text' }
    ListView { objectName: 'list'; y: 200; width: 300; height: 200; clip: true; model: 100
      delegate: ItemDelegate { width: 300; height: 40; text: 'Row'
        onClicked: app.log += 'Row,' } } } })";

TEST(QuickInput, TellsOfTheControlsThatSeveralFingersOperate) {
  QmlApp app(QmlApp::Documents{{"Main", kFingers}});
  QQuickWindow& window = app.window();
  Hands hands;
  const std::unique_ptr<QPointingDevice> device(QTest::createTouchDevice());
  const auto fingers = [&] { return QTest::touchEvent(&window, device.get()); };
  std::string wanted;
  const auto expect = [&](const std::string& operated) {
    wanted += operated;
    EXPECT_EQ(window.property("log").toString().toStdString(), wanted) << "what the app heard";
    std::string told;
    for (const std::string& name : hands.operated) told += name + ",";
    EXPECT_EQ(told, wanted);
  };
  const auto roll = [&](const char* first, const char* second) {
    const QPoint from = app.middleOf(first);
    const QPoint to = app.middleOf(second);
    fingers().press(0, from, &window);
    fingers().stationary(0).press(1, to, &window);
    fingers().release(0, from, &window).stationary(1);
    fingers().release(1, to, &window);
  };
  roll("one", "two");
  expect("One,Two,");
  roll("tile", "one");
  expect("Rectangle,One,");
  roll("one", "one");
  expect("One,");
  roll("area", "next");
  expect("Area,");
  roll("two", "last");
  expect("Two,Area,");
  for (const auto* const resting : {"words", "list"}) {
    const QPoint at = app.middleOf(resting);
    fingers().press(0, at, &window);
    for (const auto* const tapped : {"one", "tile", "two"}) {
      fingers().stationary(0).press(1, app.middleOf(tapped), &window);
      fingers().stationary(0).release(1, app.middleOf(tapped), &window);
    }
    expect("One,Rectangle,Two,");
    fingers().release(0, at, &window);
  }
  expect("Row,");
  EXPECT_TRUE(hands.taps.empty()) << "a tap is one of a finger alone";
}

constexpr auto kList = R"(ApplicationWindow {
  function close() { loader.active = false }
  Loader { id: loader; anchors.fill: parent
    sourceComponent: ListView { objectName: 'list'; model: 100
      delegate: ItemDelegate { width: 390; height: 60; text: 'Row ' + index } } } })";

void drag(QWindow& window, int from, int to) {
  QTest::mousePress(&window, Qt::LeftButton, {}, {200, from});
  const int step = from < to ? 10 : -10;
  for (int y = from; y != to; y += step) QTest::mouseMove(&window, {200, y}, 4);
}

TEST(QuickInput, TellsWhenAListBeginsAndEndsToScroll) {
  QmlApp app(QmlApp::Documents{{"Main", kList}});
  Hands hands;
  drag(app.window(), 600, 300);
  EXPECT_EQ(hands.scrolls, Strings{"+ListView"});
  QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, {200, 300}, 4);
  EXPECT_TRUE(hands.operated.empty()) << "the list has taken the press away from its row";
  EXPECT_TRUE(waitUntil([&] { return hands.scrolls.size() == 2; }));
  EXPECT_EQ(hands.scrolls.back(), "-ListView");
  QTest::mouseClick(&app.window(), Qt::LeftButton, {}, {200, 300});
  EXPECT_EQ(hands.operated.size(), 1u) << "a tap on a row";
  turnWheel(app.window(), {200, 300}, -240);
  EXPECT_TRUE(waitUntil([&] { return hands.scrolls.size() == 4; }));
  EXPECT_EQ(hands.scrolls.back(), "-ListView");
}

TEST(QuickInput, EndsTheScrollOfAListThatDies) {
  QmlApp app(QmlApp::Documents{{"Main", kList}});
  Hands hands;
  drag(app.window(), 600, 300);
  ASSERT_EQ(hands.scrolls, Strings{"+ListView"});
  app.call("close");
  EXPECT_TRUE(waitUntil([&] { return hands.scrolls.size() == 2; }));
  QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, {200, 300});
  QTest::qWait(50);
  EXPECT_EQ(hands.scrolls.size(), 2u);
}

}  // namespace
}  // namespace zarn::testing
