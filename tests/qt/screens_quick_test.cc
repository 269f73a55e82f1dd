// Which screens are told of while a person goes through an app of Qt Quick.
#include <QTest>

#include "qml_app.h"
#include "qt/quick_views.h"
#include "qt/screens.h"
#include "zarn/qt.h"

namespace zarn::testing {
namespace {

const QByteArray kHome = "Page { Label { text: 'Welcome' } }";
const QByteArray kCart = "Page { property int items: 2; Label { text: 'Two things' } }";

/// An app with these two pages.
QmlApp::Documents shop(const QByteArray& main) {
  return {{"HomePage", kHome}, {"CartPage", kCart}, {"Main", main}};
}

TEST(QuickScreens, OfAStackAreToldOnceEachAndAgainWhenTheyComeBack) {
  QmlApp app(shop(R"(ApplicationWindow {
                 function cart() { stack.push("CartPage.qml") }
                 function pay() { stack.replace(pay) }
                 function back() { stack.pop() }
                 StackView { id: stack; anchors.fill: parent; initialItem: HomePage {} }
                 Component { id: pay; Page { title: 'Payment' } } })"));
  ScreenJournal journal;
  journal.expect({"HomePage"});
  app.call("cart");
  journal.expect({"HomePage", "CartPage"});
  app.call("pay");
  journal.expect({"HomePage", "CartPage", "Payment"});
  app.call("back");
  journal.expect({"HomePage", "CartPage", "Payment", "HomePage"});
}

TEST(QuickScreens, ThatAreOnlyPassedThroughAreNotToldOf) {
  QmlApp app(shop(R"(ApplicationWindow {
                 function thereAndBack() { stack.push("CartPage.qml"); stack.pop(StackView.Immediate) }
                 function deeper() { stack.push(["CartPage.qml", last]) }
                 StackView { id: stack; anchors.fill: parent; initialItem: HomePage {} }
                 Component { id: last; Page { header: ToolBar { Label { text: 'Order 7' } } } } })"));
  ScreenJournal journal;
  journal.expect({"HomePage"});
  app.call("thereAndBack");
  journal.expect({"HomePage"});
  app.call("deeper");
  journal.expect({"HomePage", "Order 7"});
}

constexpr auto kTabs = R"(ApplicationWindow {
  property alias current: bar.currentIndex
  function cart() { bar.currentIndex = 1 }
  function deeper() { inner.push(more) }
  SwipeView { id: swipe; objectName: 'swipe'; anchors.fill: parent; currentIndex: bar.currentIndex
    HomePage {}
    StackView { id: inner; initialItem: CartPage {} }
    Item { Label { text: 'Nothing' } } }
  Component { id: more; Page { title: 'Details' } }
  footer: TabBar { id: bar; objectName: 'bar'; currentIndex: swipe.currentIndex
    function itemAt(index: int): Item { return null }  // the app's own
    TabButton { objectName: 'tab0'; text: 'Home' }
    TabButton { objectName: 'tab1'; text: '&Basket' }
    TabButton { objectName: 'tab2'; text: 'Account' } } })";

TEST(QuickScreens, OfTabsAreNamedByTheirTabAndToldToWhoeverObservesTheSelection) {
  QmlApp app(shop(kTabs));
  ScreenJournal plain;
  plain.expect({"Home"});
  ScreenJournal watching(true);
  watching.expect({"Home"});
  app.click("tab1");
  watching.expect({"Home", "tab 0 to 1: Basket"});
  app.call("deeper");
  watching.expect({"Home", "tab 0 to 1: Basket", "Details"});
  app.click("tab0");
  watching.expect({"Home", "tab 0 to 1: Basket", "Details", "tab 1 to 0: Home"});
  // Another one who doesn't observe is told by screens.
  plain.expect({"Home", "Basket", "Details", "Home"});
}

TEST(QuickScreens, AreNotNamedByWhatIsPrivateAroundThem) {
  QmlApp app(shop(kTabs));
  qt::setRedacted(*app.object(QStringLiteral("bar")), true);
  ScreenJournal journal;
  journal.expect({"HomePage"});
}

