// ScreenEvents inside a Qt app. No toolkit of Qt's tells that "a screen has appeared": it is found
// by a look at the screens in sight, which is taken at most ten times a second and only after a
// frame was drawn, a window has come, gone or got the keys, or a known container has changed.
// While nothing is drawn nothing runs.
//
// The screen in sight is that of the window in front: the one with the keys, or the last that had
// them. It appears when it is another one than before and whatever led to it has ended. Where it
// is another one only because a tab was selected and somebody observes that selection, the
// observer is told instead, so that one arrival is told once.
#pragma once

#include <QPointer>

#include "platform/screen_events.h"

namespace zarn::qt {

class ScreenHooks;

class QtScreenEvents final : public platform::ScreenEvents {
 public:
  QtScreenEvents();
  ~QtScreenEvents() override;
  /// Takes the hooks out of the app. Thread of the user interface.
  void end();

  void listen(platform::ScreenListener listener) override;
  std::unique_ptr<platform::Observation> observeSelection(
      const platform::Screen& tabs,
      std::function<void(std::optional<int>, std::optional<int>)> changed) override;

 private:
  ScreenHooks* hooks();

  QPointer<ScreenHooks> hooks_;  // gone once the application is
};

}  // namespace zarn::qt
