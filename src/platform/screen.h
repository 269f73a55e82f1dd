// Screen: what fills the place that a user calls "the cart" or "settings": a page of a toolkit, or
// one of the containers that pages live in. A small value; the same rules as for a View hold.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/function_ref.h"
#include "base/text_arena.h"
#include "platform/view.h"

namespace zarn::platform {

enum class ScreenKind : std::uint8_t {
  page,        // what a user sees as one screen
  navigation,  // a stack of screens, of which the topmost is seen
  tabs,        // several screens side by side, of which the selected one is seen
  system,      // the toolkit's or system's own: containers, alerts, pickers, keyboards
};

struct ScreenFacts {
  ScreenKind kind = ScreenKind::system;
  /// Its class is the toolkit's and says nothing of the app: what it is called must be looked for
  /// inside of it.
  bool isHosted = false;
};

/// One toolkit's side. Main thread only; as for ViewToolkit.
class ScreenToolkit {
 public:
  using Node = void*;
  virtual ~ScreenToolkit() = default;

  /// Never given to another screen, also after this one has died.
  virtual std::uint64_t id(Node node) = 0;
  virtual ScreenFacts facts(Node node) = 0;
  /// Type arguments included where the language has them.
  virtual std::string_view classText(Node node, base::TextArena& arena) = 0;
  /// Of what a hosted screen shows: the type of its root, where that can be told.
  virtual std::string_view rootTypeText(Node node, base::TextArena& arena) = 0;
  virtual std::string_view title(Node node, base::TextArena& arena) = 0;
  /// What the bar above it says.
  virtual std::string_view navigationTitle(Node node, base::TextArena& arena) = 0;
  /// What its own tab says; not that of a screen around it.
  virtual std::string_view tabTitle(Node node, base::TextArena& arena) = 0;
  /// What shows these two: the label in the bar above; the tab, or the bar that it is a part of. No
  /// view where there is none. Asked first, since a title is as private as what shows it.
  virtual View navigationTitleView(Node node) = 0;
  virtual View tabView(Node node) = 0;
  /// No view while it is not loaded.
  virtual View view(Node node) = 0;

  virtual Node parent(Node node) = 0;  // null at the top
  using Visit = base::FunctionRef<bool(Node)>;
  virtual void eachChild(Node node, Visit visit) = 0;
  /// The one that lies over it; null without.
  virtual Node presented(Node node) = 0;
  /// Of `navigation`: the topmost; null without.
  virtual Node visible(Node node) = 0;
  /// Of `tabs`.
  virtual std::optional<int> selectedIndex(Node node) = 0;
  virtual Node selected(Node node) = 0;
  virtual std::string_view tabTitleAt(Node node, int index, base::TextArena& arena) = 0;
  virtual View tabViewAt(Node node, int index) = 0;  // what shows that one

  class WeakNode {
   public:
    virtual ~WeakNode() = default;
    virtual Node lock() const = 0;
  };
  virtual std::unique_ptr<WeakNode> weak(Node node) = 0;
};

class WeakScreen;

/// Main thread only.
class Screen {
 public:
  Screen() = default;  // no screen
  Screen(ScreenToolkit& toolkit, ScreenToolkit::Node node) : toolkit_(&toolkit), node_(node) {}
  explicit operator bool() const { return node_ != nullptr; }
  friend bool operator==(const Screen&, const Screen&) = default;

  std::uint64_t id() const { return toolkit_->id(node_); }
  ScreenFacts facts() const { return toolkit_->facts(node_); }
  std::string_view classText(base::TextArena& arena) const {
    return toolkit_->classText(node_, arena);
  }
  std::string_view rootTypeText(base::TextArena& arena) const {
    return toolkit_->rootTypeText(node_, arena);
  }
  std::string_view title(base::TextArena& arena) const { return toolkit_->title(node_, arena); }
  std::string_view navigationTitle(base::TextArena& arena) const {
    return toolkit_->navigationTitle(node_, arena);
  }
  std::string_view tabTitle(base::TextArena& arena) const {
    return toolkit_->tabTitle(node_, arena);
  }
  View navigationTitleView() const { return toolkit_->navigationTitleView(node_); }
  View tabView() const { return toolkit_->tabView(node_); }
  View view() const { return toolkit_->view(node_); }

  Screen parent() const { return {*toolkit_, toolkit_->parent(node_)}; }
  template <typename Visit>
  void eachChild(Visit&& visit) const {
    toolkit_->eachChild(node_,
                        [&](ScreenToolkit::Node node) { return visit(Screen(*toolkit_, node)); });
  }
  Screen presented() const { return {*toolkit_, toolkit_->presented(node_)}; }
  Screen visible() const { return {*toolkit_, toolkit_->visible(node_)}; }
  std::optional<int> selectedIndex() const { return toolkit_->selectedIndex(node_); }
  Screen selected() const { return {*toolkit_, toolkit_->selected(node_)}; }
  std::string_view tabTitleAt(int index, base::TextArena& arena) const {
    return toolkit_->tabTitleAt(node_, index, arena);
  }
  View tabViewAt(int index) const { return toolkit_->tabViewAt(node_, index); }

  /// Allocates.
  WeakScreen weak() const;

 private:
  ScreenToolkit* toolkit_ = nullptr;
  ScreenToolkit::Node node_ = nullptr;
};

/// Main thread, but for its destruction, which any thread may see to.
class WeakScreen {
 public:
  WeakScreen() = default;
  WeakScreen(ScreenToolkit& toolkit, std::unique_ptr<ScreenToolkit::WeakNode> node)
      : toolkit_(&toolkit), node_(std::move(node)) {}

  /// No screen when it has died.
  Screen lock() const {
    ScreenToolkit::Node const node = node_ ? node_->lock() : nullptr;
    return node != nullptr ? Screen(*toolkit_, node) : Screen();
  }

 private:
  ScreenToolkit* toolkit_ = nullptr;
  std::unique_ptr<ScreenToolkit::WeakNode> node_;
};

inline WeakScreen Screen::weak() const {
  return node_ != nullptr ? WeakScreen(*toolkit_, toolkit_->weak(node_)) : WeakScreen();
}

}  // namespace zarn::platform
