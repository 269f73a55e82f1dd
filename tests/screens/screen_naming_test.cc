#include "screens/screen_naming.h"

#include <algorithm>

#include "screens/screen_observer.h"
#include "screens_test.h"

namespace zarn::screens {
namespace {

using platform::ScreenKind;
using Source = model::NameCandidate::Source;

class Naming : public ScreensTest {
 protected:
  std::string nameOf(const ScreenPtr& screen) {
    const platform::Screen seen = ui.screenOf(screen);
    return naming.resolveScreenName(seen, naming.className(seen), observer.observe(seen.view()));
  }
  std::vector<model::NameCandidate> candidatesOf(const ScreenPtr& screen,
                                                 std::string_view lineage = {}) {
    return naming.makeCandidates(ui.screenOf(screen), lineage, {});
  }
  std::string tabNameOf(const ScreenPtr& tabs, const ScreenPtr& selected) {
    const platform::Screen leaf = ui.screenOf(selected);
    return naming.resolveTabName(ui.screenOf(tabs), leaf, leaf, naming.className(leaf));
  }
  /// Of the toolkit's own class.
  ScreenPtr hosted(NodePtr view, ScreenLook look = {}) {
    look.isHosted = true;
    look.view = std::move(view);
    return ui.screen(std::move(look));
  }
  const std::vector<model::NameCandidate> noneButTheClass{
      {"Page", Source::viewControllerType, 0.30}};
  ScreenNaming naming{privacy};
  ScreenObserver observer{privacy};
};

TEST_F(Naming, ClimbsTheLadder) {
  const NodePtr view =
      page({ui.label("First label", {0, 0, 100, 20})}, {.accessibilityIdentifier = "cart_view"});
  const ScreenPtr screen = ui.screen({.classText = "CartPage",
                                      .view = view,
                                      .title = " Cart ",
                                      .navigationTitle = "Your cart",
                                      .tabTitle = "Basket"});
  EXPECT_EQ(nameOf(screen), "Cart");
  screen->look.title = "\n ";
  EXPECT_EQ(nameOf(screen), "Your cart");
  screen->look.navigationTitle.clear();
  EXPECT_EQ(nameOf(screen), "Basket");
  screen->look.tabTitle.clear();
  EXPECT_EQ(nameOf(screen), "cart_view");
  view->look.accessibilityIdentifier.clear();
  EXPECT_EQ(nameOf(screen), "First label");
  view->children.clear();
  EXPECT_EQ(nameOf(screen), "CartPage");
  screen->look.title = std::string(300, 'c');
  EXPECT_EQ(nameOf(screen), std::string(100, 'c'));
}

TEST_F(Naming, FindsTheTabAround) {
  const ScreenPtr screen = ui.screen({.view = page({})});
  const NodePtr bar = ui.node({.kind = Kind::tabBar, .selectedTabTitle = "Basket"});
  const ScreenPtr stack = ui.screen(
      {.kind = ScreenKind::navigation, .view = page({}), .tabTitle = "Home", .children = {screen}});
  EXPECT_EQ(nameOf(screen), "Home");
  stack->look.tabTitle.clear();
  const NodePtr window = ui.window(screen);
  window->add(plain({ui.node({.kind = Kind::tabBar}), bar}));
  EXPECT_EQ(nameOf(screen), "Basket");
  bar->look.isHidden = true;
  EXPECT_EQ(nameOf(screen), "Page");
  bar->look.isHidden = false;
  bar->parent->look.isMarkedPrivate = true;
  EXPECT_EQ(nameOf(screen), "Page");
}

TEST_F(Naming, LooksInsideOfHosts) {
  const NodePtr empty = page({});
  EXPECT_EQ(nameOf(hosted(empty, {.classText = "Host<ModifiedContent<LoginView, _Pad>>"})),
            "LoginView");
  EXPECT_EQ(nameOf(ui.screen({.classText = "UIHostingController<CartScreen>", .view = empty})),
            "CartScreen");
  EXPECT_EQ(nameOf(hosted(page({}, {.classText = "ModifiedContent<CartView>"}))), "CartView");
  EXPECT_EQ(nameOf(hosted(empty, {.rootTypeText = "shop.CheckoutForm"})), "CheckoutForm");
  EXPECT_EQ(nameOf(hosted(page({ui.node({.classText = "_Host<OrderList>"})}))), "OrderList");
  EXPECT_EQ(nameOf(hosted(page({plain({plain({ui.node({.classText = "_Host<OrderList>"})})})}))),
            "OrderList");
  // A placeholder inside, but a text at the top.
  const NodePtr loading = page({ui.node({.classText = "_Host<ImageLoadingView>"}),
                                ui.node({.kind = Kind::textView, .text = "Not a label"})});
  EXPECT_EQ(nameOf(hosted(loading)).substr(0, 7), "Screen_");
  EXPECT_TRUE(isPlaceholderName(nameOf(hosted(loading))));
}

TEST_F(Naming, TakesTheTopLabelOfAHost) {
  // Anchors end at depth 5 and labels at depth 7.
  const auto named = [&](std::vector<NodePtr> labels) {
    NodePtr inner = plain(std::move(labels), {0, 0, 390, 800});
    for (int i = 0; i < 4; ++i) inner = plain({inner, plain({})}, {0, 0, 390, 800});
    return nameOf(hosted(page({inner})));
  };
  const auto isUnnamed = [](const std::string& name) { return name.starts_with("Screen_"); };
  EXPECT_EQ(named({ui.label("Small", {0, 0, 9, 9}, 12), ui.label("Large", {0, 90, 9, 9}, 20)}),
            "Large");
  EXPECT_EQ(named({ui.label("Lower", {0, 90, 9, 9}), ui.label("Upper", {0, 10, 9, 9})}), "Upper");
  EXPECT_TRUE(isUnnamed(named({ui.label("Below a third", {0, 300, 9, 9})})));
  EXPECT_TRUE(isUnnamed(named({ui.label(std::string(65, 'x'), {})})));
  EXPECT_EQ(named({ui.label(std::string(64, 'x'), {})}), std::string(64, 'x'));
  EXPECT_TRUE(isUnnamed(named({ui.label("two\nlines", {})})));
  const NodePtr faint = plain({ui.label("Faint", {})});
  faint->look.alpha = 0.05;
  EXPECT_TRUE(isUnnamed(named({faint, markedPrivate(ui.label("Secret", {}))})));
}

TEST_F(Naming, TellsNothingPrivate) {
  const NodePtr secret = markedPrivate(
      page({ui.label("Anna's card", {0, 0, 200, 30})}, {.accessibilityIdentifier = "annas_card"}));
  const ScreenPtr screen = ui.screen({.classText = "CardPage",
                                      .view = secret,
                                      .title = "Anna's card",
                                      .navigationTitle = "Anna's card"});
  EXPECT_EQ(nameOf(screen), "CardPage");
  for (const model::NameCandidate& candidate : candidatesOf(screen)) {
    EXPECT_EQ(candidate.source, Source::viewControllerType) << candidate.text;
  }
  const ScreenPtr tabs = ui.screen({.kind = ScreenKind::tabs,
                                    .view = page({}),
                                    .children = {screen},
                                    .tabTitles = {"Anna"},
                                    .selectedIndex = 0});
  EXPECT_EQ(tabNameOf(tabs, screen), "Anna") << "the tab is no part of the page";
  tabs->look.view = markedPrivate(page({}));
  EXPECT_EQ(tabNameOf(tabs, screen), "Tab 1");

  const std::string mail = std::string("Messages ") + kAddress;
  const ScreenPtr open =
      ui.screen({.view = page({ui.label(mail, {0, 0, 200, 30})}), .title = mail});
  EXPECT_EQ(nameOf(open), "Messages [redacted]");
  const auto candidates = candidatesOf(open, mail);
  EXPECT_EQ(candidates.size(), 4u);
  for (const model::NameCandidate& candidate : candidates) {
    EXPECT_EQ(candidate.text.find(kAddress), std::string::npos);
  }
  open->look.title = std::string(kAddress) + "!";
  EXPECT_EQ(nameOf(open), "Messages [redacted]") << "the label says more";
}

TEST_F(Naming, TellsNoTitleThatAMaskedViewShows) {
  const ScreenPtr screen = ui.screen({.view = page({}), .navigationTitle = "Anna's card"});
  privacy.masks = [](const platform::View& view) { return view.facts().kind == Kind::label; };
  EXPECT_EQ(nameOf(screen), "Page") << "labels are";
  privacy.masks = [](const platform::View& view) { return view.facts().isMarkedPrivate; };
  EXPECT_EQ(nameOf(screen), "Anna's card");

  const NodePtr bar = ui.node({.kind = Kind::tabBar});
  const NodePtr footer = plain({bar});
  screen->look.navigationTitle.clear();
  screen->look.tabTitle = "Anna";
  screen->look.tab = bar;
  const ScreenPtr tabs = ui.screen({.kind = ScreenKind::tabs,
                                    .view = page({}),
                                    .children = {screen},
                                    .tabTitles = {"Anna"},
                                    .tabBar = bar,
                                    .selectedIndex = 0});
  EXPECT_EQ(nameOf(screen), "Anna");
  EXPECT_EQ(tabNameOf(tabs, screen), "Anna");
  markedPrivate(footer);
  EXPECT_EQ(nameOf(screen), "Page");
  EXPECT_EQ(tabNameOf(tabs, screen), "Tab 1");
  EXPECT_EQ(candidatesOf(screen), noneButTheClass);
}

TEST_F(Naming, TellsNoTitleOfAScreenThatIsNotLoaded) {
  const ScreenPtr screen =
      ui.screen({.title = "Anna", .navigationTitle = "Anna", .tabTitle = "Anna"});
  EXPECT_EQ(nameOf(screen), "Page");
  EXPECT_EQ(candidatesOf(screen), noneButTheClass);
}

TEST_F(Naming, TakesNothingThatWasTyped) {
  const NodePtr field = ui.field({0, 0, 300, 40}, platform::TextContentType::none, "Orders");
  field->add(ui.label("Orders", {0, 0, 200, 30}, 40));
  const NodePtr edited = ui.label("Messages", {0, 0, 200, 30}, 40);
  edited->look.acceptsTextInput = true;
  const ScreenPtr screen = hosted(page({field, edited}), {.classText = "_Host"});
  EXPECT_TRUE(nameOf(screen).starts_with("Screen_")) << nameOf(screen);
  EXPECT_TRUE(candidatesOf(screen).empty());
}

TEST_F(Naming, NamesTabs) {
  const ScreenPtr screen = ui.screen({.classText = "CartPage", .view = page({}), .title = "Cart"});
  const ScreenPtr other = ui.screen({.classText = "OrderPage", .view = page({})});
  const ScreenPtr tabs = ui.screen({.kind = ScreenKind::tabs,
                                    .view = page({}),
                                    .children = {screen, other, other},
                                    .tabTitles = {"Basket", "Orders", ""},
                                    .selectedIndex = 0});
  EXPECT_EQ(tabNameOf(tabs, screen), "Cart");
  tabs->look.selectedIndex = 1;
  EXPECT_EQ(tabNameOf(tabs, other), "Orders");
  tabs->look.selectedIndex = 2;
  EXPECT_EQ(tabNameOf(tabs, other), "Tab 3");
  other->look.tabTitle = "History";
  EXPECT_EQ(tabNameOf(tabs, other), "History");
  tabs->look.selectedIndex = 7;
  EXPECT_EQ(tabNameOf(tabs, other), "History");
  other->look.title = "AnyView<Cart>";
  EXPECT_EQ(tabNameOf(tabs, other), "History");
  const ScreenPtr host = hosted(page({}), {.classText = "Host<OrderView>", .title = "Orders"});
  EXPECT_EQ(tabNameOf(tabs, host), "OrderView");
}

TEST_F(Naming, OffersCandidates) {
  const NodePtr view = page(
      {ui.label("Details", {0, 50, 200, 30}, 20), ui.label("Orders", {0, 100, 200, 30}, 20, true),
       ui.label("xkcdqq", {0, 0, 200, 30}, 40), ui.label("Profile", {0, -10, 200, 30}, 40),
       ui.label("Settings", {0, 400, 200, 30}, 40)});
  const ScreenPtr screen = ui.screen({.classText = "SettingsViewController",
                                      .view = view,
                                      .title = "Cart",
                                      .navigationTitle = "Your cart",
                                      .tabTitle = "Basket"});
  const auto all = candidatesOf(screen, "Checkout");
  EXPECT_EQ(all,
            (std::vector<model::NameCandidate>{{"Your cart", Source::navTitle, 0.95},
                                               {"Basket", Source::tabBarItem, 0.90},
                                               {"Orders", Source::topLabel, 0.65},
                                               {"Checkout", Source::tapLineage, 0.55},
                                               {"Settings", Source::viewControllerType, 0.30}}));
  screen->look.navigationTitle.clear();
  EXPECT_EQ(candidatesOf(screen).front(), (model::NameCandidate{"Cart", Source::navTitle, 0.92}));
  screen->look.navigationTitle = "Loading";
  EXPECT_EQ(candidatesOf(screen).front().source, Source::tabBarItem);

  const ScreenPtr nothing = ui.screen({.classText = "_Host<AnyView>"});
  EXPECT_TRUE(candidatesOf(nothing).empty());
  EXPECT_TRUE(candidatesOf(hosted(page({}), {.classText = "Page"})).empty());
}

TEST_F(Naming, SystemScreensAreKnownByKindAndByClass) {
  const auto isSystem = [&](ScreenKind kind, const char* classText) {
    return isSystemScreen(ui.screenOf(ui.screen({.kind = kind})), classText);
  };
  EXPECT_FALSE(isSystem(ScreenKind::page, "CartPage"));
  EXPECT_TRUE(isSystem(ScreenKind::navigation, "CartStack"));
  EXPECT_TRUE(isSystem(ScreenKind::tabs, "CartTabs"));
  EXPECT_TRUE(isSystem(ScreenKind::system, "CartDialog"));
  EXPECT_TRUE(isSystem(ScreenKind::page, "UIAlertController"));
  EXPECT_FALSE(isSystem(ScreenKind::page, "MyUIAlertController"));
  EXPECT_TRUE(isSystem(ScreenKind::page, "_UIAnything"));
  const ScreenPtr dead = ui.screen({});
  ui.kill(dead);
  EXPECT_TRUE(isSystemScreen(ui.screenOf(dead), "CartPage"));
  EXPECT_TRUE(isSystemScreen({}, ""));
}

TEST_F(Naming, SurvivesDeathsInMidWalk) {
  constexpr int kNodes = 4;
  for (int victim = 0; victim < kNodes; ++victim) {
    for (int question = 1;; ++question) {
      const NodePtr label = ui.label("Cart", {0, 0, 100, 20});
      const NodePtr inner = plain({label});
      const NodePtr root = page({inner});
      const ScreenPtr screen = hosted(root);
      const NodePtr window = ui.window(screen);
      window->add(ui.node({.kind = Kind::tabBar}));
      const NodePtr victims[kNodes] = {root, inner, label, window};
      const platform::Screen seen = ui.screenOf(screen);
      const int before = ui.questions();
      ui.killAfter(question, victims[victim]);
      naming.resolveScreenName(seen, "Page", {});
      naming.makeCandidates(seen, "", "");
      ui.windows.roots.clear();
      if (ui.questions() - before < question) break;
    }
  }
}

}  // namespace
}  // namespace zarn::screens
