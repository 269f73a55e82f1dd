// What is private is black in the pictures that go out, however it is placed, moved and painted
// over; what isn't stays to be seen. Secrets are magenta, and nothing else is.
#include <gtest/gtest.h>

#include <QGraphicsDropShadowEffect>
#include <QImage>
#include <QLabel>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <ostream>
#include <vector>

#include "qt/image_codec.h"
#include "qt/quick_views.h"
#include "qt/widget_views.h"
#include "qt/windows.h"
#include "quick_scene.h"
#include "redaction/cover.h"
#include "redaction/redaction_engine.h"
#include "support/child_process.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

using testing::QuickScene;

struct Scene {
  const char* name;
  const char* body;
  const char* change = "";  // done to the item "changing" right before the picture is taken
};
void PrintTo(const Scene& scene, std::ostream* out) {
  *out << scene.name;
}

/// Also where it shines through something white, or lies under it.
bool isMagenta(QRgb pixel) {
  return qRed(pixel) - qGreen(pixel) > 40 && qBlue(pixel) - qGreen(pixel) > 40;
}
bool isGreen(QRgb pixel) {
  return qGreen(pixel) - qRed(pixel) > 80 && qGreen(pixel) - qBlue(pixel) > 80;
}
bool isBlack(QRgb pixel) {
  return std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)}) < 24;
}

template <typename Is>
int count(const QImage& image, Is is) {
  int found = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) found += is(image.pixel(x, y)) ? 1 : 0;
  }
  return found;
}

QImage asImage(const platform::Bitmap& bitmap) {
  return QImage(bitmap.pixels.data(), bitmap.width, bitmap.height, QImage::Format_RGBA8888).copy();
}

class ScreenshotTest : public ::testing::Test {
 protected:
  static QByteArray withMarker(const char* body) {
    return QByteArray(
               "color: 'white'\n"
               "Rectangle { x: 0; y: 804; width: 390; height: 40; color: '#00a000' }\n") +
           body;
  }
  QImage drawn(QuickScene& scene) {
    platform::Bitmap bitmap;
    EXPECT_TRUE(windows_.draw(quickView(scene.window().contentItem()), 390, bitmap));
    return asImage(bitmap);
  }
  /// In the way of those that go out, and as their readers get it.
  QImage taken(QuickScene& scene) { return taken(quickView(scene.window().contentItem())); }
  QImage taken(const platform::View& window) {
    std::vector<base::Rect> rects;
    platform::Bitmap bitmap;
    EXPECT_TRUE(engine_.collectRects(window, window, rects));
    EXPECT_TRUE(windows_.draw(window, 390, bitmap));
    EXPECT_TRUE(engine_.collectRects(window, window, rects));
    redaction::cover(bitmap, rects);
    const auto jpeg = codec_.encodeJpeg(bitmap, 0.4);
    EXPECT_TRUE(jpeg);
    return QImage::fromData(QByteArray::fromStdString(jpeg.value_or("")), "JPEG");
  }

  QtWindows windows_{{}};
  QtImageCodec codec_;
  redaction::RedactionEngine engine_;
};

/// Lines of one pixel beside what is covered are seen, too.
TEST_F(ScreenshotTest, OfAScaledScreen) {
  if (!qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) GTEST_SKIP() << "another test starts this one";
  QuickScene scene(withMarker(R"(Repeater { model: 20
      Rectangle { x: 20 + index * 10.3; y: 40 + index * 31.7; width: 101 + index; height: 19.5
        color: "#ff00ff"; Zarn.redact: true } })"));
  if (scene.window().effectiveDevicePixelRatio() < 1) {
    platform::Bitmap bitmap;
    EXPECT_FALSE(windows_.draw(quickView(scene.window().contentItem()), 390, bitmap));
    return;
  }
  EXPECT_GT(count(drawn(scene), isMagenta), 100) << "there is nothing to hide";
  EXPECT_EQ(count(taken(scene), isMagenta), 0);
}

TEST(ScaledScreenshots, HideWhatIsPrivateAsWell) {
  for (const char* scale : {"0.8", "1.5"}) {
    testing::ChildProcess process("/proc/self/exe",
                                  {.arguments = {"--gtest_filter=ScreenshotTest.OfAScaledScreen"},
                                   .environment = {{"QT_SCALE_FACTOR", scale}}});
    EXPECT_TRUE(process.wait(std::chrono::minutes(1)).isClean()) << scale << process.output();
  }
}

