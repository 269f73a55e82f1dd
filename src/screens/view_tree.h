// ViewTree: what one look has seen of a screen's views, and the only way to their texts. Each view
// is asked once for its facts; what is then told of the screen is worked out of this copy.
//
//   tree.look(root);
//   tree.eachChild(0, [&](ViewTree::Index child) { ...; return true; });
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/view.h"
#include "screens/class_traits.h"
#include "screens/view_privacy.h"

namespace zarn::screens {

/// Main thread. Keeps its memory: a second look allocates nothing. A view that dies later in the
/// turn has no text.
class ViewTree {
 public:
  using Index = std::uint32_t;

  struct Node {
    platform::View view;
    platform::ViewFacts facts;
    std::string_view classText;
    ClassTraits traits;
    Index parent;              // of the root: itself
    Index end;                 // where the views below it end; they follow it one by one
    int depth = 0;             // below the root, wrappers not counted
    bool isRow = false;        // a cell of the list that is its parent here
    bool isTextInput = false;  // a field
    enum class Reading : std::uint8_t { unknown, open, closed } reading = Reading::unknown;

    /// Stands for its only child, if it has one.
    bool isWrapper() const {
      const bool onlyHolds = facts.kind == platform::ViewKind::plain && facts.drawsNothing &&
                             !facts.isControl && !facts.hasTapGesture;
      return onlyHolds || traits.isWrapper;
    }
  };

  /// Both bound what a look costs; what lies beyond isn't seen.
  static constexpr std::size_t kMostNodes = 2000;
  static constexpr int kMostChildren = 100;
  static constexpr double kLeastAlpha = 0.01;

  explicit ViewTree(const ViewPrivacy& privacy) : privacy_(privacy) {}

  /// Forgets the last look. Hidden views are left out with all below them; so is all of a hidden
  /// root, and of none. The cells of a list are those in sight, after its other children.
  void look(const platform::View& root);

  bool isEmpty() const { return nodes_.empty(); }
  Index size() const { return static_cast<Index>(nodes_.size()); }
  const Node& operator[](Index index) const { return nodes_[index]; }

  /// `visit(Index)` returns whether to go on.
  template <typename Visit>
  void eachChild(Index of, Visit&& visit) const {
    for (Index child = of + 1; child < nodes_[of].end; child = nodes_[child].end) {
      if (!visit(child)) return;
    }
  }
  bool hasOneChild(Index of) const {
    return of + 1 < nodes_[of].end && nodes_[of + 1].end == nodes_[of].end;
  }

  /// In the root's coordinates.
  base::Rect rect(Index index) const {
    const base::Size size = nodes_[index].facts.size;
    return nodes_[index].view.convert({0, 0, size.width, size.height}, nodes_[0].view);
  }
  /// Whether it is neither masked nor inside of a view that is, nor inside of a field.
  bool mayRead(Index index);
  /// Filtered; empty when it may not be read, and of a field, whose text is the user's.
  std::string text(Index index, std::size_t mostCharacters);
  /// Filtered; empty when it may not be read.
  std::string identifier(Index index, std::size_t mostCharacters);
  std::string_view reuseIdentifier(Index index) {
    return nodes_[index].view.reuseIdentifier(arena_);
  }

 private:
  class Builder;

  bool isOpen(Index index);
  /// Nothing that lies between a list and one of its rows is masked.
  bool isOpenUpTo(const platform::View& row, const platform::View& list) const;

  const ViewPrivacy& privacy_;
  base::TextArena arena_;
  ClassTraitsMemory classes_;
  std::vector<Node> nodes_;
  std::vector<platform::View> cells_;  // of the lists that are being looked at
};

}  // namespace zarn::screens
