#include "support/fake_toolkit_access.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "support/fake_transform.h"

namespace zarn::testing {
namespace {

template <typename T>
class Weak final : public T {
 public:
  Weak(void* node, const bool& isDead) : node_(node), isDead_(isDead) {}
  void* lock() const override { return isDead_ ? nullptr : node_; }

 private:
  void* const node_;
  const bool& isDead_;
};

}  // namespace

bool FakeViewToolkit::isSecure(FakeNode& node) {
  node.wasSecure = node.wasSecure || node.look.isSecureTextEntry;
  return node.wasSecure;
}

FakeNode* FakeViewToolkit::ask(Node node) {
  if (std::this_thread::get_id() != thread_) {
    std::fputs("The user interface was touched on another thread than its own\n", stderr);
    std::abort();
  }
  ++questions;
  if (killAt >= 0 && questions >= killAt) {
    killAt = -1;
    kill(*victim);
  }
  auto* const asked = static_cast<FakeNode*>(node);
  return asked->isDead ? nullptr : asked;
}

template <typename Part>
Part FakeViewToolkit::ask(Node node, Part NodeLook::*part) {
  const FakeNode* asked = ask(node);
  return asked ? asked->look.*part : Part();
}

std::string_view FakeViewToolkit::ask(Node node, std::string NodeLook::*text,
                                      base::TextArena& arena) {
  const FakeNode* asked = ask(node);
  return asked ? arena.copy(asked->look.*text) : std::string_view();
}

std::string_view FakeViewToolkit::classText(Node node, base::TextArena& arena) {
  return ask(node, &NodeLook::classText, arena);
}

bool FakeViewToolkit::isKindOf(Node node, std::string_view className) {
  const FakeNode* asked = ask(node);
  return asked &&
         (asked->look.classText == className ||
          std::ranges::find(asked->look.baseClasses, className) != asked->look.baseClasses.end());
}

platform::ViewFacts FakeViewToolkit::facts(Node node) {
  FakeNode* const asked = ask(node);
  if (asked == nullptr) return {};
  const NodeLook& look = asked->look;
  return {.kind = look.kind,
          .isHidden = look.isHidden,
          .alpha = look.alpha,
          .size = {look.frame.width, look.frame.height},
          .isControl = look.isControl,
          .hasTapGesture = look.hasTapGesture,
          .isDisabled = look.isDisabled,
          .isAnimating = look.isAnimating,
          .isMarkedPrivate = look.isMarkedPrivate,
          .isSecureTextEntry = isSecure(*asked),
          .acceptsTextInput = look.acceptsTextInput,
          .drawsNothing = look.drawsNothing,
          .clipsChildren = look.clipsChildren};
}

platform::TextContentType FakeViewToolkit::contentType(Node node) {
  return ask(node, &NodeLook::contentType);
}

platform::LayerFacts FakeViewToolkit::layer(Node node) {
  return ask(node, &NodeLook::layer);
}

std::string_view FakeViewToolkit::text(Node node, base::TextArena& arena) {
  FakeNode* const asked = ask(node);
  if (asked == nullptr || isSecure(*asked)) return {};
  return arena.copy(std::string_view(asked->look.text).substr(0, kMaxText));
}

platform::Font FakeViewToolkit::font(Node node) {
  return ask(node, &NodeLook::font);
}

platform::ViewColors FakeViewToolkit::colors(Node node) {
  return ask(node, &NodeLook::colors);
}

std::string_view FakeViewToolkit::accessibilityLabel(Node node, base::TextArena& arena) {
  FakeNode* const asked = ask(node);
  return asked && !isSecure(*asked) ? arena.copy(asked->look.accessibilityLabel)
                                    : std::string_view();
}

std::string_view FakeViewToolkit::accessibilityIdentifier(Node node, base::TextArena& arena) {
  return ask(node, &NodeLook::accessibilityIdentifier, arena);
}

std::string_view FakeViewToolkit::reuseIdentifier(Node node, base::TextArena& arena) {
  return ask(node, &NodeLook::reuseIdentifier, arena);
}

std::string_view FakeViewToolkit::selectedTabTitle(Node node, base::TextArena& arena) {
  return ask(node, &NodeLook::selectedTabTitle, arena);
}

void FakeViewToolkit::eachChild(Node node, Visit visit) {
  const FakeNode* asked = ask(node);
  if (asked == nullptr) return;
  const auto children = asked->children;  // a visit may change them
  for (const NodePtr& child : children) {
    if (!visit(child.get())) return;
  }
}

void FakeViewToolkit::eachVisibleCell(Node node, Visit visit) {
  const FakeNode* asked = ask(node);
  if (asked == nullptr) return;
  const base::Rect viewport{0, 0, asked->look.frame.width, asked->look.frame.height};
  const auto children = asked->children;
  for (const NodePtr& child : children) {
    if (child->look.kind != platform::ViewKind::cell || child->look.isHidden) continue;
    if (child->look.frame.intersects(viewport) && !visit(child.get())) return;
  }
}

FakeViewToolkit::Node FakeViewToolkit::parent(Node node) {
  const FakeNode* asked = ask(node);
  return asked ? asked->parent : nullptr;
}

FakeViewToolkit::Node FakeViewToolkit::window(Node node) {
  FakeNode* at = ask(node);
  while (at != nullptr && at->parent != nullptr) at = at->parent;
  return at != nullptr && at->isWindow ? at : nullptr;
}

base::Rect FakeViewToolkit::convert(base::Rect rect, Node from, Node to) {
  const FakeNode* asked = ask(from);
  if (asked == nullptr) return {};
  return toTop(asked).then(toTop(static_cast<FakeNode*>(to)).inverted()).around(rect);
}

std::unique_ptr<FakeViewToolkit::WeakNode> FakeViewToolkit::weak(Node node) {
  return std::make_unique<Weak<WeakNode>>(node, static_cast<FakeNode*>(node)->isDead);
}

NodePtr FakeViewToolkit::own(NodePtr node) {
  return all_.emplace_back(std::move(node));
}

FakeNode* FakeViewToolkit::find(const platform::View& view) {
  const auto found = std::ranges::find_if(
      all_, [&](const NodePtr& node) { return platform::View(*this, node.get()) == view; });
  return found != all_.end() ? found->get() : nullptr;
}

void FakeViewToolkit::kill(FakeNode& node) {
  node.isDead = true;
  for (const NodePtr& child : node.children) kill(*child);
  if (node.parent != nullptr && !node.parent->isDead) {
    std::erase_if(node.parent->children, [&](const NodePtr& at) { return at.get() == &node; });
  }
}

namespace {

/// Null when it is dead.
FakeScreen* alive(void* node) {
  auto* const screen = static_cast<FakeScreen*>(node);
  return screen->isDead ? nullptr : screen;
}

}  // namespace

std::string_view FakeScreenToolkit::textOf(Node node, std::string ScreenLook::*text,
                                           base::TextArena& arena) {
  const FakeScreen* screen = alive(node);
  return screen ? arena.copy(screen->look.*text) : std::string_view();
}

platform::View FakeScreenToolkit::viewOf(Node node, NodePtr ScreenLook::*view) {
  const FakeScreen* screen = alive(node);
  FakeNode* const shown = screen ? (screen->look.*view).get() : nullptr;
  return shown == nullptr || shown->isDead ? platform::View() : platform::View(views_, shown);
}

std::uint64_t FakeScreenToolkit::id(Node node) {
  return static_cast<FakeScreen*>(node)->id;
}

platform::ScreenFacts FakeScreenToolkit::facts(Node node) {
  const FakeScreen* screen = alive(node);
  if (screen == nullptr) return {};
  return {.kind = screen->look.kind, .isHosted = screen->look.isHosted};
}

std::string_view FakeScreenToolkit::classText(Node node, base::TextArena& arena) {
  return textOf(node, &ScreenLook::classText, arena);
}

std::string_view FakeScreenToolkit::rootTypeText(Node node, base::TextArena& arena) {
  return textOf(node, &ScreenLook::rootTypeText, arena);
}

std::string_view FakeScreenToolkit::title(Node node, base::TextArena& arena) {
  return textOf(node, &ScreenLook::title, arena);
}

std::string_view FakeScreenToolkit::navigationTitle(Node node, base::TextArena& arena) {
  return textOf(node, &ScreenLook::navigationTitle, arena);
}

std::string_view FakeScreenToolkit::tabTitle(Node node, base::TextArena& arena) {
  return textOf(node, &ScreenLook::tabTitle, arena);
}

platform::View FakeScreenToolkit::navigationTitleView(Node node) {
  return viewOf(node, &ScreenLook::navigationLabel);
}

platform::View FakeScreenToolkit::tabView(Node node) {
  return viewOf(node, &ScreenLook::tab);
}

platform::View FakeScreenToolkit::tabViewAt(Node node, int) {
  return viewOf(node, &ScreenLook::tabBar);
}

platform::View FakeScreenToolkit::view(Node node) {
  return viewOf(node, &ScreenLook::view);
}

FakeScreenToolkit::Node FakeScreenToolkit::parent(Node node) {
  const FakeScreen* screen = alive(node);
  return screen ? screen->parent : nullptr;
}

void FakeScreenToolkit::eachChild(Node node, Visit visit) {
  const FakeScreen* screen = alive(node);
  if (screen == nullptr) return;
  const auto children = screen->look.children;
  for (const ScreenPtr& child : children) {
    if (!child->isDead && !visit(child.get())) return;
  }
}

FakeScreenToolkit::Node FakeScreenToolkit::presented(Node node) {
  const FakeScreen* screen = alive(node);
  return screen ? screen->look.presented.get() : nullptr;
}

FakeScreenToolkit::Node FakeScreenToolkit::visible(Node node) {
  const FakeScreen* screen = alive(node);
  return screen && !screen->look.children.empty() ? screen->look.children.back().get() : nullptr;
}

std::optional<int> FakeScreenToolkit::selectedIndex(Node node) {
  const FakeScreen* screen = alive(node);
  return screen ? screen->look.selectedIndex : std::nullopt;
}

FakeScreenToolkit::Node FakeScreenToolkit::selected(Node node) {
  const FakeScreen* screen = alive(node);
  if (screen == nullptr || !screen->look.selectedIndex) return nullptr;
  const auto index = static_cast<std::size_t>(*screen->look.selectedIndex);
  return index < screen->look.children.size() ? screen->look.children[index].get() : nullptr;
}

std::string_view FakeScreenToolkit::tabTitleAt(Node node, int index, base::TextArena& arena) {
  const FakeScreen* screen = alive(node);
  if (screen == nullptr || index < 0) return {};
  const auto at = static_cast<std::size_t>(index);
  return at < screen->look.tabTitles.size() ? arena.copy(screen->look.tabTitles[at])
                                            : std::string_view();
}

std::unique_ptr<FakeScreenToolkit::WeakNode> FakeScreenToolkit::weak(Node node) {
  return std::make_unique<Weak<WeakNode>>(node, static_cast<FakeScreen*>(node)->isDead);
}

ScreenPtr FakeScreenToolkit::own(ScreenPtr screen) {
  screen->id = all_.size() + 1;
  return all_.emplace_back(std::move(screen));
}

}  // namespace zarn::testing