class SceneTest : public ScreenshotTest, public ::testing::WithParamInterface<Scene> {};

TEST_P(SceneTest, HidesWhatIsPrivateAndNoMore) {
  QuickScene scene(withMarker(GetParam().body));
  QTest::qWait(60);  // into what moves
  const bool changes = *GetParam().change != '\0';
  if (!changes) {
    EXPECT_GT(count(drawn(scene), isMagenta), 100) << "there is nothing to hide";
  }
  for (int picture = 0; picture < 6; ++picture) {
    if (changes) scene.item("changing")->setProperty(GetParam().change, picture * 60);
    const QImage image = taken(scene);
    EXPECT_EQ(count(image, isMagenta), 0);
    EXPECT_GT(count(image, isBlack), 100);
    EXPECT_GT(count(image, isGreen), 390 * 40 * 9 / 10);
    QTest::qWait(30);
  }
}

TEST_F(ScreenshotTest, APasswordIsHiddenAlsoWhileItIsShown) {
  QuickScene scene(withMarker(R"(TextField { objectName: "field"; x: 20; y: 100; width: 200
      height: 50; echoMode: TextInput.Password; text: "secret"
      background: Rectangle { color: "#ff00ff" } })"));
  taken(scene);
  scene.item("field")->setProperty("echoMode", 0);
  EXPECT_EQ(count(taken(scene), isMagenta), 0);
}

/// An app may make room for a keyboard, or turn all that it shows.
TEST_F(ScreenshotTest, WhatIsPrivateIsHiddenWhereTheWholeContentIsMoved) {
  QuickScene scene(R"(color: "white"
      Rectangle { x: 50; y: 300; width: 200; height: 60; color: "#ff00ff"; Zarn.redact: true })");
  QQuickItem& content = *scene.window().contentItem();
  const auto isHidden = [&] {
    EXPECT_GT(count(drawn(scene), isMagenta), 5000) << "there is nothing to hide";
    const QImage image = taken(scene);
    EXPECT_EQ(count(image, isMagenta), 0);
    const int black = count(image, isBlack);
    return black > 5000 && black < image.width() * image.height() / 4;
  };
  content.setY(-200);
  EXPECT_TRUE(isHidden());
  content.setScale(0.8);
  EXPECT_TRUE(isHidden());
  content.setTransformOrigin(QQuickItem::TopLeft);
  content.setRotation(90);
  content.setPosition({390, 0});
  content.setSize({844, 390});
  EXPECT_TRUE(isHidden());
}

/// A widget's effect paints it once more, beside it.
TEST_F(ScreenshotTest, WhatAnEffectOfWidgetsPaintsIsHiddenAsTheWidgetIs) {
  for (const bool isOnParent : {false, true}) {
    QWidget window;
    window.setFixedSize(390, 300);
    window.setStyleSheet("background: white");
    QWidget box(&window);
    box.setAttribute(Qt::WA_NoSystemBackground);
    box.setStyleSheet("background: transparent");
    box.setGeometry(0, 0, 390, 300);
    QLabel label("Fyrstikkbakken", &box);
    label.setStyleSheet("font-size: 30px; color: #ff00ff");
    label.setGeometry(20, 40, 300, 40);
    auto* const shadow = new QGraphicsDropShadowEffect;
    shadow->setOffset(0, 60);
    shadow->setBlurRadius(1);
    shadow->setColor("#ff00ff");
    (isOnParent ? box : static_cast<QWidget&>(label)).setGraphicsEffect(shadow);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_GT(count(taken(widgetView(&window)), isMagenta), 100) << "there is nothing to hide";
    setRedacted(label, true);
    EXPECT_EQ(count(taken(widgetView(&window)), isMagenta), 0) << isOnParent;
  }
}

