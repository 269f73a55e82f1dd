// What only Qt's views have to get right: QML's types, popups, transforms, hints and effects.
#include <gtest/gtest.h>

#include <QDialog>
#include <QFormLayout>
#include <QGraphicsView>
#include <QLabel>
#include <QLineEdit>
#include <QMovie>
#include <QPainter>
#include <QPicture>
#include <QQuickView>
#include <QRegularExpressionValidator>
#include <QScrollArea>
#include <QTabBar>
#include <QTableWidget>
#include <algorithm>
#include <set>

#include "qt/class_kinds.h"
#include "qt/content_guess.h"
#include "qt/quick_views.h"
#include "qt/redaction.h"
#include "qt/text.h"
#include "qt/widget_views.h"
#include "quick_scene.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

using platform::TextContentType;
using platform::View;
using platform::ViewKind;
using testing::QuickScene;

class QuickViewsTest : public ::testing::Test {
 protected:
  static View view(QuickScene& scene, const char* name) {
    return quickView(scene.item(QString::fromUtf8(name)));
  }
  static ViewKind kind(QuickScene& scene, const char* name) {
    return view(scene, name).facts().kind;
  }
  std::string classText(const View& view) { return std::string(view.classText(arena)); }

  /// The item that a popup shows itself by, of those in the overlay.
  static QQuickItem* popupItemWith(QuickScene& scene, const char* name) {
    QQuickItem* at = scene.item(QString::fromUtf8(name));
    while (at != nullptr && classOf(*at).trait != Trait::popupItem) at = at->parentItem();
    return at;
  }

  base::TextArena arena;
};

TEST_F(QuickViewsTest, NamesClassesAsDevelopersDo) {
  QuickScene scene(R"(
    component CartPage: Page { property int items }
    CartPage { objectName: "cart"; property int more: 1 }
    Page { objectName: "page" }
    Text { objectName: "text" }
    Window { objectName: "window" }
    Rectangle { objectName: "inline"; property int more: 1 })");
  const auto* const window = scene.window().contentItem()->findChild<QWindow*>("window");
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(qt::classText(*window, arena), "Window");
  EXPECT_EQ(classText(view(scene, "cart")), "CartPage");
  EXPECT_EQ(classText(view(scene, "page")), "Page");
  EXPECT_EQ(classText(view(scene, "text")), "Text");
  EXPECT_EQ(classText(view(scene, "inline")), "Rectangle");
  EXPECT_TRUE(view(scene, "cart").isKindOf("Page"));
  EXPECT_TRUE(view(scene, "cart").isKindOf("QQuickPage"));
  EXPECT_FALSE(view(scene, "page").isKindOf("CartPage"));
  EXPECT_FALSE(classOf(*scene.item(QStringLiteral("cart"))).isToolkits);
  EXPECT_TRUE(classOf(*scene.item(QStringLiteral("page"))).isToolkits);
}

/// Types die with their engine, and the next ones may stand at their place.
TEST_F(QuickViewsTest, TellsTypesOfLaterEnginesApart) {
  for (int i = 0; i < 30; ++i) {
    const bool isField = i % 2 == 0;
    QuickScene scene(QByteArray("component Type") + QByteArray::number(i) + ": " +
                     (isField ? "TextField" : "Rectangle") + " { property int a: 1 }\nType" +
                     QByteArray::number(i) + " { objectName: 'it' }");
    EXPECT_EQ(classText(view(scene, "it")), "Type" + std::to_string(i));
    EXPECT_EQ(kind(scene, "it"), isField ? ViewKind::textField : ViewKind::plain);
  }
}

