#include "capture/visible_leaf.h"

namespace zarn::capture {
namespace {

constexpr int kDeepestLeaf = 32;

bool isHidden(const platform::Screen& screen) {
  const platform::View view = screen.view();
  return !view || view.facts().isHidden;
}

/// What a container that is no screen to the user shows: the frontmost of what it holds.
platform::Screen frontmostChild(const platform::Screen& container) {
  platform::Screen front;
  container.eachChild([&](const platform::Screen& child) {
    if (!isHidden(child)) front = child;
    return true;
  });
  return front;
}

platform::Screen nextInSight(const platform::Screen& screen) {
  if (const platform::Screen over = screen.presented()) return over;
  switch (screen.facts().kind) {
    case platform::ScreenKind::navigation:
      return screen.visible();
    case platform::ScreenKind::tabs:
      return screen.selected();
    case platform::ScreenKind::system:
      return frontmostChild(screen);
    case platform::ScreenKind::page:
      return {};
  }
  return {};
}

}  // namespace

platform::Screen visibleLeaf(const platform::Screen& screen) {
  platform::Screen leaf = screen;
  for (int depth = 0; leaf && depth < kDeepestLeaf; ++depth) {
    const platform::Screen next = nextInSight(leaf);
    if (!next) break;
    leaf = next;
  }
  return leaf;
}

}  // namespace zarn::capture
