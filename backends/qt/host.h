// The host inside a Qt app: the plain one, with services in its place that Qt does better.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/dispatch.h"
#include "platform/host.h"
#include "qt/app_events.h"
#include "qt/clipboard.h"
#include "qt/image_codec.h"
#include "qt/input_events.h"
#include "qt/life_events.h"
#include "qt/main_executor.h"
#include "qt/screen_events.h"
#include "qt/url_opener.h"
#include "qt/windows.h"

class QGuiApplication;

namespace zarn::qt {

/// The plain host's pool and threads, and the loop of the user interface.
class QtDispatch final : public platform::Dispatch {
 public:
  QtDispatch(platform::Dispatch& plain, base::Executor& main) : plain_(plain), main_(main) {}
  base::Executor& pool() override { return plain_.pool(); }
  base::Executor& main() override { return main_; }
  std::unique_ptr<base::Executor> makeThread(std::string name) override {
    return plain_.makeThread(std::move(name));
  }

 private:
  platform::Dispatch& plain_;
  base::Executor& main_;
};

/// In the order in which they need each other. Lives as long as the process.
class QtHost {
 public:
  /// Any thread.
  QtHost(platform::Host& plain, MainExecutor& main);

  platform::Host& services() { return services_; }
  /// Looks at the app's events from now on. Thread of the user interface.
  void follow(QGuiApplication& app);
  /// The loop has ended: the app is left alone from now on, and its end is told. Thread of the user
  /// interface.
  void end();

 private:
  QtDispatch dispatch_;
  QtLifeEvents life_;
  QtClipboard clipboard_;
  QtUrlOpener opener_;
  QtScreenEvents screens_;
  QtWindows windows_;
  QtInputEvents input_;
  QtImageCodec images_;
  std::unique_ptr<AppEvents> events_;  // lives on the thread of the user interface
  platform::Host services_;
};

}  // namespace zarn::qt
