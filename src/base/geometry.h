// Points, sizes and rectangles, in a user interface's points (not pixels), y downwards.
#pragma once

#include <algorithm>

namespace zarn::base {

struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
  double width = 0;
  double height = 0;
  /// Also for what is no number.
  bool isEmpty() const { return !(width > 0 && height > 0); }
  friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool isEmpty() const { return !(width > 0 && height > 0); }
  double right() const { return x + width; }
  double bottom() const { return y + height; }
  bool contains(Point point) const {
    return point.x >= x && point.x < right() && point.y >= y && point.y < bottom();
  }
  bool intersects(const Rect& other) const {
    return x < other.right() && other.x < right() && y < other.bottom() && other.y < bottom();
  }
  /// Empty where they don't meet.
  Rect intersected(const Rect& other) const {
    const double left = std::max(x, other.x);
    const double top = std::max(y, other.y);
    return {left, top, std::max(0.0, std::min(right(), other.right()) - left),
            std::max(0.0, std::min(bottom(), other.bottom()) - top)};
  }
  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace zarn::base
