// The windows of Qt Quick and of Widgets, and pictures of them.
#pragma once

#include <functional>

#include "platform/windows.h"

class QQuickWindow;
class QWidget;

namespace zarn::qt {

/// Where the screens of a window begin; no screen where there are none. Empty closures give none.
struct RootScreens {
  std::function<platform::Screen(QQuickWindow&)> ofQuick;
  std::function<platform::Screen(QWidget&)> ofWidget;
};

/// GUI thread. A picture shows what the window itself holds; native windows inside of it are not
/// drawn. A window that is hidden, minimised or not on a screen can't be drawn, nor one in which
/// animators run: what they move is not where its item says.
class QtWindows final : public platform::Windows {
 public:
  explicit QtWindows(RootScreens roots) : roots_(std::move(roots)) {}
  void each(base::FunctionRef<bool(const platform::Window&)> visit) override;
  void listen(std::function<void()> becameKey) override;
  bool draw(const platform::View& window, double maxWidth, platform::Bitmap& into) override;

 private:
  const RootScreens roots_;
};

}  // namespace zarn::qt
