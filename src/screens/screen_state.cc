#include "screens/screen_state.h"

namespace zarn::screens {
namespace {

using Index = ViewTree::Index;
using Kind = platform::ViewKind;
using model::ScreenState;

constexpr int kDeepestList = 8;
constexpr int kDeepestLoading = 5;
constexpr int kMostLoadingChildren = 10;

bool isList(const ViewTree::Node& node) {
  return node.facts.kind == Kind::list ||
         (node.facts.kind == Kind::scroll && node.traits.looksLikeList);
}

bool spins(const ViewTree::Node& node) {
  return node.facts.kind == Kind::activityIndicator && node.facts.isAnimating;
}

/// What has no text and no use of its own. Only there does a class name tell that the view stands
/// for what is still to come: the hint in a field is called a placeholder too.
bool isMute(const ViewTree::Node& node) {
  switch (node.facts.kind) {
    case Kind::label:
    case Kind::textView:
    case Kind::textField:
    case Kind::button:
    case Kind::control:
    case Kind::activityIndicator:
      return false;
    default:
      return !node.isTextInput;
  }
}

bool isSkeletonBar(const ViewTree::Node& node) {
  const platform::ViewFacts& facts = node.facts;
  return isMute(node) && facts.size.height > 5 && facts.size.height < 30 && facts.size.width > 50 &&
         facts.alpha >= 0.1 && facts.alpha <= 0.6;
}

bool hasSkeletonBars(const ViewTree& tree, Index index) {
  constexpr int kFewestChildren = 3;
  constexpr int kFewestBars = 2;
  int children = 0;
  int bars = 0;
  tree.eachChild(index, [&](Index child) {
    ++children;
    bars += isSkeletonBar(tree[child]);
    return children < kFewestChildren || bars < kFewestBars;
  });
  return children >= kFewestChildren && bars >= kFewestBars;
}

/// `from`: the depth at which the tree begins.
bool isLoadingTree(const ViewTree& tree, Index index, int from) {
  const ViewTree::Node& node = tree[index];
  if (node.depth - from > kDeepestLoading) return false;
  if (spins(node) || node.facts.kind == Kind::progress) return true;
  if (node.isTextInput) return false;
  if (isMute(node) && node.traits.looksLoading) return true;
  if (hasSkeletonBars(tree, index) || node.view.layer().hasShimmer) return true;
  int visited = 0;
  bool isLoading = false;
  tree.eachChild(index, [&](Index child) {
    isLoading = isLoadingTree(tree, child, from);
    return !isLoading && ++visited < kMostLoadingChildren;
  });
  return isLoading;
}

bool isLoadingTree(const ViewTree& tree, Index index) {
  return isLoadingTree(tree, index, tree[index].depth);
}

/// Something turns where the user looks: that comes before what lists show.
bool hasSpinner(const ViewTree& tree) {
  for (Index i = 0; i < tree.size(); ++i) {
    if (tree[i].depth <= kDeepestLoading && spins(tree[i])) return true;
  }
  return false;
}

bool hasRows(const ViewTree& tree, Index list) {
  for (Index i = list + 1; i < tree[list].end; ++i) {
    const ViewTree::Node& node = tree[i];
    if (node.isRow && node.parent == list) return true;
    if (tree[list].facts.kind == Kind::list || node.depth > tree[list].depth + 1) continue;
    if (node.facts.kind == Kind::cell || node.traits.looksLikeRow) return true;
  }
  return tree[list].view.drawsRows();
}

bool hasControl(const ViewTree& tree, Index index) {
  for (Index i = index; i < tree[index].end; ++i) {
    if (tree[i].facts.isControl) return true;
  }
  return false;
}

/// It lies over the list and is meant for it: bars and a round button at the edge are not.
bool overlays(const ViewTree& tree, Index index, const base::Rect& list) {
  constexpr double kEdge = 0.125;  // share of the width, on either side
  const Kind kind = tree[index].facts.kind;
  if (kind == Kind::tabBar || kind == Kind::navigationBar) return false;
  const base::Rect common = tree.rect(index).intersected(list);
  const double middle = common.x + common.width / 2 - list.x;
  return !common.isEmpty() && middle >= list.width * kEdge && middle <= list.width * (1 - kEdge);
}

ScreenState stateOfEmptyList(const ViewTree& tree, Index list) {
  Index shown = list;  // with the wrappers around it
  while (shown != 0 && tree.hasOneChild(tree[shown].parent)) shown = tree[shown].parent;
  if (shown == 0) return ScreenState::empty;
  const base::Rect place = tree.rect(shown);
  ScreenState state = ScreenState::empty;
  tree.eachChild(tree[shown].parent, [&](Index sibling) {
    if (sibling == shown || !hasControl(tree, sibling)) return true;
    if (!overlays(tree, sibling, place)) return true;
    state = ScreenState::error;
    return false;
  });
  return state;
}

}  // namespace

ScreenState classifyState(const ViewTree& tree) {
  if (tree.isEmpty()) return ScreenState::normal;
  if (hasSpinner(tree)) return ScreenState::loading;
  bool hasLists = false;
  for (Index i = 0; i < tree.size(); ++i) {
    if (tree[i].depth > kDeepestList || !isList(tree[i])) continue;
    hasLists = true;
    if (isLoadingTree(tree, i)) return ScreenState::loading;
    if (hasRows(tree, i)) continue;
    return isLoadingTree(tree, 0) ? ScreenState::loading : stateOfEmptyList(tree, i);
  }
  if (hasLists) return ScreenState::populated;
  return isLoadingTree(tree, 0) ? ScreenState::loading : ScreenState::normal;
}

}  // namespace zarn::screens
