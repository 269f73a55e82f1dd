#include "screens/screen_observer.h"

#include "screens/screen_state.h"
#include "screens/structure_hash.h"

namespace zarn::screens {
namespace {

constexpr std::size_t kMostAnchors = 5;
constexpr std::size_t kMostCharacters = 50;
constexpr int kDeepestAnchor = 5;

class AnchorCollector {
 public:
  explicit AnchorCollector(ViewTree& tree) : tree_(tree) {}

  void collect(ViewTree::Index index) {
    const ViewTree::Node& node = tree_[index];
    if (node.depth > kDeepestAnchor || isFull() || !tree_.mayRead(index)) return;
    add(tree_.identifier(index, kMostCharacters));
    if (isFull() || node.isTextInput) return;
    const platform::ViewKind kind = node.facts.kind;
    if (kind == platform::ViewKind::label || kind == platform::ViewKind::button) {
      if (add(tree_.text(index, kMostCharacters)) || kind == platform::ViewKind::button) return;
    }
    tree_.eachChild(index, [&](ViewTree::Index child) {
      collect(child);
      return !isFull();
    });
  }

  std::vector<std::string> take() { return std::move(anchors_); }

 private:
  bool isFull() const { return anchors_.size() >= kMostAnchors; }
  bool add(std::string text) {
    if (text.empty()) return false;
    anchors_.push_back(std::move(text));
    return true;
  }

  ViewTree& tree_;
  std::vector<std::string> anchors_;
};

std::vector<std::string> anchorsOf(ViewTree& tree) {
  AnchorCollector collector(tree);
  if (!tree.isEmpty()) collector.collect(0);
  return collector.take();
}

}  // namespace

model::ScreenObservation ScreenObserver::observe(const platform::View& root) {
  tree_.look(root);
  return {.structureHash = structureHash(tree_),
          .state = classifyState(tree_),
          .anchors = anchorsOf(tree_)};
}

}  // namespace zarn::screens
