// What happens to screens, as the toolkit tells it.
#pragma once

#include <functional>
#include <memory>

#include "platform/screen.h"

namespace zarn::platform {

/// On the main thread, after the toolkit's own work is done, and never from inside a question that
/// a view or screen is asked. Empty closures are not called.
struct ScreenListener {
  /// A screen has come into sight: its view is loaded, and what led to it has ended.
  std::function<void(const Screen&)> appeared;
  /// Views of a screen in sight have come, gone or changed their size. May come in storms.
  std::function<void(const Screen&)> laidOut;
};

/// Ends what it stands for when it dies. Main thread.
class Observation {
 public:
  virtual ~Observation() = default;
};

/// Main thread.
class ScreenEvents {
 public:
  virtual ~ScreenEvents() = default;
  /// Adds a listener for the life of the process. The first one puts the hooks in place: without
  /// any, the toolkit is not touched. Screens in sight already are told of soon.
  virtual void listen(ScreenListener listener) = 0;
  /// Calls `changed` with the former and the new index when the selection of a screen of kind
  /// `tabs` changes.
  virtual std::unique_ptr<Observation> observeSelection(
      const Screen& tabs, std::function<void(std::optional<int>, std::optional<int>)> changed) = 0;
};

}  // namespace zarn::platform
