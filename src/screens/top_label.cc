#include "screens/top_label.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "screens/titles.h"

namespace zarn::screens {
namespace {

using Index = ViewTree::Index;

constexpr std::size_t kMostTopCharacters = 64;

bool isLabel(const ViewTree& tree, Index index) {
  return tree[index].facts.kind == platform::ViewKind::label;
}

/// The text of one line; empty without, and when it is too long.
std::string lineOf(ViewTree& tree, Index index) {
  std::string text = tree.text(index, kMostTopCharacters + 1);
  const bool isLine = text.find('\n') == std::string::npos &&
                      base::countCharacters(text, kMostTopCharacters + 1) <= kMostTopCharacters;
  return isLine ? text : std::string();
}

class TopLabelSearch {
 public:
  explicit TopLabelSearch(ViewTree& tree) : tree_(tree), limitY_(tree[0].facts.size.height / 3) {}

  void visit(Index index) {
    constexpr int kDepthLimit = 7;
    constexpr double kFaintest = 0.1;
    constexpr int kMostChildren = 40;
    const ViewTree::Node& node = tree_[index];
    if (node.depth >= kDepthLimit || node.facts.alpha < kFaintest) return;
    if (isLabel(tree_, index)) consider(index);
    int visited = 0;
    tree_.eachChild(index, [&](Index child) {
      visit(child);
      return ++visited < kMostChildren;
    });
  }

  std::string take() { return std::move(text_); }

 private:
  void consider(Index index) {
    const double y = tree_.rect(index).y;
    const double pointSize = tree_[index].view.font().pointSize;
    const bool isBetter =
        text_.empty() || pointSize > pointSize_ || (pointSize == pointSize_ && y < y_);
    if (!(y < limitY_) || !isBetter) return;
    std::string text = lineOf(tree_, index);
    if (text.empty()) return;
    text_ = std::move(text);
    pointSize_ = pointSize;
    y_ = y;
  }

  ViewTree& tree_;
  const double limitY_;
  std::string text_;
  double pointSize_ = 0;
  double y_ = 0;
};

double weightFactor(const platform::Font& font) {
  return font.isBold ? 1.5 : 1 + std::max(font.weight, 0.0);
}

}  // namespace

std::string topLabelText(ViewTree& tree) {
  if (tree.isEmpty() || !(tree[0].facts.size.height > 0)) return {};
  TopLabelSearch search(tree);
  search.visit(0);
  return search.take();
}

std::string bestTopLabel(ViewTree& tree) {
  std::string best;
  double bestScore = 0;
  int bestDepth = 0;
  const double height = tree.isEmpty() ? 0 : tree[0].facts.size.height;
  if (!(height > 0)) return best;
  for (Index i = 0; i < tree.size(); ++i) {
    if (!isLabel(tree, i)) continue;
    const platform::Font font = tree[i].view.font();
    const double mostScore = font.pointSize * weightFactor(font);
    if (!(mostScore >= bestScore)) continue;
    const double y = tree.rect(i).y;
    if (!(y >= 0 && y <= height / 3)) continue;
    const double score = mostScore * (1 - y / height);
    // Of equals, the one that is nearer to the root.
    const bool isBetter = score > bestScore || (score == bestScore && tree[i].depth < bestDepth);
    if (!isBetter) continue;
    std::string text = tree.text(i, kMostTopCharacters);
    if (!isLikelyTitle(text)) continue;
    best = std::move(text);
    bestScore = score;
    bestDepth = tree[i].depth;
  }
  return best;
}

}  // namespace zarn::screens
