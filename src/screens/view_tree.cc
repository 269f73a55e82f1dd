#include "screens/view_tree.h"

#include <algorithm>

namespace zarn::screens {
namespace {

constexpr int kMostLevels = 64;  // of views inside views: bounds the stack
constexpr std::size_t kMostCells = 100;

bool isInput(const platform::ViewFacts& facts) {
  return facts.acceptsTextInput || facts.isSecureTextEntry ||
         facts.kind == platform::ViewKind::textField;
}

}  // namespace

class ViewTree::Builder {
 public:
  explicit Builder(ViewTree& tree) : tree_(tree) {}

  /// `firstCell`: from there on, cells_ holds the cells of the list around the view, which come as
  /// its rows and not where they hang.
  void add(const platform::View& view, Index parent, int level, std::size_t firstCell, bool isRow) {
    if (tree_.nodes_.size() >= kMostNodes || level >= kMostLevels) return;
    const platform::ViewFacts facts = view.facts();
    if (facts.isHidden || !(facts.alpha > kLeastAlpha)) return;
    if (firstCell != kNoCells && isCell(view, facts, firstCell)) return;
    const std::string_view classText = view.classText(tree_.arena_);
    const Index index = tree_.size();
    tree_.nodes_.push_back({.view = view,
                            .facts = facts,
                            .classText = classText,
                            .traits = tree_.classes_.of(classText),
                            .parent = parent,
                            .end = index + 1,
                            .isRow = isRow,
                            .isTextInput = isInput(facts)});
    if (facts.kind == platform::ViewKind::list) {
      addList(view, index, level);
    } else {
      addChildren(view, index, level, firstCell);
    }
    tree_.nodes_[index].end = tree_.size();
  }

  static constexpr std::size_t kNoCells = ~std::size_t{0};

 private:
  void addList(const platform::View& list, Index index, int level) {
    std::vector<platform::View>& cells = tree_.cells_;
    const std::size_t first = cells.size();
    list.eachVisibleCell([&](const platform::View& cell) {
      cells.push_back(cell);
      return cells.size() - first < kMostCells;
    });
    const std::size_t end = cells.size();
    addChildren(list, index, level, first);
    for (std::size_t i = first; i < end; ++i) {
      const platform::View cell = cells[i];  // a list inside of it lets the vector grow
      add(cell, index, level + 1, kNoCells, true);
    }
    cells.resize(first);
  }

  void addChildren(const platform::View& view, Index index, int level, std::size_t firstCell) {
    int seen = 0;
    view.eachChild([&](const platform::View& child) {
      add(child, index, level + 1, firstCell, false);
      return ++seen < kMostChildren;
    });
  }

  bool isCell(const platform::View& view, const platform::ViewFacts& facts, std::size_t firstCell) {
    const auto begin = tree_.cells_.begin() + static_cast<std::ptrdiff_t>(firstCell);
    // A row may be a mere label, and be ready without being in sight.
    return facts.kind == platform::ViewKind::cell ||
           std::find(begin, tree_.cells_.end(), view) != tree_.cells_.end() ||
           !view.reuseIdentifier(tree_.arena_).empty();
  }

  ViewTree& tree_;
};

void ViewTree::look(const platform::View& root) {
  arena_.reset();
  nodes_.clear();
  cells_.clear();
  if (!root) return;
  Builder(*this).add(root, 0, 0, Builder::kNoCells, false);
  for (Index i = 1; i < size(); ++i) {
    const Index parent = nodes_[i].parent;
    const bool isLookedThrough = nodes_[parent].isWrapper() && hasOneChild(parent);
    nodes_[i].depth = nodes_[parent].depth + (isLookedThrough ? 0 : 1);
  }
}

bool ViewTree::mayRead(Index index) {
  using Reading = Node::Reading;
  Node& node = nodes_[index];
  if (node.reading == Reading::unknown) {
    node.reading = isOpen(index) ? Reading::open : Reading::closed;
  }
  return node.reading == Reading::open;
}

bool ViewTree::isOpen(Index index) {
  const Node& node = nodes_[index];
  if (index == 0) return isReadable(privacy_, node.view);
  if (nodes_[node.parent].isTextInput || !mayRead(node.parent)) return false;
  if (privacy_.masks(node.view)) return false;
  return !node.isRow || isOpenUpTo(node.view, nodes_[node.parent].view);
}

bool ViewTree::isOpenUpTo(const platform::View& row, const platform::View& list) const {
  platform::View between = row.parent();
  for (int level = 0; between && level < kMostLevels; ++level) {
    if (between == list) return true;
    if (privacy_.masks(between)) return false;
    between = between.parent();
  }
  return false;
}

std::string ViewTree::text(Index index, std::size_t mostCharacters) {
  if (nodes_[index].isTextInput || !mayRead(index)) return {};
  return readable(privacy_, nodes_[index].view.text(arena_), mostCharacters);
}

std::string ViewTree::identifier(Index index, std::size_t mostCharacters) {
  if (!mayRead(index)) return {};
  return readable(privacy_, nodes_[index].view.accessibilityIdentifier(arena_), mostCharacters);
}

}  // namespace zarn::screens
