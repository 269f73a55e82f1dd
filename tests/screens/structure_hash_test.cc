#include "screens/structure_hash.h"

#include <functional>
#include <set>

#include "screens_test.h"

namespace zarn::screens {
namespace {

class StructureHash : public ScreensTest {
 protected:
  std::uint64_t hashOf(const NodePtr& root) {
    tree.look(ui.view(root));
    return structureHash(tree);
  }
  NodePtr row(const std::string& text, std::string reuse = {}) {
    return ui.node({.kind = Kind::cell, .frame = {0, 0, 390, 40}, .reuseIdentifier = reuse},
                   {ui.label(text, {0, 0, 100, 20})});
  }
  NodePtr rowWithImage() {
    return ui.node(
        {.kind = Kind::cell, .frame = {0, 40, 390, 40}},
        {ui.node({.kind = Kind::image, .frame = {0, 0, 40, 40}}), ui.label("x", {40, 0, 100, 20})});
  }
  NodePtr listOf(std::vector<NodePtr> cells) {
    return ui.node({.kind = Kind::list, .frame = {0, 0, 390, 600}}, std::move(cells));
  }
  ViewTree tree{privacy};
};

TEST_F(StructureHash, TellsShapesApartAndNothingElse) {
  const NodePtr cart = page({ui.label("Cart", {0, 0, 100, 20}), ui.button("Pay", {0, 40, 80, 40})});
  const NodePtr other = page({ui.label("Корзина", {9, 9, 10, 20}, 40), ui.button("", {})});
  other->children[0]->look.colors.foreground = platform::Color{255, 0, 0, 255};
  other->look.classText = "Other";
  EXPECT_EQ(hashOf(cart), hashOf(other));

  const std::function<NodePtr()> shapes[] = {
      [&] { return page({}); },
      [&] { return page({ui.label("a", {})}); },
      [&] {
        return page({ui.label("a", {}), ui.label("b", {})});
      },
      [&] {
        return page({ui.label("a", {}), ui.button("b", {})});
      },
      [&] {
        return page({ui.button("b", {}), ui.label("a", {})});
      },
      [&] {
        return page({plain({ui.button("b", {}), ui.label("a", {})})});
      },
      [&] {
        return page({plain({ui.button("b", {})}), ui.label("a", {})});
      },
      [&] { return page({ui.field({}, platform::TextContentType::none)}); },
      [&] { return page({ui.node({.kind = Kind::image})}); },
      [&] { return page({ui.node({.kind = Kind::web})}); },
      [&] { return page({listOf({})}); },
      [&] { return page({listOf({row("a")})}); },
  };
  std::set<std::uint64_t> hashes;
  std::set<std::uint32_t> lowHalves;
  for (const auto& shape : shapes) {
    const std::uint64_t hash = hashOf(shape());
    hashes.insert(hash);
    lowHalves.insert(static_cast<std::uint32_t>(hash));
  }
  EXPECT_EQ(hashes.size(), std::size(shapes));
  EXPECT_EQ(lowHalves.size(), std::size(shapes));
}

TEST_F(StructureHash, CountsRowsOfOneKindOnce) {
  const auto rows = [&](int count) {
    return page({ui.list({0, 0, 390, 600},
                         std::vector<std::string>(static_cast<std::size_t>(count), "row"))});
  };
  EXPECT_EQ(hashOf(rows(3)), hashOf(rows(30)));
  EXPECT_NE(hashOf(rows(0)), hashOf(rows(1)));
  EXPECT_EQ(hashOf(page({listOf({row("a"), rowWithImage()})})),
            hashOf(page({listOf({rowWithImage(), row("b"), row("c")})})))
      << "whichever of them a scroll has brought to the top";
  EXPECT_EQ(hashOf(page({listOf({row("a", "Item")})})), hashOf(page({listOf({[&] {
              NodePtr bigger = rowWithImage();
              bigger->look.reuseIdentifier = "Item";
              return bigger;
            }()})})))
      << "cells made alike, one with a picture";
  const NodePtr outOfSight = rowWithImage();
  outOfSight->look.frame.y = 5000;
  EXPECT_EQ(hashOf(page({listOf({row("a"), outOfSight})})), hashOf(page({listOf({row("a")})})));
  EXPECT_EQ(hashOf(page({plain({ui.label("a", {})}), plain({ui.label("b", {})})})),
            hashOf(page({plain({ui.label("a", {})})})))
      << "rows without a list";
}

TEST_F(StructureHash, TellsWhetherAListDrawsRows) {
  const NodePtr list = listOf({});
  const std::uint64_t empty = hashOf(page({list}));
  list->look.drawsRows = true;
  EXPECT_NE(hashOf(page({list})), empty);
}

TEST_F(StructureHash, FindsCellsBelowTheListsOwnParts) {
  const NodePtr inside = listOf({});
  inside->add(wrapper({row("a"), ui.label("header", {0, 0, 10, 10})}));
  inside->add(row("b"));
  EXPECT_EQ(hashOf(page({inside})),
            hashOf(page({listOf({ui.label("header", {0, 0, 10, 10}), row("a")})})));
}

TEST_F(StructureHash, LooksThroughWhatOnlyHolds) {
  const auto content = [&] { return plain({ui.label("a", {}), ui.button("b", {})}); };
  const std::uint64_t bare = hashOf(page({content()}));
  EXPECT_EQ(hashOf(page({wrapper({wrapper({content()})})})), bare);
  EXPECT_EQ(hashOf(page({content(), wrapper({})})), bare) << "an empty place";
  EXPECT_EQ(hashOf(page({ui.node({.classText = "PlatformViewHost"}, {content()})})), bare);
  EXPECT_NE(hashOf(page({wrapper({content(), content(), ui.label("c", {})})})), bare);
  const NodePtr tappable = wrapper({content()});
  tappable->look.hasTapGesture = true;
  EXPECT_NE(hashOf(page({tappable})), bare);

  const auto nested = [&](int wrappers, int containers) {
    NodePtr inner = ui.label("deep", {});
    for (int i = 0; i < wrappers; ++i) inner = wrapper({inner});
    for (int i = 0; i < containers; ++i) inner = plain({inner, ui.button("", {})});
    return page({inner});
  };
  EXPECT_EQ(hashOf(nested(30, 2)), hashOf(nested(0, 2))) << "however many they are";
  EXPECT_NE(hashOf(nested(0, 11)), hashOf(nested(0, 12)));
  EXPECT_EQ(hashOf(nested(0, 14)), hashOf(nested(0, 15))) << "too deep to be seen";
  EXPECT_NE(hashOf(nested(5000, 60)), 0u);
}

TEST_F(StructureHash, LeavesOutWhatIsNotTheScreens) {
  const auto with = [&](NodePtr extra) {
    return hashOf(page({ui.label("a", {}), std::move(extra)}));
  };
  const std::uint64_t bare = hashOf(page({ui.label("a", {})}));
  EXPECT_EQ(with(ui.node({.classText = "SystemKeyboardView"})), bare);
  EXPECT_EQ(with(ui.node({.classText = "ScrollBar"})), bare);
  EXPECT_EQ(with(ui.node({.alpha = 0.01})), bare);
  EXPECT_EQ(with(ui.node({.isHidden = true})), bare);
  EXPECT_EQ(with(ui.node({.kind = Kind::activityIndicator})), bare);
  EXPECT_NE(with(ui.node({.kind = Kind::activityIndicator, .isAnimating = true})), bare);
  EXPECT_NE(with(ui.node({.alpha = 0.02})), bare);

  const NodePtr typing = ui.field({}, platform::TextContentType::none, "text");
  const std::uint64_t before = with(typing);
  typing->add(ui.label("hint", {}));
  EXPECT_EQ(with(typing), before) << "the parts of a field change while it is used";

  const NodePtr keyboardPage = page({ui.label("a", {})}, {.classText = "KeyboardSettings"});
  EXPECT_EQ(hashOf(keyboardPage), bare) << "an app may have a screen about keyboards";
  EXPECT_EQ(hashOf(page({}, {.isHidden = true})), 0u);
  tree.look({});
  EXPECT_EQ(structureHash(tree), 0u);
}

TEST_F(StructureHash, RolesFollowTheKindAndThenTheUse) {
  const auto role = [](platform::ViewKind kind, bool isControl = false, bool isTapped = false,
                       bool isTyped = false) {
    return roleOf({.kind = kind,
                   .isControl = isControl,
                   .hasTapGesture = isTapped,
                   .acceptsTextInput = isTyped});
  };
  EXPECT_EQ(role(Kind::label), SemanticRole::text);
  EXPECT_EQ(role(Kind::label, false, true), SemanticRole::button);
  EXPECT_EQ(role(Kind::image, true), SemanticRole::button);
  EXPECT_EQ(role(Kind::textField, true), SemanticRole::input);
  EXPECT_EQ(role(Kind::other, true, false, true), SemanticRole::input);
  EXPECT_EQ(role(Kind::cell, true), SemanticRole::listItem);
  EXPECT_EQ(role(Kind::textView), SemanticRole::text);
  EXPECT_EQ(role(Kind::plain), SemanticRole::container);
  EXPECT_EQ(role(Kind::other), SemanticRole::unknown);
}

TEST_F(StructureHash, BoundsItsLook) {
  const NodePtr crowd = page({});
  for (int i = 0; i < 5000; ++i) crowd->add(ui.label("x", {}));
  hashOf(crowd);
  EXPECT_LE(tree.size(), 101u);
  const NodePtr crowds = page({});
  for (int i = 0; i < 90; ++i) {
    crowds->add(plain({}));
    for (int k = 0; k < 90; ++k) crowds->children.back()->add(ui.label("x", {}));
  }
  const int before = ui.questions();
  hashOf(crowds);
  EXPECT_EQ(tree.size(), ViewTree::kMostNodes);
  EXPECT_LT(ui.questions() - before, 7000);
}

}  // namespace
}  // namespace zarn::screens
