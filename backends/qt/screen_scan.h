// The way from a window's root to the screen that is seen in it.
#pragma once

#include <array>
#include <optional>

#include "qt/screens.h"

namespace zarn::qt {

/// Numbers of screens only, so that it may be kept when they have died.
struct ScreenPath {
  struct Step {
    std::uint64_t id = 0;
    bool isTabs = false;
    std::optional<int> selectedIndex = std::nullopt;
  };
  static constexpr int kMaxSteps = 16;
  std::array<Step, kMaxSteps> steps;
  int count = 0;

  std::uint64_t leafId() const {
    return count > 0 ? steps[static_cast<std::size_t>(count - 1)].id : 0;
  }
  bool leadsThroughSameScreens(const ScreenPath& other) const;
};

struct ScreenSight {
  ScreenPath path;
  ScreenRef leaf;          // none while what leads there is not loaded
  bool isSettled = false;  // nothing on the way is moving
};

/// GUI thread. Allocates nothing but the numbers of screens that have none yet.
ScreenSight lookFrom(ScreenRef root);

/// One step down; null at the end.
ScreenTree::Node nextInSight(ScreenTree& tree, ScreenTree::Node node);

struct TabChange {
  std::uint64_t tabs = 0;  // their number
  std::optional<int> former;
  std::optional<int> now;
};
/// None where something else than the selection of a tab has led from one to the other.
std::optional<TabChange> tabChange(const ScreenPath& before, const ScreenPath& now);

}  // namespace zarn::qt
