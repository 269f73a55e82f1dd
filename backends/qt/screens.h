// Screens of a Qt app, whether Qt Quick draws them or Widgets do.
//
// Neither toolkit has a class for "a screen": it is what sits at a certain place. The root of a
// window holds containers (stacks and tabs), a container's items are screens, and a page that only
// wraps a container which fills it is seen through. What lies small within a page is its content.
#pragma once

#include <cstdint>
#include <memory>

#include "base/function_ref.h"
#include "platform/screen.h"

class QObject;
class QQuickWindow;
class QWidget;
class QWindow;

namespace zarn::qt {

/// What the hooks ask beyond the seam. GUI thread.
class ScreenTree : public platform::ScreenToolkit {
 public:
  /// False while one screen goes over into another.
  virtual bool isSettled(Node node) = 0;
  /// Of the views below: which are in sight, how many and how large. Not where they are, how they
  /// are turned or how opaque, so that neither a spinner nor scrolling changes it. Never 0.
  virtual std::uint64_t layoutFingerprint(Node node) = 0;
  /// Signals that tell of a change in what the screen shows; by their normalised signatures.
  virtual void eachNotifier(Node node, base::FunctionRef<void(QObject&, const char*)> visit) = 0;
  virtual QObject& object(Node node) = 0;
};

/// A screen by the object that stands for it.
struct ScreenRef {
  ScreenTree* tree = nullptr;
  ScreenTree::Node node = nullptr;

  explicit operator bool() const { return node != nullptr; }
  platform::Screen screen() const { return {*tree, node}; }
};

ScreenRef rootOf(QQuickWindow& window);
ScreenRef rootOf(QWidget& window);
/// No screen for what is no window of the app's own: menus, tool tips, standard dialogs.
ScreenRef rootOf(QWindow& window);

inline platform::Screen rootScreen(QQuickWindow& window) {
  return rootOf(window).screen();
}
inline platform::Screen rootScreen(QWidget& window) {
  return rootOf(window).screen();
}

/// The number of an object: never given to another one, also after its death. GUI thread.
std::uint64_t screenId(QObject& object);
/// Objects that have one, or had until a short while ago.
std::size_t numberedScreens();

}  // namespace zarn::qt
