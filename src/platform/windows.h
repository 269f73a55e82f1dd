// The app's windows, and a picture of one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "base/function_ref.h"
#include "base/geometry.h"
#include "platform/screen.h"
#include "platform/view.h"

namespace zarn::platform {

struct Window {
  View view;      // its top node
  Screen screen;  // its root
};

/// Rows from top to bottom without gaps; four bytes a pixel: red, green, blue, alpha.
struct Bitmap {
  int width = 0;     // pixels
  int height = 0;    // pixels
  double scale = 1;  // pixels a point
  std::vector<std::uint8_t> pixels;

  std::uint8_t* row(int y) {
    return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 4;
  }
};

/// Main thread.
class Windows {
 public:
  virtual ~Windows() = default;
  /// The visible ones, that which gets the keys first; `visit` returns whether to go on.
  virtual void each(base::FunctionRef<bool(const Window&)> visit) = 0;
  /// Adds a listener for the life of the process: a window has become the one that gets the keys.
  virtual void listen(std::function<void()> becameKey) = 0;
  /// Draws what the window shows now, in no more than `maxWidth` points of width, at one pixel a
  /// point or less. False when it can't be drawn; `into` is undefined then.
  virtual bool draw(const View& window, double maxWidth, Bitmap& into) = 0;
};

}  // namespace zarn::platform
