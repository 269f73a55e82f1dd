// The fake toolkit's side of the view seam.
#pragma once

#include <memory>
#include <string_view>
#include <thread>
#include <vector>

#include "support/fake_toolkit.h"

namespace zarn::testing {

class FakeViewToolkit final : public platform::ViewToolkit {
 public:
  std::string_view classText(Node node, base::TextArena& arena) override;
  bool isKindOf(Node node, std::string_view className) override;
  platform::ViewFacts facts(Node node) override;
  platform::TextContentType contentType(Node node) override;
  platform::LayerFacts layer(Node node) override;
  std::string_view text(Node node, base::TextArena& arena) override;
  platform::Font font(Node node) override;
  platform::ViewColors colors(Node node) override;
  std::string_view accessibilityLabel(Node node, base::TextArena& arena) override;
  std::string_view accessibilityIdentifier(Node node, base::TextArena& arena) override;
  std::string_view reuseIdentifier(Node node, base::TextArena& arena) override;
  std::string_view selectedTabTitle(Node node, base::TextArena& arena) override;
  void eachChild(Node node, Visit visit) override;
  void eachVisibleCell(Node node, Visit visit) override;
  bool drawsRows(Node node) override { return ask(node, &NodeLook::drawsRows); }
  Node parent(Node node) override;
  Node window(Node node) override;
  base::Rect convert(base::Rect rect, Node from, Node to) override;
  std::unique_ptr<WeakNode> weak(Node node) override;

  NodePtr own(NodePtr node);
  FakeNode* find(const platform::View& view);
  void kill(FakeNode& node);
  std::uint32_t count() const { return static_cast<std::uint32_t>(all_.size()); }

  int questions = 0;
  int killAt = -1;
  FakeNode* victim = nullptr;

 private:
  /// Remembers it.
  static bool isSecure(FakeNode& node);
  /// Counts and kills; null when the node is dead.
  FakeNode* ask(Node node);
  /// A part of its look; a neutral one when it is dead.
  template <typename Part>
  Part ask(Node node, Part NodeLook::*part);
  std::string_view ask(Node node, std::string NodeLook::*text, base::TextArena& arena);

  const std::thread::id thread_ = std::this_thread::get_id();
  std::vector<NodePtr> all_;  // dead ones too: whoever still asks for one gets an answer
};

class FakeScreenToolkit final : public platform::ScreenToolkit {
 public:
  explicit FakeScreenToolkit(FakeViewToolkit& views) : views_(views) {}

  std::uint64_t id(Node node) override;
  platform::ScreenFacts facts(Node node) override;
  std::string_view classText(Node node, base::TextArena& arena) override;
  std::string_view rootTypeText(Node node, base::TextArena& arena) override;
  std::string_view title(Node node, base::TextArena& arena) override;
  std::string_view navigationTitle(Node node, base::TextArena& arena) override;
  std::string_view tabTitle(Node node, base::TextArena& arena) override;
  platform::View navigationTitleView(Node node) override;
  platform::View tabView(Node node) override;
  platform::View view(Node node) override;
  Node parent(Node node) override;
  void eachChild(Node node, Visit visit) override;
  Node presented(Node node) override;
  Node visible(Node node) override;
  std::optional<int> selectedIndex(Node node) override;
  Node selected(Node node) override;
  std::string_view tabTitleAt(Node node, int index, base::TextArena& arena) override;
  platform::View tabViewAt(Node node, int index) override;
  std::unique_ptr<WeakNode> weak(Node node) override;

  ScreenPtr own(ScreenPtr screen);
  FakeScreen* find(std::uint64_t id) { return all_.at(id - 1).get(); }

 private:
  /// Of its look; nothing when it is dead.
  static std::string_view textOf(Node node, std::string ScreenLook::*text, base::TextArena& arena);
  platform::View viewOf(Node node, NodePtr ScreenLook::*view);

  FakeViewToolkit& views_;
  std::vector<ScreenPtr> all_;
};

}  // namespace zarn::testing