/// Animators move pictures and not items: nobody can tell where things are.
TEST_F(ScreenshotTest, NoPictureIsTakenWhileAnimatorsRun) {
  for (const char* body : {"XAnimator on x { from: 0; to: 280; duration: 60000 }",
                           "OpacityAnimator on opacity { from: 0; to: 1; duration: 60000 }",
                           R"(SequentialAnimation { running: true
                PauseAnimation { duration: 1 } RotationAnimator { target: moving; to: 90; duration: 60000 } })",
                           R"(states: State { name: "moved"; PropertyChanges { moving.x: 200 } }
              transitions: Transition { XAnimator { duration: 60000 } }
              Component.onCompleted: state = "moved")",
                           R"(Behavior on x { XAnimator { duration: 60000 } }
              Component.onCompleted: x = 200)"}) {
    SCOPED_TRACE(body);
    QuickScene scene(withMarker("Rectangle { id: moving; y: 100; width: 100; height: 60; ") + body +
                     " }");
    QTest::qWait(30);
    platform::Bitmap bitmap;
    EXPECT_FALSE(windows_.draw(quickView(scene.window().contentItem()), 390, bitmap));
  }
}

const Scene kScenes[] = {
    {"Password", R"(TextField { x: 20; y: 100; width: 200; height: 50
        echoMode: TextInput.Password; text: "secret"; background: Rectangle { color: "#ff00ff" } })"},
    {"CardAndPhone", R"(Column { x: 20; y: 100; spacing: 10
        TextField { width: 200; height: 50; background: Rectangle { color: "#ff00ff" }
          Zarn.contentType: Zarn.CreditCardNumber }
        TextField { width: 200; height: 50; background: Rectangle { color: "#ff00ff" }
          inputMethodHints: Qt.ImhDialableCharactersOnly } })"},
    {"Web", R"(Component { id: page; Rectangle { color: "#ff00ff"; Zarn.redact: true } }
        Loader { x: 20; y: 100; width: 200; height: 200; sourceComponent: page })"},
    {"UnknownThatTakesText", R"(Editor { x: 20; y: 100; width: 200; height: 100
        Rectangle { anchors.fill: parent; color: "#ff00ff" } })"},
    {"TurnedAndScaled", R"(Item { x: 120; y: 200; width: 150; height: 100; rotation: 33; scale: 1.4
        Rectangle { x: 10; y: 10; width: 120; height: 40; color: "#ff00ff"; rotation: 20
          Zarn.redact: true } })"},
    {"MovedByTransforms", R"(Rectangle { x: 0; y: 0; width: 120; height: 40; color: "#ff00ff"
        Zarn.redact: true
        transform: [Translate { x: 150; y: 200 }, Rotation { angle: 15 }, Scale { xScale: 1.5 }] })"},
    {"TiltedIntoDepth", R"(Rectangle { x: 100; y: 200; width: 150; height: 150; color: "#ff00ff"
        Zarn.redact: true
        transform: Rotation { origin.x: 75; axis { x: 0; y: 1; z: 0 } angle: 40 } })"},
    {"ScrolledList", R"(ListView { x: 0; y: 100; width: 390; height: 300; clip: true; model: 20
        contentY: 130; cacheBuffer: 0
        delegate: Item { width: 390; height: 60
          TextField { x: 20; y: 5; width: 200; height: 50; background: Rectangle { color: "#ff00ff" }
            inputMethodHints: Qt.ImhDialableCharactersOnly } } })"},
    {"ListThatScrolls", R"(ListView { id: list; x: 0; y: 100; width: 390; height: 300; model: 40
        clip: true
        NumberAnimation on contentY { from: 0; to: 1500; duration: 1500 }
        delegate: Item { width: 390; height: 60
          Rectangle { x: 20; y: 5; width: 200; height: 50; color: "#ff00ff"; Zarn.redact: true } } })"},
    {"Clipped", R"(Item { x: 50; y: 100; width: 100; height: 60; clip: true
        Rectangle { x: -40; y: -20; width: 120; height: 60; color: "#ff00ff"; Zarn.redact: true } })"},
    {"BeyondItsParent", R"(Item { x: 50; y: 100; width: 1; height: 1
        Rectangle { x: 60; y: 90; width: 120; height: 60; color: "#ff00ff"; Zarn.redact: true } })"},
    {"Fading", R"(Rectangle { x: 50; y: 100; width: 200; height: 60; color: "#ff00ff"
        Zarn.redact: true
        NumberAnimation on opacity { from: 0.2; to: 1; duration: 300; loops: Animation.Infinite } })"},
    {"FadingAround", R"(Item { anchors.fill: parent
        TextField { x: 20; y: 100; width: 200; height: 50; echoMode: TextInput.Password
          background: Rectangle { color: "#ff00ff" } }
        NumberAnimation on opacity { from: 0.3; to: 1; duration: 300; loops: Animation.Infinite } })"},
    {"UnderAGlass", R"(Rectangle { x: 50; y: 100; width: 200; height: 60; color: "#ff00ff"
        Zarn.redact: true }
        Rectangle { anchors.fill: parent; anchors.bottomMargin: 40; color: "white"; opacity: 0.5 })"},
    {"BehindALayer", R"(Item { width: 390; height: 300; layer.enabled: true
        Rectangle { x: 50; y: 100; width: 200; height: 60; color: "#ff00ff"; Zarn.redact: true } })"},
    {"TextBeyondItsItem", R"(Text { x: 50; y: 100; width: 30; height: 10; color: "#ff00ff"
        font.pixelSize: 40; font.bold: true; text: "Fyrstikkbakken"; Zarn.redact: true })"},
    {"AlignedTextBeyondItsItem", R"(Text { x: 200; y: 300; width: 10; height: 10; color: "#ff00ff"
        horizontalAlignment: Text.AlignRight; verticalAlignment: Text.AlignBottom
        font.pixelSize: 40; font.bold: true; text: "Fyrstikk"; Zarn.redact: true })"},
    {"PaddedTextBeyondItsItem", R"(Text { x: 10; y: 100; width: 60; leftPadding: 40; topPadding: 30
        height: 20; color: "#ff00ff"; font.pixelSize: 24; text: "Fyrstikkbakken"; Zarn.redact: true })"},
    {"PaddedAlignedTextBeyondItsItem", R"(Label { x: 200; y: 300; width: 90; rightPadding: 60
        horizontalAlignment: Text.AlignRight; color: "#ff00ff"; font.pixelSize: 24
        text: "Fyrstikkbakken"; Zarn.redact: true })"},
    {"PaddedFieldBeyondItsItem", R"(TextInput { x: 10; y: 100; width: 90; leftPadding: 40
        autoScroll: false; text: "4111 1111 1111 1111"; font.pixelSize: 24; color: "#ff00ff"
        Zarn.contentType: Zarn.CreditCardNumber })"},
    {"PaddedEditBeyondItsItem", R"(TextEdit { x: 10; y: 100; width: 60; height: 20; leftPadding: 40
        topPadding: 20; text: "Fyrstikkbakken"; font.pixelSize: 24; color: "#ff00ff"
        Zarn.redact: true })"},
    {"TextPaddedOutOfItsItem",
     R"(Text { x: 100; y: 100; width: 300; leftPadding: -60; topPadding: -30
        font.pixelSize: 24; color: "#ff00ff"; text: "Fyrstikkbakken"; Zarn.redact: true })"},
    {"Dialog", R"(Dialog { visible: true; x: 40; y: 200; width: 300; height: 200
        contentItem: Item { Rectangle { x: 20; y: 20; width: 100; height: 40; color: "#ff00ff"
          Zarn.redact: true } } })"},
    {"LaidOutDuringTheDraw", R"(Row { x: 0; y: 100; spacing: 4
        Item { objectName: "changing"; width: 300; height: 60 }
        Rectangle { width: 80; height: 60; color: "#ff00ff"; Zarn.redact: true } })",
     "width"},
    {"LaidOutByLayoutsDuringTheDraw", R"(ColumnLayout { x: 0; y: 100; spacing: 4
        Item { objectName: "changing"; Layout.preferredHeight: height; implicitHeight: 300 }
        RowLayout { Item { Layout.preferredWidth: 50 }
          TextField { Layout.preferredWidth: 80; Layout.preferredHeight: 60
            echoMode: TextInput.Password; background: Rectangle { color: "#ff00ff" } } } })",
     "implicitHeight"},
};

INSTANTIATE_TEST_SUITE_P(Screenshots, SceneTest, ::testing::ValuesIn(kScenes),
                         [](const auto& scene) { return std::string(scene.param.name); });

}  // namespace
}  // namespace zarn::qt
