#include "qt/request_hook.h"

#include <QChildEvent>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <optional>

#include "base/fork_guard.h"

namespace zarn::qt {
namespace {

/// Watches one manager of another thread.
class ManagerWatch final : public QObject {
 public:
  explicit ManagerWatch(QNetworkAccessManager& manager) : QObject(&manager) {
    manager.installEventFilter(this);
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::ChildAdded || base::inForkedChild()) return false;
    if (auto* manager = qobject_cast<QNetworkAccessManager*>(watched)) {
      QtRequestHook::shared().madeByManager(*manager, *static_cast<QChildEvent*>(event)->child());
    }
    return false;
  }
};

QByteArray methodOf(const QNetworkReply& reply) {
  switch (reply.operation()) {
    case QNetworkAccessManager::HeadOperation:
      return "HEAD";
    case QNetworkAccessManager::GetOperation:
      return "GET";
    case QNetworkAccessManager::PutOperation:
      return "PUT";
    case QNetworkAccessManager::PostOperation:
      return "POST";
    case QNetworkAccessManager::DeleteOperation:
      return "DELETE";
    default:
      return reply.request().attribute(QNetworkRequest::CustomVerbAttribute).toByteArray();
  }
}

/// What is known of a reply between its beginning and its end.
struct ReplyWatch {
  std::unique_ptr<platform::WatchedRequest> request;
  qint64 received = 0;

  void ended(const QNetworkReply& reply) {
    if (!request || base::inForkedChild()) return;
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const qint64 announced = reply.header(QNetworkRequest::ContentLengthHeader).toLongLong();
    request->ended({.status = status.isValid() ? std::optional(status.toInt()) : std::nullopt,
                    .hasError = reply.error() != QNetworkReply::NoError,
                    .receivedBytes = received > 0 || status.isNull()
                                         ? received
                                         : std::max<qint64>(announced, 0)});
    request = nullptr;
  }
};

void watch(platform::RequestWatcher& watcher, QNetworkReply& reply, base::Duration age) {
  const QNetworkRequest request = reply.request();
  const QString scheme = request.url().scheme();
  if (scheme != QLatin1String("http") && scheme != QLatin1String("https")) return;
  const QByteArray url = request.url().toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveQuery);
  const QByteArray method = methodOf(reply);
  const qint64 sent = request.header(QNetworkRequest::ContentLengthHeader).toLongLong();
  auto state = std::make_shared<ReplyWatch>();
  state->request =
      watcher.started({.url = {url.data(), static_cast<std::size_t>(url.size())},
                       .method = {method.data(), static_cast<std::size_t>(method.size())},
                       .bodyBytes = sent,
                       .age = age},
                      NetworkTask());
  if (!state->request) return;
  if (reply.isFinished()) return state->ended(reply);
  QObject::connect(&reply, &QNetworkReply::downloadProgress, &reply,
                   [state](qint64 received, qint64) { state->received = received; });
  QObject::connect(&reply, &QNetworkReply::finished, &reply,
                   [state, &reply] { state->ended(reply); });
}

}  // namespace

QtRequestHook& QtRequestHook::shared() {
  static QtRequestHook* const only = new QtRequestHook;
  return *only;
}

bool QtRequestHook::install(std::shared_ptr<platform::RequestWatcher> watcher) {
  watcher_.store(new std::shared_ptr<platform::RequestWatcher>(std::move(watcher)),
                 std::memory_order_release);
  return true;
}

void QtRequestHook::madeByManager(QNetworkAccessManager& manager, QObject& made) {
  if (watcher_.load(std::memory_order_acquire) == nullptr) return;
  QElapsedTimer sinceStart;
  sinceStart.start();
  // What it is can't be told before its constructor is through.
  QMetaObject::invokeMethod(
      &manager,
      [this, sinceStart, made = QPointer<QObject>(&made)] {
        auto* reply = qobject_cast<QNetworkReply*>(made.data());
        if (reply == nullptr || base::inForkedChild()) return;
        watch(**watcher_.load(std::memory_order_acquire), *reply,
              std::chrono::nanoseconds(sinceStart.nsecsElapsed()));
      },
      Qt::QueuedConnection);
}

void QtRequestHook::observe(QNetworkAccessManager& manager) {
  if (manager.thread() != QThread::currentThread()) return;
  // AppEvents sees those of the app's thread, also when it comes later.
  const QCoreApplication* const app = QCoreApplication::instance();
  if (app != nullptr && app->thread() == manager.thread()) return;
  const auto& children = manager.children();
  const bool isWatched = std::any_of(children.begin(), children.end(), [](QObject* child) {
    return dynamic_cast<ManagerWatch*>(child) != nullptr;
  });
  if (!isWatched) new ManagerWatch(manager);  // dies with the manager
}

}  // namespace zarn::qt