TEST_F(QuickViewsTest, KnowsTheControls) {
  QuickScene scene(R"(
    header: ToolBar { objectName: "bar" }
    component AppWebView: Rectangle { }
    component SearchMapView: TextField { }
    Column {
      Switch { objectName: "switch"; text: "Dark" }
      Image { objectName: "image" }
      Canvas { objectName: "canvas" }
      BusyIndicator { objectName: "busy"; running: true }
      BusyIndicator { objectName: "idle"; running: false }
      ProgressBar { objectName: "progress" }
      TextArea { objectName: "area" }
      ComboBox { objectName: "editable"; editable: true; model: ["secret"] }
      ComboBox { objectName: "combo"; model: ["Red"] }
      Flickable { objectName: "flickable"; width: 10; height: 10 }
      SwipeView { objectName: "swipe"; width: 10; height: 10; Item { objectName: "first" } }
      AppWebView { objectName: "web" }
      SearchMapView { objectName: "search" }
      MouseArea { objectName: "area2"; width: 5; height: 5 }
      Rectangle { objectName: "tappable"; width: 5; height: 5; color: "red"; TapHandler { } }
      Rectangle { objectName: "clear"; width: 5; height: 5; color: "transparent" }
      Button { objectName: "off"; enabled: false; text: "R&&&D"; Accessible.name: "Research" }
      TabBar { objectName: "tabs"; currentIndex: 1
               TabButton { text: "Home" } TabButton { text: "Cart" } }
    })");
  EXPECT_EQ(kind(scene, "bar"), ViewKind::navigationBar);
  EXPECT_EQ(kind(scene, "switch"), ViewKind::control);
  EXPECT_EQ(kind(scene, "image"), ViewKind::image);
  EXPECT_EQ(kind(scene, "canvas"), ViewKind::image);
  EXPECT_EQ(kind(scene, "busy"), ViewKind::activityIndicator);
  EXPECT_EQ(kind(scene, "progress"), ViewKind::progress);
  EXPECT_EQ(kind(scene, "area"), ViewKind::textView);
  EXPECT_EQ(kind(scene, "editable"), ViewKind::textField);
  EXPECT_EQ(kind(scene, "combo"), ViewKind::control);
  EXPECT_EQ(kind(scene, "flickable"), ViewKind::scroll);
  EXPECT_EQ(kind(scene, "first"), ViewKind::plain);
  EXPECT_EQ(kind(scene, "web"), ViewKind::web);
  EXPECT_EQ(kind(scene, "search"), ViewKind::textField);
  EXPECT_EQ(kind(scene, "tabs"), ViewKind::tabBar);
  EXPECT_TRUE(view(scene, "busy").facts().isAnimating);
  EXPECT_FALSE(view(scene, "idle").facts().isAnimating);
  EXPECT_TRUE(view(scene, "area2").facts().hasTapGesture);
  EXPECT_TRUE(view(scene, "tappable").facts().hasTapGesture);
  EXPECT_FALSE(view(scene, "tappable").facts().drawsNothing);
  EXPECT_TRUE(view(scene, "clear").facts().drawsNothing);
  EXPECT_TRUE(view(scene, "off").facts().isDisabled);
  EXPECT_EQ(view(scene, "editable").text(arena), "");
  EXPECT_EQ(view(scene, "combo").text(arena), "Red");
  EXPECT_EQ(view(scene, "off").text(arena), "R&D");
  EXPECT_EQ(view(scene, "off").accessibilityLabel(arena), "Research");
  EXPECT_EQ(view(scene, "tabs").selectedTabTitle(arena), "Cart");
}

TEST_F(QuickViewsTest, VisitsTheCellsInSight) {
  QuickScene scene(R"(
    ListView { objectName: "list"; width: 100; height: 100; model: 50; cacheBuffer: 500
      header: Text { text: "Header" }
      highlight: Rectangle { }
      delegate: Rectangle { width: 100; height: 40; objectName: "row" + index } })");
  std::vector<std::string> rows;
  const View list = view(scene, "list");
  list.eachVisibleCell([&](const View& cell) {
    EXPECT_EQ(cell.facts().kind, ViewKind::cell);
    EXPECT_EQ(cell.reuseIdentifier(arena), "Rectangle");
    rows.emplace_back(cell.accessibilityIdentifier(arena));
    return true;
  });
  EXPECT_EQ(rows, (std::vector<std::string>{"row0", "row1", "row2"}));
}

