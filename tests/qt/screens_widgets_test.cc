// Which screens are told of while a person goes through an app of Widgets.
#include <QDialog>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QVBoxLayout>

#include "qml_app.h"
#include "qt/screens.h"
#include "qt/widget_views.h"
#include "zarn/qt.h"

namespace zarn::testing {
namespace {

class WidgetCartPage : public QWidget {
  Q_OBJECT
};
class WidgetHomePage : public QWidget {
  Q_OBJECT
};
class WidgetSettings : public QDialog {
  Q_OBJECT
};

void show(QWidget& window) {
  window.resize(390, 844);
  window.show();
  EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
}

TEST(WidgetScreens, AreThePagesOfAStackAndDialogsOfTheApp) {
  QMainWindow window;
  auto& stack = *new QStackedWidget;
  stack.addWidget(new WidgetHomePage);
  stack.addWidget(new WidgetCartPage);
  window.setCentralWidget(&stack);
  show(window);
  ScreenJournal journal;
  journal.expect({"WidgetHomePage"});
  stack.setCurrentIndex(1);
  journal.expect({"WidgetHomePage", "WidgetCartPage"});
  {
    WidgetSettings settings;
    settings.setWindowTitle("Settings");
    show(settings);
    journal.expect({"WidgetHomePage", "WidgetCartPage", "Settings"});
    QMessageBox question(QMessageBox::Question, "Sure?", "Really?", QMessageBox::Yes, &settings);
    question.show();
    QMenu menu;
    menu.addAction("Copy");
    menu.popup({10, 10});
    journal.expect({"WidgetHomePage", "WidgetCartPage", "Settings"});
  }
  journal.expect({"WidgetHomePage", "WidgetCartPage", "Settings", "WidgetCartPage"});
}

TEST(WidgetScreens, OfTabsAreNamedByTheirTab) {
  QTabWidget tabs;
  tabs.addTab(new QLabel("One"), "&All");
  auto& pages = *new QWidget;
  auto& layout = *new QVBoxLayout(&pages);
  auto& bar = *new QTabBar;
  bar.addTab("Open");
  bar.addTab("Done");
  auto& stack = *new QStackedWidget;
  stack.addWidget(new QLabel("Two"));
  stack.addWidget(new WidgetCartPage);
  QObject::connect(&bar, &QTabBar::currentChanged, &stack, &QStackedWidget::setCurrentIndex);
  layout.addWidget(&bar);
  layout.addWidget(&stack);
  tabs.addTab(&pages, "Orders");
  show(tabs);
  ScreenJournal journal(true);
  journal.expect({"All"});
  tabs.setCurrentIndex(1);
  journal.expect({"All", "tab 0 to 1: Orders"});
  bar.setCurrentIndex(1);
  journal.expect({"All", "tab 0 to 1: Orders", "Done"});
  bar.setCurrentIndex(0);
  journal.expect({"All", "tab 0 to 1: Orders", "Done", "tab 1 to 0: Open"});
  const platform::Screen root = qt::rootScreen(tabs);
  EXPECT_EQ(root.tabViewAt(0), qt::widgetView(tabs.tabBar()));
  EXPECT_EQ(root.selected().tabView(), qt::widgetView(tabs.tabBar()));
  EXPECT_EQ(root.selected().tabViewAt(0), qt::widgetView(&bar));
}

TEST(WidgetScreens, AreNotNamedByPrivateTabs) {
  QTabWidget tabs;
  tabs.addTab(new WidgetCartPage, "Ida's");
  qt::setRedacted(tabs, true);
  show(tabs);
  ScreenJournal journal;
  journal.expect({"WidgetCartPage"});
}

TEST(WidgetScreens, AreLaidOutAnewWhenWidgetsCome) {
  QWidget window;
  window.setWindowTitle("Form[*]");
  auto& layout = *new QVBoxLayout(&window);
  layout.addWidget(new QLabel("Name"));
  show(window);
  ScreenJournal journal;
  journal.expect({"Form"});
  const int atFirst = journal.layouts();
  QTest::qWait(250);
  EXPECT_EQ(journal.layouts(), atFirst);
  layout.addWidget(new QPushButton("Send"));
  EXPECT_TRUE(waitUntil([&] { return journal.layouts() > atFirst; }));
}

TEST(WidgetScreens, AreLaidOutAnewWhenAListIsFilled) {
  QListWidget list;
  show(list);
  ScreenJournal journal;
  journal.expect({"QListWidget"});
  const int atFirst = journal.layouts();
  list.addItem("One");
  EXPECT_TRUE(waitUntil([&] { return journal.layouts() > atFirst; }));
  const int filled = journal.layouts();
  list.addItem("Two");
  QTest::qWait(250);
  EXPECT_EQ(journal.layouts(), filled);
}

}  // namespace
}  // namespace zarn::testing

#include "screens_widgets_test.moc"
