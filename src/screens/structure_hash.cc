#include "screens/structure_hash.h"

#include <algorithm>
#include <array>

#include "base/fnv1a.h"

namespace zarn::screens {
namespace {

using Index = ViewTree::Index;
using Kind = platform::ViewKind;

constexpr int kDeepest = 12;
constexpr std::uint64_t kOffsetBasis = 0xcbf29ce484222325;
constexpr std::uint64_t kPrime = 0x100000001b3;
constexpr std::uint64_t kNothing = 0;

/// Lets every bit count in the low half too, which is all that events carry.
std::uint64_t mixed(std::uint64_t hash) {
  hash = (hash ^ (hash >> 30)) * 0xbf58476d1ce4e5b9;
  hash = (hash ^ (hash >> 27)) * 0x94d049bb133111eb;
  return hash ^ (hash >> 31);
}

/// The shapes of a list's rows, each once and in no order.
class RowShapes {
 public:
  void add(std::uint64_t shape) {
    const auto end = shapes_.begin() + count_;
    if (count_ < kMost && std::find(shapes_.begin(), end, shape) == end) shapes_[count_++] = shape;
  }
  template <typename Visit>
  void each(Visit visit) {
    const auto end = shapes_.begin() + count_;
    std::sort(shapes_.begin(), end);
    std::for_each(shapes_.begin(), end, visit);
  }

 private:
  static constexpr std::size_t kMost = 16;
  std::array<std::uint64_t, kMost> shapes_{};
  std::size_t count_ = 0;
};

/// Whose inner parts are the toolkit's.
bool isClosed(const ViewTree::Node& node) {
  switch (node.facts.kind) {
    case Kind::button:
    case Kind::control:
    case Kind::textField:
    case Kind::web:
    case Kind::map:
    case Kind::media:
    case Kind::activityIndicator:
    case Kind::progress:
      return true;
    default:
      return node.isTextInput;
  }
}

/// A spinner that rests, or an empty place.
bool isUnseen(const ViewTree::Node& node, Index index) {
  if (node.facts.kind == platform::ViewKind::activityIndicator) return !node.facts.isAnimating;
  const bool isEmpty = node.end == index + 1;
  return isEmpty && node.facts.drawsNothing && roleOf(node.facts) == SemanticRole::container;
}

class Hasher {
 public:
  explicit Hasher(ViewTree& tree) : tree_(tree) {}

  std::uint64_t hash(Index index) {
    const ViewTree::Node& node = tree_[index];
    // The root is in sight by itself, whatever it is called.
    if (index != 0 && node.traits.isSystemOverlay) return kNothing;
    if (node.isWrapper() && tree_.hasOneChild(index)) return hash(index + 1);
    if (index != 0 && isUnseen(node, index)) return kNothing;
    const SemanticRole role = roleOf(node.facts);
    std::uint64_t folded = (static_cast<std::uint64_t>(role) ^ kOffsetBasis) * kPrime;
    if (node.depth < kDeepest && !isClosed(node)) foldChildren(index, folded);
    return mixed(folded);
  }

 private:
  void foldChildren(Index index, std::uint64_t& into) {
    const auto fold = [&](std::uint64_t child) { into = (into ^ child) * kPrime; };
    RowShapes rows;
    std::uint64_t last = kNothing;
    tree_.eachChild(index, [&](Index child) {
      if (tree_[child].isRow) {
        rows.add(rowShape(child));
        return true;
      }
      const std::uint64_t shape = hash(child);
      const bool isRepeated = shape == last && canBeRow(child);
      if (shape != kNothing && !isRepeated) fold(shape);
      last = shape;
      return true;
    });
    if (tree_[index].facts.kind == Kind::list && tree_[index].view.drawsRows()) {
      rows.add(static_cast<std::uint64_t>(SemanticRole::listItem));
    }
    rows.each(fold);
  }

  std::uint64_t rowShape(Index row) {
    const std::string_view reuse = tree_.reuseIdentifier(row);
    return reuse.empty() ? hash(row) : mixed(base::fnv1a64(reuse));
  }

  bool canBeRow(Index index) const {
    const ViewTree::Node& node = tree_[index];
    const bool holdsOthers = !isClosed(node) && node.end != index + 1;
    return holdsOthers || node.facts.kind == platform::ViewKind::cell || node.traits.looksLikeRow;
  }

  ViewTree& tree_;
};

}  // namespace

SemanticRole roleOf(const platform::ViewFacts& facts) {
  if (facts.acceptsTextInput) return SemanticRole::input;
  switch (facts.kind) {
    case Kind::textField:
      return SemanticRole::input;
    case Kind::list:
      return SemanticRole::list;
    case Kind::cell:
      return SemanticRole::listItem;
    case Kind::scroll:
      return SemanticRole::scroll;
    case Kind::tabBar:
    case Kind::navigationBar:
      return SemanticRole::navigation;
    case Kind::web:
    case Kind::map:
    case Kind::media:
      return SemanticRole::media;
    default:
      break;
  }
  if (facts.isControl || facts.hasTapGesture) return SemanticRole::button;
  switch (facts.kind) {
    case Kind::label:
    case Kind::textView:
      return SemanticRole::text;
    case Kind::button:
    case Kind::control:
      return SemanticRole::button;
    case Kind::image:
      return SemanticRole::image;
    case Kind::plain:
      return SemanticRole::container;
    default:
      return SemanticRole::unknown;
  }
}

std::uint64_t structureHash(ViewTree& tree) {
  return tree.isEmpty() ? 0 : Hasher(tree).hash(0);
}

}  // namespace zarn::screens