TEST_F(QuickViewsTest, MarksWhatAnAppSaysIsPrivate) {
  QuickScene scene(R"(
    Rectangle { id: bound; objectName: "bound"; property bool isPrivate: true
                Zarn.redact: isPrivate }
    Rectangle { objectName: "plain" }
    Popup { visible: true; Zarn.redact: true; Text { objectName: "inPopup" } }
    Popup { visible: true; y: 200; Text { objectName: "inOther" } }
    Item { Zarn.redact: true
      Item { Popup { visible: true; y: 400; Text { objectName: "inChoice" } } }
      ComboBox { objectName: "combo"; model: ["Visa", "Giro"] } })");
  QQuickItem* const bound = scene.item(QStringLiteral("bound"));
  EXPECT_TRUE(quickView(bound).facts().isMarkedPrivate);
  EXPECT_TRUE(isRedacted(*bound));
  bound->setProperty("isPrivate", false);
  EXPECT_FALSE(quickView(bound).facts().isMarkedPrivate);

  QQuickItem* const plain = scene.item(QStringLiteral("plain"));
  EXPECT_FALSE(quickView(plain).facts().isMarkedPrivate);
  setRedacted(*plain, true);
  EXPECT_TRUE(quickView(plain).facts().isMarkedPrivate);
  setRedacted(*plain, false);
  EXPECT_FALSE(isRedacted(*plain));

  alignas(QObject) std::byte place[sizeof(QObject)];
  for (int i = 0; i < 3; ++i) {
    auto* const made = new (place) QObject;
    EXPECT_FALSE(isRedacted(*made));  // whatever has died there
    setRedacted(*made, true);
    if (i == 0) made->disconnect();  // from all that waits for its death
    made->~QObject();
  }

  EXPECT_TRUE(quickView(popupItemWith(scene, "inPopup")).facts().isMarkedPrivate);
  EXPECT_FALSE(quickView(popupItemWith(scene, "inOther")).facts().isMarkedPrivate);
  EXPECT_TRUE(quickView(popupItemWith(scene, "inChoice")).facts().isMarkedPrivate);
  auto* const list = scene.item(QStringLiteral("combo"))->property("popup").value<QObject*>();
  QMetaObject::invokeMethod(list, "open");
  auto* const shown = list->property("contentItem").value<QQuickItem*>()->parentItem();
  EXPECT_TRUE(quickView(shown).facts().isMarkedPrivate) << "what a private field lets choose from";

  EXPECT_FALSE(quickView(scene.window().contentItem()).facts().isMarkedPrivate);
  setRedacted(scene.window(), true);
  EXPECT_TRUE(quickView(scene.window().contentItem()).facts().isMarkedPrivate);
}

TEST_F(QuickViewsTest, MarksWhatSomethingPrivateHasOpened) {
  QuickScene scene(R"(
    Item { id: secret; Zarn.redact: true; ToolTip.text: "Kari"
      Window { objectName: "window"; visible: true; Item { objectName: "inWindow" } } }
    Popup { parent: secret; visible: true; y: 100; Text { objectName: "inShown" } }
    Menu { id: menu; Zarn.redact: true
      Menu { id: more; MenuItem { objectName: "inMore" } } }
    TextField { id: pin; echoMode: TextInput.Password
      Popup { visible: true; y: 200; Text { objectName: "inPin" } } }
    TextField { id: city
      Popup { visible: true; y: 300; Text { objectName: "inCity" } } }
    ComboBox { id: card; editable: true
      Popup { visible: true; y: 400; Text { objectName: "inCard" } } }
    ComboBox { id: countryCode
      Popup { visible: true; y: 500; Text { objectName: "inCountry" } } }
    Column { objectName: "column"
      Repeater { model: 2; Zarn.redact: true; Text { text: "Ola" } } }
    Timer { running: true; interval: 1
      onTriggered: { menu.popup(); more.popup(); secret.ToolTip.visible = true } })");
  const auto isPrivate = [](QQuickItem* item) { return quickView(item).facts().isMarkedPrivate; };
  EXPECT_FALSE(isPrivate(popupItemWith(scene, "inCity")));
  EXPECT_FALSE(isPrivate(popupItemWith(scene, "inCountry"))) << "whose field is none";
  QQuickItem* const overlay = popupItemWith(scene, "inCity")->parentItem();
  QQuickItem* tip = nullptr;
  const auto isTipThere = [&] {
    for (QQuickItem* const item : overlay->childItems()) {
      if (item->parent() != nullptr && item->parent()->inherits("QQuickToolTip")) tip = item;
    }
    return tip != nullptr;
  };
  ASSERT_TRUE(QTest::qWaitFor(isTipThere));
  for (const char* name : {"inShown", "inMore", "inPin", "inCard"}) {
    EXPECT_TRUE(isPrivate(popupItemWith(scene, name))) << name;
  }
  EXPECT_TRUE(isPrivate(tip));
  EXPECT_TRUE(isPrivate(scene.item(QStringLiteral("column"))));
  const auto windows = QGuiApplication::topLevelWindows();
  const auto inner = std::ranges::find(windows, QStringLiteral("window"), &QObject::objectName);
  ASSERT_NE(inner, windows.end());
  EXPECT_TRUE(isPrivate(qobject_cast<QQuickWindow*>(*inner)->contentItem()));
}

