// TabBarObserver: watches tabs, since a change of tab need not make a screen appear.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "base/weakly.h"
#include "capture/screen_memory.h"

namespace zarn::platform {
class Observation;
class ScreenEvents;
class Windows;
}  // namespace zarn::platform

namespace zarn::capture {

/// Main thread, its end included.
class TabBarObserver {
 public:
  /// `selected`: what the tab that has come to the front holds; `leaf`: what is seen of it.
  using OnTabChange =
      std::function<void(const platform::Screen& tabs, const platform::Screen& selected,
                         const platform::Screen& leaf)>;
  TabBarObserver(platform::Windows& windows, platform::ScreenEvents& events,
                 OnTabChange onTabChange);
  ~TabBarObserver();

  void scanExistingWindows();
  /// Scans again whenever another window gets the keys. Once.
  void startObservingWindows();
  /// Finds the tabs that a screen lies in, which may have come since the last scan.
  void observeAround(const platform::Screen& screen);

  /// Tabs that are watched; some may have died a short while ago.
  std::size_t observedCount() const { return observed_.size(); }

 private:
  using Selection = std::unique_ptr<platform::Observation>;
  void observeTree(const platform::Screen& screen, int depth, int& budget);
  void observe(const platform::Screen& tabs);
  void tabChanged(std::uint64_t id);

  // Constant after construction.
  platform::Windows& windows_;
  platform::ScreenEvents& events_;
  const OnTabChange onTabChange_;

  ScreenMemory<Selection> observed_;
  base::Scope scope_;
};

}  // namespace zarn::capture
