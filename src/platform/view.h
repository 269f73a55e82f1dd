// View: one node of the user interface of any toolkit, as a small value. What a toolkit calls its
// classes matters little: logic asks for the kind first, and for class text second.
//
// A view is good for the current turn of the main thread, and only there. What is to be kept is a
// WeakView, which knows when its node has died. Where a node dies in the middle of a walk (a host's
// own getter may do that), the toolkit answers for it as for an empty, hidden node.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "base/function_ref.h"
#include "base/geometry.h"
#include "base/text_arena.h"

namespace zarn::platform {

enum class ViewKind : std::uint8_t {
  plain,              // only holds others
  other,              // draws or does something that no other kind tells of
  label,              // text to read
  textView,           // text of several lines, to read or to edit
  button,             //
  control,            // anything else that acts when it is operated
  textField,          // a line of text to edit, secret or not
  list,               // scrolls over cells
  cell,               //
  tabBar,             //
  navigationBar,      //
  scroll,             // scrolls over anything else
  image,              //
  web,                //
  map,                //
  media,              // video or a camera's picture
  activityIndicator,  //
  progress,           //
};

/// What the text in a field is, where the app says so or the toolkit can tell.
enum class TextContentType : std::uint8_t {
  none,
  other,
  emailAddress,
  creditCardNumber,
  password,
  newPassword,
  oneTimeCode,
  telephoneNumber,
};

constexpr bool isForSecrets(TextContentType type) {
  switch (type) {
    case TextContentType::creditCardNumber:
    case TextContentType::password:
    case TextContentType::newPassword:
    case TextContentType::oneTimeCode:
    case TextContentType::telephoneNumber:
      return true;
    case TextContentType::none:
    case TextContentType::other:
    case TextContentType::emailAddress:
      return false;
  }
  return true;
}

struct Color {
  std::uint8_t red = 0, green = 0, blue = 0, alpha = 255;
  friend bool operator==(const Color&, const Color&) = default;
};

struct Font {
  double pointSize = 0;  // 0: unknown
  double weight = 0;     // -1 to 1; 0 is regular
  bool isBold = false;
};

struct ViewColors {
  std::optional<Color> background;
  std::optional<Color> foreground;  // of the text
};

/// What is drawn without being a node of its own.
struct LayerFacts {
  double cornerRadius = 0;
  double borderWidth = 0;
  std::optional<Color> borderColor;
  bool hasVideo = false;    // draws live video, itself or by a layer directly below it
  bool hasShimmer = false;  // an animated gradient moves over it, as over a screen that loads
};

/// What a walk asks of every node, in one call.
struct ViewFacts {
  ViewKind kind = ViewKind::plain;
  bool isHidden = true;            // itself, whatever its ancestors are
  double alpha = 0;                // its own, 0 to 1
  base::Size size;                 // of its bounds
  base::Rect painted;              // what it paints itself; empty where that is within its bounds
  bool isControl = false;          // reports that it was operated
  bool hasTapGesture = false;      // acts on a tap without being a control
  bool isDisabled = false;         //
  bool isAnimating = false;        // an activity indicator that turns
  bool isMarkedPrivate = false;    // the app has said that it must not be seen
  bool isSecureTextEntry = false;  // hides what is typed, or has done so before
  bool acceptsTextInput = false;   // the user can type into it
  bool drawsNothing = false;       // by itself: a wrapper, however many of them there are
  bool clipsChildren = false;      //
};

class View;
class WeakView;

/// One toolkit's side of the seam. Main thread only. `node` is never null and is one that the
/// toolkit gave out in this turn. Texts live in the arena or as long as the program; none is longer
/// than kMaxText bytes.
class ViewToolkit {
 public:
  using Node = void*;
  static constexpr std::size_t kMaxText = 1024;
  virtual ~ViewToolkit() = default;

  /// The name of its class as a developer reads it: `CartPage`, not `CartPage_QMLTYPE_7`.
  virtual std::string_view classText(Node node, base::TextArena& arena) = 0;
  /// Whether its class or one that it derives from has this name.
  virtual bool isKindOf(Node node, std::string_view className) = 0;
  virtual ViewFacts facts(Node node) = 0;
  virtual TextContentType contentType(Node node) = 0;
  virtual LayerFacts layer(Node node) = 0;

  /// The text that is shown: of a label, on a button, in a field. Always empty for a field that
  /// hides what is typed.
  virtual std::string_view text(Node node, base::TextArena& arena) = 0;
  virtual Font font(Node node) = 0;
  virtual ViewColors colors(Node node) = 0;
  /// For people who can't see it. Never the content of a field that hides what is typed.
  virtual std::string_view accessibilityLabel(Node node, base::TextArena& arena) = 0;
  /// The name that the app's developer has given to this very node.
  virtual std::string_view accessibilityIdentifier(Node node, base::TextArena& arena) = 0;
  /// Of a cell: the same for cells that are made alike.
  virtual std::string_view reuseIdentifier(Node node, base::TextArena& arena) = 0;
  /// Of a tab bar: the title of its selected tab.
  virtual std::string_view selectedTabTitle(Node node, base::TextArena& arena) = 0;