TEST_F(QuickViewsTest, FollowsTransformsAndStackingOrder) {
  QuickScene scene(R"(
    Item { objectName: "page"; width: 390; height: 844
      Item { x: 100; y: 100; width: 100; height: 50; rotation: 90; scale: 2
        Rectangle { objectName: "turned"; width: 100; height: 50 } }
      Rectangle { objectName: "top"; z: 2 }
      Rectangle { objectName: "first" }
      Rectangle { objectName: "behind"; z: -1 }
      Rectangle { objectName: "second" } })");
  const base::Rect turned = view(scene, "turned").rectIn(view(scene, "page"));
  EXPECT_NEAR(turned.x, 100, 0.01);
  EXPECT_NEAR(turned.y, 25, 0.01);
  EXPECT_NEAR(turned.width, 100, 0.01);
  EXPECT_NEAR(turned.height, 200, 0.01);
  std::vector<std::string> order;
  view(scene, "page").eachChild([&](const View& child) {
    order.emplace_back(child.accessibilityIdentifier(arena));
    return true;
  });
  EXPECT_EQ(order, (std::vector<std::string>{"behind", "", "first", "second", "top"}));
}

TEST_F(QuickViewsTest, KnowsWhatAFieldIsFor) {
  QuickScene scene(R"(
    component PinEntry: FocusScope { TextInput { objectName: "inPin"; width: 9; height: 9 } }
    Column {
      TextField { objectName: "dial"; inputMethodHints: Qt.ImhDialableCharactersOnly }
      TextField { objectName: "sensitive"; inputMethodHints: Qt.ImhSensitiveData }
      TextField { objectName: "mask"; inputMask: "9999 9999 9999 9999;_" }
      TextField { objectName: "regexp"
                  validator: RegularExpressionValidator { regularExpression: /\d{13,19}/ } }
      TextField { objectName: "digits"; maximumLength: 4; validator: IntValidator { } }
      TextField { objectName: "placeholder"; placeholderText: "Card number" }
      Label { text: "Telefon" } TextField { objectName: "labelled" }
      TextField { id: cvcField; objectName: "byId" }
      PinEntry { }
      Item { width: 9; height: 9
        Rectangle { } TextInput { objectName: "overlaid" }
        Text { text: "Expiry"; visible: false } }
      TextField { objectName: "said"; Zarn.contentType: Zarn.OneTimeCode }
      TextField { objectName: "unsaid"; placeholderText: "Promo code"
                  Zarn.contentType: Zarn.OtherContent }
      TextField { objectName: "search"; placeholderText: "Search shoes" }
      Button { objectName: "button"; text: "Card" }
    })");
  const std::pair<const char*, TextContentType> fields[] = {
      {"dial", TextContentType::telephoneNumber},
      {"sensitive", TextContentType::password},
      {"mask", TextContentType::creditCardNumber},
      {"regexp", TextContentType::creditCardNumber},
      {"digits", TextContentType::oneTimeCode},
      {"placeholder", TextContentType::creditCardNumber},
      {"labelled", TextContentType::telephoneNumber},
      {"byId", TextContentType::creditCardNumber},
      {"inPin", TextContentType::password},
      {"overlaid", TextContentType::creditCardNumber},
      {"said", TextContentType::oneTimeCode},
      {"unsaid", TextContentType::other},
      {"search", TextContentType::none},
      {"button", TextContentType::none},
  };
  for (const auto& [name, type] : fields) EXPECT_EQ(view(scene, name).contentType(), type) << name;
  setContentType(*scene.item(QStringLiteral("search")), ContentType::telephoneNumber);
  EXPECT_EQ(view(scene, "search").contentType(), TextContentType::telephoneNumber);
  setContentType(*scene.item(QStringLiteral("unsaid")), ContentType::guessed);
  EXPECT_EQ(view(scene, "unsaid").contentType(), TextContentType::oneTimeCode);
}

