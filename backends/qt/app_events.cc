#include "qt/app_events.h"

#include <QCoreApplication>
#include <QFileOpenEvent>
#include <QNetworkAccessManager>
#include <utility>

#include "base/fork_guard.h"

namespace zarn::qt {

void AppEvents::install(AppEventHandlers handlers) {
  QCoreApplication* const app = QCoreApplication::instance();
  if (app == nullptr) return;
  handlers_ = std::move(handlers);
  app->installEventFilter(this);
}

bool AppEvents::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::WindowStateChange:
      if (watched->isWindowType() && !base::inForkedChild()) handlers_.windowsChanging();
      break;
    case QEvent::FileOpen:
      if (watched == QCoreApplication::instance() && !base::inForkedChild()) {
        handlers_.opened(static_cast<QFileOpenEvent*>(event)->url());
      }
      break;
    case QEvent::ChildAdded:
      if (auto* manager = qobject_cast<QNetworkAccessManager*>(watched)) {
        if (base::inForkedChild()) break;
        handlers_.madeByManager(*manager, *static_cast<QChildEvent*>(event)->child());
      }
      break;
    default:
      break;
  }
  return false;
}

}  // namespace zarn::qt
