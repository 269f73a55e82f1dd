// Where the fake toolkit's nodes lie: frames, scaled and turned around their middles.
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "support/fake_toolkit.h"

namespace zarn::testing {

/// x' = a x + c y + dx, y' = b x + d y + dy.
struct Transform {
  double a = 1, b = 0, c = 0, d = 1, dx = 0, dy = 0;

  base::Point apply(base::Point at) const {
    return {a * at.x + c * at.y + dx, b * at.x + d * at.y + dy};
  }
  /// This one first, then the other.
  Transform then(const Transform& next) const {
    const base::Point offset = next.apply({dx, dy});
    return {next.a * a + next.c * b,
            next.b * a + next.d * b,
            next.a * c + next.c * d,
            next.b * c + next.d * d,
            offset.x,
            offset.y};
  }
  Transform inverted() const {
    const double size = a * d - b * c;
    Transform back{d / size, -b / size, -c / size, a / size, 0, 0};
    const base::Point offset = back.apply({dx, dy});
    back.dx = -offset.x;
    back.dy = -offset.y;
    return back;
  }
  /// The smallest upright rectangle around what the rectangle becomes.
  base::Rect around(const base::Rect& rect) const {
    const base::Point corners[] = {apply({rect.x, rect.y}), apply({rect.right(), rect.y}),
                                   apply({rect.x, rect.bottom()}),
                                   apply({rect.right(), rect.bottom()})};
    const auto [left, right] = std::ranges::minmax(corners, {}, &base::Point::x);
    const auto [top, bottom] = std::ranges::minmax(corners, {}, &base::Point::y);
    return {left.x, top.y, right.x - left.x, bottom.y - top.y};
  }
};

/// From the node's coordinates to its parent's.
inline Transform toParent(const NodeLook& look) {
  const base::Point middle{look.frame.width / 2, look.frame.height / 2};
  const double turn = look.rotation * std::numbers::pi / 180;
  const double cosine = look.rotation == 0 ? look.scale : std::cos(turn) * look.scale;
  const double sine = look.rotation == 0 ? 0 : std::sin(turn) * look.scale;
  return Transform{1, 0, 0, 1, -middle.x, -middle.y}
      .then({cosine, sine, -sine, cosine, 0, 0})
      .then({1, 0, 0, 1, middle.x + look.frame.x, middle.y + look.frame.y});
}

/// From the node's coordinates to those around its topmost ancestor.
inline Transform toTop(const FakeNode* node) {
  Transform transform;
  for (; node != nullptr; node = node->parent) transform = transform.then(toParent(node->look));
  return transform;
}

}  // namespace zarn::testing