TEST(ContentGuess, FindsWordsAsPeopleAndProgramsWriteThem) {
  EXPECT_EQ(guessContentType("cardNumberField"), TextContentType::creditCardNumber);
  EXPECT_EQ(guessContentType("IBANInput"), TextContentType::creditCardNumber);
  EXPECT_EQ(guessContentType("PIN-Code"), TextContentType::password);
  EXPECT_EQ(guessContentType("Номер телефона"), TextContentType::telephoneNumber);
  EXPECT_EQ(guessContentType("e-mail code"), TextContentType::oneTimeCode);
  EXPECT_EQ(guessContentType("user_email"), TextContentType::emailAddress);
  for (const char* const innocent : {"Shipping", "Discard", "Hotel", "Search", "Pinterest", ""}) {
    EXPECT_EQ(guessContentType(innocent), TextContentType::none) << innocent;
  }
}

/// What is painted once more, elsewhere, is as private there as where it stands.
TEST_F(QuickViewsTest, MasksPicturesOfPrivateItems) {
  QuickScene scene(R"(
    Item { id: form; width: 50; height: 50; TextField { } }
    Item { id: picture; width: 50; height: 50; Rectangle { } }
    Item { Zarn.redact: true; Item { id: inner; width: 50; height: 50 } }
    ShaderEffectSource { objectName: "ofForm"; sourceItem: form }
    ShaderEffectSource { objectName: "ofPicture"; sourceItem: picture }
    ShaderEffectSource { objectName: "ofInner"; sourceItem: inner }
    ShaderEffect { objectName: "effect"; property var source: form }
    ShaderEffect { objectName: "harmless"; property var source: picture; property real amount: 1 })");
  EXPECT_TRUE(view(scene, "ofForm").facts().isMarkedPrivate);
  EXPECT_TRUE(view(scene, "ofInner").facts().isMarkedPrivate);
  EXPECT_TRUE(view(scene, "effect").facts().isMarkedPrivate);
  EXPECT_FALSE(view(scene, "ofPicture").facts().isMarkedPrivate);
  EXPECT_FALSE(view(scene, "harmless").facts().isMarkedPrivate);
}

TEST_F(QuickViewsTest, TellsHowThingsLook) {
  QuickScene scene(R"(
    Text { objectName: "title"; text: "T"; color: "#102030"; font.pixelSize: 24; font.bold: true }
    Text { objectName: "rich"; text: "<style>p{}</style><p>Two <b>bo</b>ld</p>&lt;words&#33;" }
    Rectangle { objectName: "card"; color: "#ff0000"; radius: 8; border.width: 2
                border.color: "#0000ff" }
    Rectangle { objectName: "shimmer"; gradient: Gradient { GradientStop { } }
      NumberAnimation on x { from: 0; to: 9; loops: Animation.Infinite } })");
  const platform::Font font = view(scene, "title").font();
  EXPECT_EQ(font.pointSize, 24);
  EXPECT_TRUE(font.isBold);
  EXPECT_EQ(view(scene, "title").colors().foreground, (platform::Color{0x10, 0x20, 0x30, 255}));
  EXPECT_EQ(view(scene, "card").colors().background, (platform::Color{255, 0, 0, 255}));
  const platform::LayerFacts card = view(scene, "card").layer();
  EXPECT_EQ(card.cornerRadius, 8);
  EXPECT_EQ(card.borderWidth, 2);
  EXPECT_EQ(card.borderColor, (platform::Color{0, 0, 255, 255}));
  EXPECT_FALSE(card.hasShimmer);
  EXPECT_TRUE(view(scene, "shimmer").layer().hasShimmer);
  EXPECT_EQ(view(scene, "rich").text(arena), "Two bold <words!");
}

