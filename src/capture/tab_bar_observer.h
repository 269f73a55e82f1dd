// TabBarObserver: watches tabs, since a change of tab need not make a screen appear.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/weakly.h"
#include "capture/screen_memory.h"

namespace zarn::platform {
class Observation;
class ScreenEvents;
class Windows;
}  // namespace zarn::platform
namespace zarn::screens {
class ScreenNaming;
}

namespace zarn::capture {

/// Main thread, its end included.
class TabBarObserver {
 public:
  /// `leaf`: the screen that is seen in the tab that has come to the front.
  using Handler = std::function<void(const platform::Screen& leaf, const std::string& name,
                                     const std::string& className)>;
  /// `isRecent`: whether a screen of this name was told a moment ago.
  TabBarObserver(platform::Windows& windows, platform::ScreenEvents& events,
                 screens::ScreenNaming& naming, std::function<bool(std::string_view name)> isRecent,
                 Handler handler);
  ~TabBarObserver();

  void scanExistingWindows();
  /// Scans again whenever another window gets the keys. Once.
  void startObservingWindows();
  /// Finds the tabs that a screen lies in, which may have come since the last scan.
  void observeAround(const platform::Screen& screen);

  /// Tabs that are watched, or were before they died a short while ago.
  std::size_t observedCount() const { return observed_.size(); }

 private:
  using Tabs = std::unique_ptr<platform::Observation>;
  void observeTree(const platform::Screen& screen, int depth, int& budget);
  void observe(const platform::Screen& tabs);
  void tabChanged(const platform::Screen& tabs);

  // Constant after construction.
  platform::Windows& windows_;
  platform::ScreenEvents& events_;
  screens::ScreenNaming& naming_;
  const std::function<bool(std::string_view)> isRecent_;
  const Handler handler_;

  ScreenMemory<Tabs> observed_;
  base::Scope scope_;
};

}  // namespace zarn::capture
