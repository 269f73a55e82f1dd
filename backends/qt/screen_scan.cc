#include "qt/screen_scan.h"

#include <algorithm>

namespace zarn::qt {
namespace {

using platform::ScreenKind;

ScreenTree::Node firstChild(ScreenTree& tree, ScreenTree::Node node) {
  ScreenTree::Node first = nullptr;
  tree.eachChild(node, [&](ScreenTree::Node child) {
    first = child;
    return false;
  });
  return first;
}

ScreenTree::Node below(ScreenTree& tree, ScreenTree::Node node, ScreenKind kind) {
  switch (kind) {
    case ScreenKind::navigation:
      return tree.visible(node);
    case ScreenKind::tabs:
      return tree.selected(node);
    case ScreenKind::system:
      return firstChild(tree, node);
    case ScreenKind::page:
      break;
  }
  return nullptr;
}

}  // namespace

ScreenTree::Node nextInSight(ScreenTree& tree, ScreenTree::Node node) {
  ScreenTree::Node const over = tree.presented(node);
  return over != nullptr ? over : below(tree, node, tree.facts(node).kind);
}

bool ScreenPath::leadsThroughSameScreens(const ScreenPath& other) const {
  return count == other.count &&
         std::equal(steps.begin(), steps.begin() + count, other.steps.begin(),
                    [](const Step& a, const Step& b) { return a.id == b.id; });
}

ScreenSight lookFrom(ScreenRef root) {
  ScreenSight sight;
  sight.isSettled = true;
  ScreenTree& tree = *root.tree;
  ScreenTree::Node node = root.node;
  while (node != nullptr && sight.path.count < ScreenPath::kMaxSteps) {
    const ScreenKind kind = tree.facts(node).kind;
    const bool isTabs = kind == ScreenKind::tabs;
    sight.path.steps[static_cast<std::size_t>(sight.path.count++)] = {
        tree.id(node), isTabs, isTabs ? tree.selectedIndex(node) : std::nullopt};
    sight.isSettled = sight.isSettled && tree.isSettled(node);
    ScreenTree::Node const over = tree.presented(node);
    if (over == nullptr && kind == ScreenKind::page) {
      sight.leaf = {&tree, node};
      break;
    }
    node = over != nullptr ? over : below(tree, node, kind);
  }
  return sight;
}

std::optional<TabChange> tabChange(const ScreenPath& before, const ScreenPath& now) {
  const int both = std::min(before.count, now.count);
  for (int i = 1; i < both; ++i) {
    const auto at = static_cast<std::size_t>(i);
    if (before.steps[at - 1].id != now.steps[at - 1].id) return std::nullopt;
    if (before.steps[at].id == now.steps[at].id) continue;
    const ScreenPath::Step& tabs = now.steps[at - 1];
    const auto former = before.steps[at - 1].selectedIndex;
    if (!tabs.isTabs || former == tabs.selectedIndex) return std::nullopt;
    return TabChange{tabs.id, former, tabs.selectedIndex};
  }
  return std::nullopt;
}

}  // namespace zarn::qt
