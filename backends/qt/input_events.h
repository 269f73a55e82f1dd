// InputEvents inside a Qt app: an event filter of the application that looks at what windows get
// and passes everything on.
#pragma once

#include <QPointer>

#include "platform/input_events.h"

namespace zarn::qt {

class InputHooks;

class QtInputEvents final : public platform::InputEvents {
 public:
  QtInputEvents();
  ~QtInputEvents() override;
  /// Takes the hooks out of the app. Thread of the user interface.
  void end();

  void listen(platform::InputListener listener) override;
  platform::View hitTest(const platform::View& window, base::Point location) override;

 private:
  QPointer<InputHooks> hooks_;  // gone once the application is
};

}  // namespace zarn::qt
