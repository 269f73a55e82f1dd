// What is told of a person's hands on an app of Widgets.
#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QQuickWindow>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>
#include <memory>

#include "base/text_arena.h"
#include "qml_app.h"
#include "qt/input_events.h"
#include "qt/widget_views.h"

namespace zarn::testing {
namespace {

/// As a scene of Qt Quick inside of a widget has it.
struct Embedding : QWidget {
  using QWidget::QWidget;
  bool event(QEvent* event) override {
    const auto type = event->type();
    if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease) {
      QCoreApplication::sendEvent(&inner, event);
      event->accept();
      return true;
    }
    return QWidget::event(event);
  }
  QQuickWindow inner;  // never created: the system knows nothing of it
};

struct Form : QWidget {
  Form() {
    auto& layout = *new QVBoxLayout(this);
    for (QWidget* const widget :
         std::initializer_list<QWidget*>{&send, &off, &field, &label, &area}) {
      layout.addWidget(widget);
    }
    off.setEnabled(false);
    auto* const content = new QWidget;
    content->setFixedSize(300, 3000);
    area.setWidget(content);
    resize(390, 844);
    show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(this));
    events.listen(
        {.tapped = [this](const platform::Touch& touch) { taps.push_back(touch.location); },
         .activated =
             [this](const platform::View& control) {
               base::TextArena arena;
               operated.push_back(std::string(control.text(arena)));
             },
         .scrollBegan = [this](const platform::View&) { ++begun; },
         .scrollEnded = [this](const platform::View&) { ++ended; }});
  }
  ~Form() override {
    for (QWidget* const widget :
         std::initializer_list<QWidget*>{&send, &off, &field, &label, &area}) {
      widget->setParent(nullptr);
    }
  }
  /// By the window, as from the system: not straight to the widget.
  void click(const QWidget& widget) {
    QTest::mouseClick(windowHandle(), Qt::LeftButton, {},
                      widget.mapTo(this, widget.rect().center()));
  }

  QPushButton send{"Send"};
  QPushButton off{"Off"};
  QLineEdit field;
  QLabel label{"Only text"};
  QScrollArea area;
  qt::QtInputEvents events;
  std::vector<base::Point> taps;
  std::vector<std::string> operated;
  int begun = 0;
  int ended = 0;
};

TEST(WidgetInput, TellsOfTapsOnScenesInsideOfWidgets) {
  Form form;
  Embedding scene(&form);
  scene.setGeometry(0, 0, 100, 100);
  scene.show();
  form.click(scene);
  EXPECT_EQ(form.taps.size(), 1u);
}

TEST(WidgetInput, TellsOfTapsOnWidgetsWithWindowsOfTheirOwn) {
  Form form;
  QWidget native(&form);
  native.setAttribute(Qt::WA_NativeWindow);
  native.setGeometry(20, 500, 200, 200);
  QPushButton pay("Pay", &native);
  pay.setAttribute(Qt::WA_NativeWindow);
  pay.setGeometry(50, 60, 80, 30);
  native.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(pay.windowHandle()));
  QTest::mouseClick(pay.windowHandle(), Qt::LeftButton, {}, {40, 15});
  EXPECT_EQ(form.taps, (std::vector<base::Point>{{110, 575}}));
  EXPECT_EQ(form.operated, std::vector<std::string>{"Pay"});
}

TEST(WidgetInput, TellsOfTapsOnceAndOfTheControlsThatTheyOperate) {
  Form form;
  form.click(form.send);
  form.click(form.off);
  form.click(form.field);
  form.click(form.label);
  EXPECT_EQ(form.taps.size(), 4u);
  EXPECT_EQ(form.operated, std::vector<std::string>{"Send"});
  const QPoint send = form.send.mapTo(&form, form.send.rect().center());
  QTest::mousePress(form.windowHandle(), Qt::LeftButton, {}, send);
  QTest::mouseRelease(form.windowHandle(), Qt::LeftButton, {}, {200, 700});
  EXPECT_EQ(form.taps.size(), 4u);
  EXPECT_EQ(form.operated.size(), 1u);
  const auto hit = form.events.hitTest(qt::widgetView(&form), {double(send.x()), double(send.y())});
  EXPECT_EQ(qt::widgetOf(hit), &form.send);
}

TEST(WidgetInput, IsNoOperationWhereAValueIsSet) {
  Form form;
  QSlider slider(Qt::Horizontal, &form);
  slider.setGeometry(20, 500, 200, 30);
  slider.show();
  const QPoint handle = slider.mapTo(&form, QPoint(5, 15));
  QTest::mousePress(form.windowHandle(), Qt::LeftButton, {}, handle);
  QTest::mouseMove(form.windowHandle(), handle + QPoint(100, 0));
  QTest::mouseRelease(form.windowHandle(), Qt::LeftButton, {}, handle + QPoint(100, 0));
  EXPECT_GT(slider.value(), 0);
  form.click(slider);
  EXPECT_EQ(form.taps.size(), 1u);
  EXPECT_TRUE(form.operated.empty());
}

TEST(WidgetInput, TellsWhenAnAreaBeginsAndEndsToScroll) {
  Form form;
  form.area.verticalScrollBar()->setValue(40);
  EXPECT_EQ(form.begun, 0) << "the app did that";
  const QPoint at = form.area.mapTo(&form, form.area.rect().center());
  for (int i = 0; i < 3; ++i) turnWheel(*form.windowHandle(), at, -120);
  EXPECT_EQ(form.begun, 1);
  EXPECT_EQ(form.ended, 0);
  EXPECT_TRUE(waitUntil([&] { return form.ended == 1; }));
  // Held at the bar's handle without a move, it goes on.
  auto& bar = *form.area.verticalScrollBar();
  bar.setValue(0);
  const QPoint handle = bar.mapTo(&form, QPoint(bar.width() / 2, 20));
  QTest::mousePress(form.windowHandle(), Qt::LeftButton, {}, handle);
  for (int y = 0; y <= 60; y += 10) QTest::mouseMove(form.windowHandle(), handle + QPoint(0, y), 4);
  QTest::qWait(300);
  EXPECT_EQ(form.begun, 2);
  EXPECT_EQ(form.ended, 1);
  QTest::mouseRelease(form.windowHandle(), Qt::LeftButton, {}, handle + QPoint(0, 60));
  EXPECT_TRUE(waitUntil([&] { return form.ended == 2; }));
  EXPECT_EQ(form.begun, 2);
}

TEST(WidgetInput, EndsAScrollWhoseReleaseIsTakenAway) {
  Form form;
  auto& bar = *form.area.verticalScrollBar();
  const QPoint handle = bar.mapTo(&form, QPoint(bar.width() / 2, 20));
  QTest::mousePress(form.windowHandle(), Qt::LeftButton, {}, handle);
  QTest::mouseMove(form.windowHandle(), handle + QPoint(0, 60));
  ASSERT_EQ(form.begun, 1);
  struct Drag final : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      return event->type() == QEvent::MouseButtonRelease;
    }
  } drag;
  qApp->installEventFilter(&drag);
  QTest::mouseRelease(form.windowHandle(), Qt::LeftButton, {}, handle + QPoint(0, 60));
  EXPECT_TRUE(waitUntil([&] { return form.ended == 1; }));
}

}  // namespace
}  // namespace zarn::testing
