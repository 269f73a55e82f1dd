// TapTracker: what the user operates.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "base/text_arena.h"
#include "screens/view_privacy.h"

namespace zarn::capture {

struct Tap {
  std::string label;      // free of personal data; the class text where there is no other
  std::string className;  //
  std::string hierarchy;  // class texts of the control and what it lies in: "Button > Row > Page"
};

/// Main thread.
class TapTracker {
 public:
  static constexpr std::size_t kLongestLabel = 256;  // characters
  static constexpr int kHierarchyLevels = 5;

  TapTracker(const screens::ViewPrivacy& privacy, std::function<void(const Tap&)> onTap)
      : privacy_(privacy), onTap_(std::move(onTap)) {}

  /// A control was operated by a tap that began and ended inside of it. One that takes text is
  /// none.
  void activated(const platform::View& control);

 private:
  std::string labelOf(const platform::View& control);

  // Constant after construction.
  const screens::ViewPrivacy& privacy_;
  const std::function<void(const Tap&)> onTap_;

  base::TextArena arena_;
};

}  // namespace zarn::capture