TEST(QuickScreens, TellWhichViewsShowTheirTitles) {
  QmlApp app(QmlApp::Documents{
      {"HomePage", "Page { header: ToolBar { Label { objectName: 'title'; text: 'Order 7' } } }"},
      {"CartPage", kCart},
      {"Main", kTabs}});
  platform::Screen tabs = qt::rootScreen(app.window());
  while (tabs && tabs.facts().kind != platform::ScreenKind::tabs) {
    platform::Screen inner;
    tabs.eachChild([&](const platform::Screen& child) {
      inner = child;
      return false;
    });
    tabs = inner;
  }
  ASSERT_TRUE(tabs);
  const platform::Screen home = tabs.selected();
  EXPECT_EQ(home.navigationTitleView(), qt::quickView(app.item("title")));
  EXPECT_EQ(home.tabView(), qt::quickView(app.item("tab0")));
  EXPECT_EQ(tabs.tabViewAt(1), qt::quickView(app.item("tab1")));
  EXPECT_FALSE(tabs.tabViewAt(7));
  EXPECT_FALSE(tabs.tabView());
}

TEST(QuickScreens, AreNotNamedByFieldsInTheirHeaders) {
  QmlApp app(QmlApp::Documents{{"CartPage",
                                "Page { property int items: 2\n"
                                "header: TextField { placeholderText: 'Find'\n"
                                "Label { text: parent.text } text: '4111' } }"},
                               {"Main", R"(ApplicationWindow {
                 StackView { anchors.fill: parent; initialItem: CartPage {} } })"}});
  ScreenJournal journal;
  journal.expect({"CartPage"});
}

TEST(QuickScreens, AreToldOnceAFingerHasSwipedThemIn) {
  QmlApp app(shop(kTabs));
  ScreenJournal journal(true);
  journal.expect({"Home"});
  // Past the middle and back again: no other screen has been seen.
  QTest::mousePress(&app.window(), Qt::LeftButton, {}, {350, 400});
  for (int x = 350; x >= 100; x -= 25) QTest::mouseMove(&app.window(), {x, 400}, 8);
  for (int x = 100; x <= 350; x += 25) QTest::mouseMove(&app.window(), {x, 400}, 8);
  QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, {350, 400}, 200);
  journal.expect({"Home"});
  QTest::mousePress(&app.window(), Qt::LeftButton, {}, {350, 400});
  for (int x = 350; x >= 50; x -= 25) QTest::mouseMove(&app.window(), {x, 400}, 8);
  QTest::mouseRelease(&app.window(), Qt::LeftButton, {}, {50, 400}, 8);
  journal.expect({"Home", "tab 0 to 1: Basket"});
}

