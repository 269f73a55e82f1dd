// Items and widgets answer alike for one page.
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>

#include "qt/quick_views.h"
#include "qt/widget_views.h"
#include "quick_scene.h"
#include "support/view_conformance.h"
#include "zarn/qt.h"

namespace zarn::testing {
namespace {

class QuickPage {
 public:
  platform::View view(std::string_view name) {
    return qt::quickView(scene_.item(QString::fromUtf8(name.data(), qsizetype(name.size()))));
  }
  void reveal(std::string_view) {
    scene_.item(QStringLiteral("password"))->setProperty("echoMode", 0);
  }
  void kill(std::string_view name) { delete qt::itemOf(view(name)); }

 private:
  QuickScene scene_{R"(
    Item { objectName: "page"; width: 390; height: 844
      Text { objectName: "title"; text: "Your cart"; x: 16; y: 20; width: 200; height: 30 }
      Text { objectName: "note"; text: "For nobody's eyes"; x: 16; y: 60; width: 200; height: 30
             Zarn.redact: true }
      TextField { objectName: "name"; text: "Jane"; x: 16; y: 100; width: 200; height: 40 }
      TextField { objectName: "password"; text: "hunter2"; x: 16; y: 150; width: 200; height: 40
                  id: field; echoMode: TextInput.Password; Accessible.name: text
                  Text { text: field.text; Accessible.name: field.text } }
      Button { objectName: "pay"; text: "&Pay"; x: 16; y: 200; width: 200; height: 40 }
      Text { objectName: "hidden"; text: "Not yet"; x: 16; y: 250; width: 200; height: 30
             visible: false }
      Text { objectName: "faint"; text: "Old price"; x: 16; y: 290; width: 200; height: 30
             opacity: 0.25 }
      Item { objectName: "box"; x: 100; y: 400; width: 120; height: 100; clip: true
        Text { objectName: "inside"; text: "Inside"; x: 10; y: 20; width: 50; height: 30 } }
      Editor { objectName: "editor"; x: 16; y: 520; width: 200; height: 100 }
      ListView { objectName: "list"; x: 0; y: 640; width: 390; height: 180 }
    })"};
};

class WidgetPage {
 public:
  WidgetPage() {
    window_.resize(390, 844);
    auto* const page = add<QWidget>(&window_, "page", {0, 0, 390, 844});
    add<QLabel>(page, "title", {16, 20, 200, 30})->setText(QStringLiteral("Your cart"));
    auto* const note = add<QLabel>(page, "note", {16, 60, 200, 30});
    note->setText(QStringLiteral("For nobody's eyes"));
    qt::setRedacted(*note, true);
    add<QLineEdit>(page, "name", {16, 100, 200, 40})->setText(QStringLiteral("Jane"));
    auto* const password = add<QLineEdit>(page, "password", {16, 150, 200, 40});
    password->setText(QStringLiteral("hunter2"));
    password->setAccessibleName(password->text());
    password->setEchoMode(QLineEdit::Password);
    (new QLabel(password))->setText(password->text());
    add<QPushButton>(page, "pay", {16, 200, 200, 40})->setText(QStringLiteral("&Pay"));
    auto* const hidden = add<QLabel>(page, "hidden", {16, 250, 200, 30});
    hidden->setVisible(false);
    auto* const faint = add<QLabel>(page, "faint", {16, 290, 200, 30});
    auto* const effect = new QGraphicsOpacityEffect(faint);
    effect->setOpacity(0.25);
    faint->setGraphicsEffect(effect);
    auto* const box = add<QWidget>(page, "box", {100, 400, 120, 100});
    add<QLabel>(box, "inside", {10, 20, 50, 30});
    add<QWidget>(page, "editor", {16, 520, 200, 100})->setAttribute(Qt::WA_InputMethodEnabled);
    add<QListWidget>(page, "list", {0, 640, 390, 180})->addItem(QStringLiteral("Row"));
    window_.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window_));
  }

  platform::View view(std::string_view name) { return qt::widgetView(find(name)); }
  void reveal(std::string_view name) {
    static_cast<QLineEdit*>(find(name))->setEchoMode(QLineEdit::Normal);
  }
  void kill(std::string_view name) { delete find(name); }

 private:
  template <typename T>
  T* add(QWidget* parent, const char* name, const QRect& frame) {
    auto* const made = new T(parent);
    made->setObjectName(QString::fromUtf8(name));
    made->setGeometry(frame);
    return made;
  }
  QWidget* find(std::string_view name) {
    return window_.findChild<QWidget*>(QString::fromUtf8(name.data(), qsizetype(name.size())));
  }

  QWidget window_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Quick, ViewConformance, QuickPage);
INSTANTIATE_TYPED_TEST_SUITE_P(Widgets, ViewConformance, WidgetPage);

}  // namespace
}  // namespace zarn::testing