TEST(QtText, IsCutBetweenCharacters) {
  base::TextArena arena;
  const QString text = QString(1021, u'a') + QStringLiteral("é€");
  EXPECT_EQ(toArena(text, arena), std::string(1021, 'a') + "é");
  const char16_t broken[] = {u'a', 0xd800, u'b', 0xdc00, 0};
  EXPECT_EQ(toArena(QStringView(broken), arena), "a\uFFFDb\uFFFD");
  EXPECT_EQ(toArena(QStringLiteral("😀"), arena), "😀");
  EXPECT_EQ(plainToArena(u"a<br>b <i>c</i>&nbsp;&amp;&bogus; <!-- <b> -->d<unclosed", arena),
            "a b c &&bogus; d");
}

TEST(WidgetViewsTest, WindowsArePrivateAsWhatTheyBelongTo) {
  QWidget window;
  auto* const box = new QWidget(&window);
  QDialog ofBox(box);
  QDialog ofWindow(&window);
  setRedacted(*box, true);
  EXPECT_TRUE(widgetView(&ofBox).facts().isMarkedPrivate);
  EXPECT_FALSE(widgetView(&ofWindow).facts().isMarkedPrivate);
  EXPECT_FALSE(widgetView(&window).facts().isMarkedPrivate);
  auto* const embedded = new QQuickView;
  const QQuickItem& root = *embedded->contentItem();
  EXPECT_FALSE(quickView(embedded->contentItem()).facts().isMarkedPrivate);
  QWidget::createWindowContainer(embedded, &window);
  EXPECT_TRUE(quickView(embedded->contentItem()).facts().isMarkedPrivate);
  EXPECT_TRUE(isWithinPrivate(root));
}

TEST(WidgetViewsTest, KnowWhichLabelsAreImages) {
  QPixmap pixmap(8, 8);
  pixmap.fill(Qt::red);
  QMovie movie;
  QPicture picture;
  QPainter(&picture).fillRect(0, 0, 8, 8, Qt::red);
  QLabel pictured, drawn, moving;
  pictured.setPixmap(pixmap);
  drawn.setPicture(picture);
  moving.setMovie(&movie);
  QLabel inMarkup(QStringLiteral("<p><IMG src='photo.png'></p>"));
  for (QLabel* label : {&pictured, &drawn, &moving, &inMarkup}) {
    EXPECT_EQ(widgetView(label).facts().kind, ViewKind::image) << label->text().toStdString();
  }
  QLabel empty;
  QLabel beside(QStringLiteral("<img src='photo.png'> Kari"));
  QLabel plain(QStringLiteral("<img src='photo.png'>"));
  plain.setTextFormat(Qt::PlainText);
  for (QLabel* label : {&empty, &beside, &plain}) {
    EXPECT_EQ(widgetView(label).facts().kind, ViewKind::label) << label->text().toStdString();
  }
}

TEST(WidgetViewsTest, KnowWhatIsPrivateByItself) {
  QWidget window;
  QFormLayout form(&window);
  auto* const phone = new QLineEdit;
  form.addRow(QStringLiteral("&Phone"), phone);
  auto* const card = new QLineEdit;
  card->setValidator(
      new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{16}")), card));
  form.addRow(card);
  auto* const name = new QLineEdit;
  form.addRow(QStringLiteral("Name"), name);
  auto* const scene = new QGraphicsView;
  form.addRow(scene);
  auto* const editor = new QScrollArea;  // of the app's own, as far as can be told
  editor->setAttribute(Qt::WA_InputMethodEnabled);
  form.addRow(editor);
  auto* const table = new QTableWidget;
  form.addRow(table);
  auto* const tabs = new QTabBar;
  tabs->addTab(QStringLiteral("&Home"));
  form.addRow(tabs);
  EXPECT_EQ(widgetView(phone).contentType(), TextContentType::telephoneNumber);
  EXPECT_EQ(widgetView(card).contentType(), TextContentType::creditCardNumber);
  EXPECT_EQ(widgetView(name).contentType(), TextContentType::none);
  EXPECT_TRUE(widgetView(scene).facts().isMarkedPrivate);
  EXPECT_TRUE(widgetView(editor).facts().acceptsTextInput);
  EXPECT_FALSE(widgetView(table).facts().acceptsTextInput);
  base::TextArena arena;
  EXPECT_EQ(widgetView(tabs).selectedTabTitle(arena), "Home");
}

}  // namespace
}  // namespace zarn::qt