TEST(QuickScreens, LieInPagesThatOnlyWrapThem) {
  QmlApp app(QmlApp::Documents{{"CartPage", kCart}, {"Main", R"(ApplicationWindow {
                 function second() { bar.currentIndex = 1 }
                 StackView { anchors.fill: parent; initialItem: Page {
                   title: 'Shop'
                   footer: TabBar { id: bar; TabButton { text: 'All' } TabButton { text: 'New' } }
                   StackLayout { anchors.fill: parent; currentIndex: bar.currentIndex
                     Item { Label { text: 'One' } }
                     Repeater { model: 1; CartPage {} } } } } })"}});
  ScreenJournal journal;
  journal.expect({"All"});
  app.call("second");
  journal.expect({"All", "New"});
}

TEST(QuickScreens, OfALoaderAreThereWhenItIsReady) {
  QmlApp app(QmlApp::Documents{{"CartPage", kCart},
                               {"Parts", "Item { Label { text: 'Only a part' } }"},
                               {"Main", R"(ApplicationWindow {
                 function cart() { loader.source = 'CartPage.qml' }
                 function page() { loader.sourceComponent = page }
                 Loader { id: loader; anchors.fill: parent; asynchronous: true
                   sourceComponent: Item { Label { text: 'Start' } } }
                 Component { id: page; Page { title: 'Form'
                   Loader { anchors.fill: parent; source: 'Parts.qml' } } } })"}});
  ScreenJournal journal;
  journal.expect({"Item"});
  app.call("cart");
  journal.expect({"Item", "CartPage"});
  app.call("page");
  journal.expect({"Item", "CartPage", "Form"});
}

TEST(QuickScreens, OfPopupsAreThoseThatCoverTheWindow) {
  QmlApp app(QmlApp::Documents{{"HomePage", kHome},
                               {"FilterSheet", "Popup { modal: true; Label { text: 'Filter' } }"},
                               {"Main", R"(ApplicationWindow { id: root
                 function sheet() { sheet.open() }
                 function unsheet() { sheet.close() }
                 function ask() { dialog.open(); menu.open(); tip.visible = true; small.open() }
                 StackView { anchors.fill: parent; initialItem: HomePage {} }
                 FilterSheet { id: sheet; width: root.width; height: root.height }
                 Dialog { id: dialog; modal: true; title: 'Remove it?'; width: root.width
                          height: root.height; standardButtons: Dialog.Ok }
                 Menu { id: menu; MenuItem { text: 'Copy' } }
                 Popup { id: small; width: 100; height: 100; modal: true }
                 ToolTip { id: tip; text: 'A hint' } })"}});
  ScreenJournal journal;
  journal.expect({"HomePage"});
  app.call("sheet");
  journal.expect({"HomePage", "FilterSheet"});
  app.call("unsheet");
  journal.expect({"HomePage", "FilterSheet", "HomePage"});
  app.call("ask");
  journal.expect({"HomePage", "FilterSheet", "HomePage"});
}

TEST(QuickScreens, AreThoseOfTheWindowInFront) {
  QmlApp app(QmlApp::Documents{
      {"HomePage", kHome}, {"Main", "ApplicationWindow { HomePage { anchors.fill: parent } }"}});
  ScreenJournal journal;
  journal.expect({"HomePage"});
  {
    QmlApp settings(QmlApp::Documents{
        {"Main", "ApplicationWindow { title: 'Settings'; Switch { text: 'Loud' } }"}});
    journal.expect({"HomePage", "Settings"});
  }
  journal.expect({"HomePage", "Settings", "HomePage"});
  app.window().hide();
  journal.expect({"HomePage", "Settings", "HomePage"});
  app.window().show();
  journal.expect({"HomePage", "Settings", "HomePage", "HomePage"});
  app.window().showMinimized();
  journal.expect({"HomePage", "Settings", "HomePage", "HomePage"});
  app.window().showNormal();
  journal.expect({"HomePage", "Settings", "HomePage", "HomePage", "HomePage"});
}

TEST(QuickScreens, AreLaidOutAnewWhenViewsComeAndNotWhileTheyMove) {
  QmlApp app(QmlApp::Documents{{"Main", R"(ApplicationWindow {
                 function more() { model.append({}) }
                 function another() { extra.visible = true }
                 ListModel { id: model }
                 Page { anchors.fill: parent; title: 'List'
                   Label { id: extra; visible: false; text: 'More' }
                   Rectangle { width: 20; height: 20
                     RotationAnimator on rotation { loops: Animation.Infinite; to: 360 }
                     NumberAnimation on x { from: 0; to: 200; duration: 300; loops: Animation.Infinite }
                     NumberAnimation on opacity { from: 0.1; to: 1; duration: 300; loops: -1 } }
                   ListView { objectName: 'list'; anchors.fill: parent; model: model
                     delegate: Label { text: index; height: 30 + index } } } })"}});
  ScreenJournal journal;
  journal.expect({"List"});
  const int atFirst = journal.layouts();
  EXPECT_EQ(atFirst, 1);
  QTest::qWait(400);
  EXPECT_EQ(journal.layouts(), atFirst) << "something turns";
  app.call("another");
  EXPECT_TRUE(waitUntil([&] { return journal.layouts() > atFirst; }));
  app.call("more");
  EXPECT_TRUE(waitUntil([&] { return journal.layouts() > atFirst + 1; })) << "no longer empty";
  const int filled = journal.layouts();
  for (int i = 0; i < 40; ++i) app.call("more");
  QTest::qWait(250);
  EXPECT_EQ(journal.layouts(), filled) << "more of the same";
  app.item("list")->setProperty("contentY", 300);
  QTest::qWait(250);
  EXPECT_EQ(journal.layouts(), filled) << "scrolled";
}

}  // namespace
}  // namespace zarn::testing
