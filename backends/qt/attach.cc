#include <QGuiApplication>
#include <QPointer>
#include <QThread>
#include <atomic>

#include "base/fork_guard.h"
#include "platform/host.h"
#include "platform/log.h"
#include "qt/gui_thread.h"
#include "qt/host.h"
#include "qt/qml_module.h"
#include "qt/request_hook.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

/// What attach has begun, for as long as the process lives.
struct Attachment {
  QPointer<QGuiApplication> app;
  MainExecutor main;
  std::atomic<QtHost*> host = nullptr;
};

/// Null before attach.
std::atomic<Attachment*> attachment = nullptr;

void endLoop(Attachment& attached, bool mayRun) {
  if (base::inForkedChild()) return;
  // What waits belongs to the app's life still.
  attached.main.endLoop(mayRun);
  forgetGuiThread();
  if (QtHost* const host = attached.host.load()) host->end();
}

/// Once, when the library first needs its host. Any thread.
platform::Host& extendHost(platform::Host& plain) {
  Attachment& attached = *attachment.load();
  attached.main.continueOn(plain.dispatch.main());
  QtHost& host = *new QtHost(plain, attached.main);
  attached.host.store(&host);
  const auto follow = [&attached, &host] {
    if (onGuiThread() && attached.app) host.follow(*attached.app);
  };
  if (onGuiThread()) {
    follow();
  } else {
    attached.main.post(follow);
  }
  return host.services();
}

void attachTo(QGuiApplication& app) {
  if (app.thread() != QThread::currentThread()) {
    return qWarning("[Zarn] attach has no effect on another thread than the app's");
  }
  if (attachment.load() != nullptr) return qWarning("[Zarn] attach had been called before");
  auto* const attached = new Attachment{.app = &app, .main = {}, .host = {}};
  attachment.store(attached);
  noteGuiThread();
  base::watchForks();
  if (!platform::extendProcessHost(extendHost)) {
    return qWarning("[Zarn] attach came too late: call it before Zarn::configure");
  }
  registerQmlModule();
  QObject::connect(&app, &QCoreApplication::aboutToQuit, [attached] { endLoop(*attached, true); });
  // Without a loop that ended, the windows may be gone already.
  QObject::connect(&app, &QObject::destroyed, [attached] { endLoop(*attached, false); });
}

}  // namespace

inline namespace ZARN_VERSION_NAMESPACE {

void attach(QGuiApplication& app) noexcept {
  if (base::inForkedChild()) return;
  try {
    attachTo(app);
  } catch (...) {  // out of memory, at most
  }
}

void observe(QNetworkAccessManager& manager) noexcept {
  if (base::inForkedChild()) return;
  try {
    QtRequestHook::shared().observe(manager);
  } catch (...) {  // out of memory, at most: its requests are not counted
  }
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::qt