  /// From back to front; `visit` returns whether to go on.
  using Visit = base::FunctionRef<bool(Node)>;
  virtual void eachChild(Node node, Visit visit) = 0;
  /// Of a list: the cells that are in sight.
  virtual void eachVisibleCell(Node node, Visit visit) = 0;
  /// Of a list: whether it has rows that it paints itself, of which no cell tells. May run code of
  /// the app.
  virtual bool drawsRows(Node) { return false; }
  virtual Node parent(Node node) = 0;  // null at the top
  /// The top node of its window; null while it is in none.
  virtual Node window(Node node) = 0;
  /// The smallest upright rectangle around `rect`, which is in `from`'s coordinates, in `to`'s.
  /// Both are in one window; transforms count.
  virtual base::Rect convert(base::Rect rect, Node from, Node to) = 0;

  /// Knows when a node has died.
  class WeakNode {
   public:
    virtual ~WeakNode() = default;
    virtual Node lock() const = 0;  // null when it has
  };
  virtual std::unique_ptr<WeakNode> weak(Node node) = 0;
};

/// Main thread only.
class View {
 public:
  View() = default;  // no view
  View(ViewToolkit& toolkit, ViewToolkit::Node node) : toolkit_(&toolkit), node_(node) {}
  explicit operator bool() const { return node_ != nullptr; }
  friend bool operator==(const View&, const View&) = default;
  /// For the toolkit itself; null for no view, and for a view of another toolkit.
  ViewToolkit::Node nodeIn(const ViewToolkit& toolkit) const {
    return toolkit_ == &toolkit ? node_ : nullptr;
  }

  std::string_view classText(base::TextArena& arena) const {
    return toolkit_->classText(node_, arena);
  }
  bool isKindOf(std::string_view className) const { return toolkit_->isKindOf(node_, className); }
  ViewFacts facts() const { return toolkit_->facts(node_); }
  TextContentType contentType() const { return toolkit_->contentType(node_); }
  LayerFacts layer() const { return toolkit_->layer(node_); }
  std::string_view text(base::TextArena& arena) const { return toolkit_->text(node_, arena); }
  Font font() const { return toolkit_->font(node_); }
  ViewColors colors() const { return toolkit_->colors(node_); }
  std::string_view accessibilityLabel(base::TextArena& arena) const {
    return toolkit_->accessibilityLabel(node_, arena);
  }
  std::string_view accessibilityIdentifier(base::TextArena& arena) const {
    return toolkit_->accessibilityIdentifier(node_, arena);
  }
  std::string_view reuseIdentifier(base::TextArena& arena) const {
    return toolkit_->reuseIdentifier(node_, arena);
  }
  std::string_view selectedTabTitle(base::TextArena& arena) const {
    return toolkit_->selectedTabTitle(node_, arena);
  }

  /// `visit(View)` returns whether to go on.
  template <typename Visit>
  void eachChild(Visit&& visit) const {
    toolkit_->eachChild(node_,
                        [&](ViewToolkit::Node node) { return visit(View(*toolkit_, node)); });
  }
  template <typename Visit>
  void eachVisibleCell(Visit&& visit) const {
    toolkit_->eachVisibleCell(node_,
                              [&](ViewToolkit::Node node) { return visit(View(*toolkit_, node)); });
  }
  bool drawsRows() const { return toolkit_->drawsRows(node_); }
  View parent() const { return {*toolkit_, toolkit_->parent(node_)}; }
  View window() const { return {*toolkit_, toolkit_->window(node_)}; }
  /// In `root`'s coordinates, which is a view of the same window.
  base::Rect convert(base::Rect rect, const View& root) const {
    return toolkit_->convert(rect, node_, root.node_);
  }
  base::Rect rectIn(const View& root) const {
    const base::Size size = facts().size;
    return convert({0, 0, size.width, size.height}, root);
  }

  /// Allocates.
  WeakView weak() const;

 private:
  ViewToolkit* toolkit_ = nullptr;
  ViewToolkit::Node node_ = nullptr;
};

/// Main thread, but for its destruction, which any thread may see to.
class WeakView {
 public:
  WeakView() = default;
  WeakView(ViewToolkit& toolkit, std::unique_ptr<ViewToolkit::WeakNode> node)
      : toolkit_(&toolkit), node_(std::move(node)) {}

  /// No view when the node has died.
  View lock() const {
    ViewToolkit::Node const node = node_ ? node_->lock() : nullptr;
    return node != nullptr ? View(*toolkit_, node) : View();
  }

 private:
  ViewToolkit* toolkit_ = nullptr;
  std::unique_ptr<ViewToolkit::WeakNode> node_;
};

inline WeakView View::weak() const {
  return node_ != nullptr ? WeakView(*toolkit_, toolkit_->weak(node_)) : WeakView();
}

}  // namespace zarn::platform
