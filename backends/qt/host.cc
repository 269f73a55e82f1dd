#include "qt/host.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QWidget>

#include "qt/links.h"
#include "qt/request_hook.h"
#include "qt/screens.h"

namespace zarn::qt {
namespace {

template <typename Window>
platform::Screen rootScreenOf(Window& window) {
  const ScreenRef root = rootOf(window);
  return root ? root.screen() : platform::Screen();
}

}  // namespace

QtHost::QtHost(platform::Host& plain, MainExecutor& main)
    : dispatch_(plain.dispatch, main),
      life_(plain.life, main),
      clipboard_(main),
      opener_(main, plain.opener),
      windows_({.ofQuick = rootScreenOf<QQuickWindow>, .ofWidget = rootScreenOf<QWidget>}),
      services_{dispatch_,
                plain.clock,
                plain.random,
                plain.log,
                plain.environment,
                plain.files,
                plain.defaults,
                plain.secrets,
                plain.crypto,
                plain.device,
                plain.paths,
                life_,
                plain.http,
                plain.names,
                QtRequestHook::shared(),
                plain.diagnostics,
                plain.notifications,
                clipboard_,
                plain.receipt,
                plain.adNetwork,
                opener_,
                screens_,
                windows_,
                input_,
                images_} {}

void QtHost::follow(QGuiApplication& app) {
  events_ = std::make_unique<AppEvents>();
  QObject::connect(&app, &QGuiApplication::applicationStateChanged, events_.get(),
                   [this] { life_.changing(); });
  events_->install({.windowsChanging = [this] { life_.changing(); },
                    .opened = handleOpened,
                    .madeByManager =
                        [](QNetworkAccessManager& manager, QObject& made) {
                          QtRequestHook::shared().madeByManager(manager, made);
                        }});
  life_.changing();
}

void QtHost::end() {
  // Should the app run its loop again, what they tell would meet tasks that run on another thread.
  screens_.end();
  input_.end();
  life_.terminate();
}

}  // namespace zarn::qt
