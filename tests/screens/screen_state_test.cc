#include "screens/screen_state.h"

#include "screens_test.h"

namespace zarn::screens {
namespace {

using model::ScreenState;

constexpr base::Rect kWhole{0, 0, 390, 844};

class ScreenStates : public ScreensTest {
 protected:
  ScreenState stateOf(const NodePtr& root) {
    tree.look(ui.view(root));
    return classifyState(tree);
  }
  NodePtr spinner() {
    return ui.node({.kind = Kind::activityIndicator, .frame = {0, 0, 40, 40}, .isAnimating = true});
  }
  NodePtr deep(int levels, NodePtr inner) {
    for (int i = 0; i < levels; ++i) inner = plain({inner});
    return inner;
  }
  NodePtr classed(std::string classText, Kind kind = Kind::plain) {
    return ui.node({.classText = std::move(classText), .kind = kind, .frame = {0, 0, 100, 100}});
  }
  NodePtr rows() { return ui.list(kWhole, {"a", "b"}); }
  NodePtr noRows() { return ui.list(kWhole, {}); }
  ViewTree tree{privacy};
};

TEST_F(ScreenStates, FollowTheRowsOfLists) {
  EXPECT_EQ(stateOf(page({ui.label("a", {})})), ScreenState::normal);
  EXPECT_EQ(stateOf(page({rows()})), ScreenState::populated);
  EXPECT_EQ(stateOf(page({noRows()})), ScreenState::empty);
  EXPECT_EQ(stateOf(page({rows(), noRows()})), ScreenState::empty);
  const NodePtr painted = noRows();
  painted->look.drawsRows = true;
  EXPECT_EQ(stateOf(page({painted})), ScreenState::populated);
  EXPECT_EQ(stateOf(page({deep(9, noRows())})), ScreenState::normal) << "too deep";
  EXPECT_EQ(stateOf(page({noRows()}, {.isHidden = true})), ScreenState::normal);
  const NodePtr hidden = noRows();
  hidden->look.isHidden = true;
  EXPECT_EQ(stateOf(page({rows(), hidden})), ScreenState::populated);
}

TEST_F(ScreenStates, KnowListsByTheirClassToo) {
  const auto scroll = [&](std::vector<NodePtr> children) {
    return ui.node({.classText = "CartTable", .kind = Kind::scroll, .frame = kWhole},
                   std::move(children));
  };
  EXPECT_EQ(stateOf(page({scroll({classed("Header")})})), ScreenState::empty);
  EXPECT_EQ(stateOf(page({scroll({classed("Header"), classed("CartCell")})})),
            ScreenState::populated);
  EXPECT_EQ(stateOf(page({scroll({wrapper({classed("OrderListRow")})})})), ScreenState::populated);
}

TEST_F(ScreenStates, AControlOverAnEmptyListTriesAgain) {
  const auto over = [&](NodePtr control, base::Rect frame = {45, 300, 300, 200}) {
    return plain({ui.label("Nothing here", {0, 0, 300, 40}), std::move(control)}, frame);
  };
  const auto retry = [&] { return ui.button("Try again", {0, 60, 300, 44}); };
  EXPECT_EQ(stateOf(page({noRows(), over(plain({}))})), ScreenState::empty);
  EXPECT_EQ(stateOf(page({noRows(), over(retry())})), ScreenState::error);
  EXPECT_EQ(stateOf(page({noRows(), ui.button("Try again", {16, 100, 200, 44})})),
            ScreenState::error);
  EXPECT_EQ(stateOf(page({wrapper({noRows()}), over(retry())})), ScreenState::error);
  EXPECT_EQ(stateOf(page({rows(), over(retry())})), ScreenState::populated);

  const NodePtr gone = over(retry());
  gone->look.alpha = 0;
  EXPECT_EQ(stateOf(page({noRows(), gone})), ScreenState::empty);
  EXPECT_EQ(stateOf(page({noRows(), over(retry(), {0, 844, 390, 80})})), ScreenState::empty)
      << "below the list";
  EXPECT_EQ(stateOf(page({noRows(), ui.button("+", {318, 772, 56, 56})})), ScreenState::empty)
      << "a round button in the corner adds, it doesn't retry";
  const NodePtr bar = over(ui.button("Back", {0, 0, 60, 44}), {0, 0, 390, 56});
  bar->look.kind = Kind::navigationBar;
  EXPECT_EQ(stateOf(page({noRows(), bar})), ScreenState::empty);
}

TEST_F(ScreenStates, LoadingComesFirst) {
  EXPECT_EQ(stateOf(page({deep(4, spinner())})), ScreenState::loading);
  EXPECT_EQ(stateOf(page({deep(5, spinner())})), ScreenState::normal);
  EXPECT_EQ(stateOf(page({rows(), spinner()})), ScreenState::loading);
  EXPECT_EQ(stateOf(page({ui.node({.kind = Kind::progress})})), ScreenState::loading);
  const NodePtr shimmering = ui.node({.layer = {.hasShimmer = true}});
  EXPECT_EQ(stateOf(page({shimmering})), ScreenState::loading);
  EXPECT_EQ(stateOf(page({rows(), shimmering})), ScreenState::populated)
      << "what loads beside a list that has rows";
  EXPECT_EQ(stateOf(page({noRows(), shimmering})), ScreenState::loading);
  EXPECT_EQ(stateOf(page({classed("SkeletonRow")})), ScreenState::loading);

  const NodePtr resting = spinner();
  resting->look.isAnimating = false;
  resting->look.classText = "ActivityIndicator";
  EXPECT_EQ(stateOf(page({resting})), ScreenState::normal);
  const NodePtr hidden = spinner();
  hidden->look.isHidden = true;
  EXPECT_EQ(stateOf(page({hidden})), ScreenState::normal);
}

TEST_F(ScreenStates, HintsAndFaintTextsDoNotLoad) {
  const NodePtr field = ui.field({}, platform::TextContentType::none);
  field->add(classed("PlaceholderText", Kind::label));
  EXPECT_EQ(stateOf(page({field, classed("PlaceholderText", Kind::label)})), ScreenState::normal);

  const auto bar = [&](Kind kind) {
    return ui.node({.kind = kind, .frame = {0, 0, 200, 16}, .alpha = 0.5});
  };
  EXPECT_EQ(stateOf(page({bar(Kind::label), bar(Kind::label), bar(Kind::label)})),
            ScreenState::normal);
  EXPECT_EQ(stateOf(page({bar(Kind::plain), bar(Kind::plain), bar(Kind::plain)})),
            ScreenState::loading);
  EXPECT_EQ(stateOf(page({bar(Kind::plain), bar(Kind::plain)})), ScreenState::normal);
}

TEST_F(ScreenStates, LooksAtTheFirstTenOfManyOnly) {
  std::vector<NodePtr> many;
  for (int i = 0; i < 10; ++i) many.push_back(plain({}));
  many.push_back(classed("SkeletonRow"));
  EXPECT_EQ(stateOf(page(many)), ScreenState::normal);
}

}  // namespace
}  // namespace zarn::screens
