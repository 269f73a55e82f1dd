// A view or a screen that is kept beyond the turn of the loop in which it was seen.
#pragma once

#include <QPointer>

#include "qt/gui_thread.h"

namespace zarn::qt {

/// Knows when the object that stands for the node has died, which QML and Widgets may bring about
/// at any time. Of a platform::ViewToolkit or platform::ScreenToolkit.
template <typename Toolkit, typename T>
class WeakNode final : public Toolkit::WeakNode {
 public:
  explicit WeakNode(T& object) : object_(&object) {}
  typename Toolkit::Node lock() const override { return onGuiThread() ? object_.data() : nullptr; }

 private:
  QPointer<T> object_;
};

}  // namespace zarn::qt
