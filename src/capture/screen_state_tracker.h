// ScreenStateTracker: notices that a screen in sight has changed its shape without another one
// coming into sight, such as when what it loads has arrived.
//
// A screen is looked at once its layout has been at rest for a while. A signal only moves that
// moment, and one delayed task a screen waits for it, so that a storm of signals costs one look.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "base/executor.h"
#include "base/text_arena.h"
#include "base/weakly.h"
#include "capture/screen_memory.h"
#include "model/screen.h"

namespace zarn::platform {
class Clock;
}
namespace zarn::screens {
class ScreenObserver;
class ScrollObserver;
}  // namespace zarn::screens

namespace zarn::capture {

/// Main thread.
class ScreenStateTracker {
 public:
  static constexpr base::Duration kRest = base::seconds(0.8);
  using OnStateChange =
      std::function<void(const platform::Screen&, const model::ScreenObservation&)>;

  /// `mayLook`: asked before each look; what was allowed as a signal came may no longer be.
  ScreenStateTracker(base::Executor& main, const platform::Clock& clock,
                     const screens::ScrollObserver& scrolling, screens::ScreenObserver& observer,
                     std::function<bool()> mayLook, OnStateChange onStateChange);

  /// The screen has been told of as it came into sight, mostly before it is at rest: the next look
  /// tells of it again only when it is in another state by then.
  void appeared(const platform::Screen& screen, model::ScreenState state);
  /// Views of a screen in sight have come, gone or changed. What moves while the user scrolls
  /// doesn't count. The first look at a screen that was not told of only remembers its shape.
  void layoutChanged(const platform::Screen& screen);

  /// Screens that are remembered; some may have died a short while ago.
  std::size_t rememberedCount() const { return memory_.size(); }

 private:
  struct Memory {
    bool isSystem = false;
    bool isPending = false;
    base::Duration dueAt{};
    std::optional<std::uint64_t> lastHash = std::nullopt;
    std::optional<model::ScreenState> toldState = std::nullopt;  // since the last look
  };
  Memory& remembered(const platform::Screen& screen);
  void checkAfter(base::Duration delay, std::uint64_t id);
  void check(std::uint64_t id);
  void look(const platform::Screen& screen, std::uint64_t id);

  // Constant after construction.
  base::Executor& main_;
  const platform::Clock& clock_;
  const screens::ScrollObserver& scrolling_;
  screens::ScreenObserver& observer_;
  const std::function<bool()> mayLook_;
  const OnStateChange onStateChange_;

  ScreenMemory<Memory> memory_;
  base::TextArena arena_;
  base::Scope scope_;
};

}  // namespace zarn::capture
