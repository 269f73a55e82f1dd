#include "qt/request_hook.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTest>
#include <QThread>
#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "qt/app_events.h"
#include "support/loopback_server.h"
#include "zarn/qt.h"

namespace zarn::qt {
namespace {

using testing::LoopbackAnswer;

struct Seen {
  std::string url, method;
  std::int64_t sent = 0;
  base::Duration age;
  std::optional<platform::RequestEnd> end;
};

/// Keeps what it is told; the process has one hook, and so one watcher.
class Watcher final : public platform::RequestWatcher {
 public:
  std::unique_ptr<platform::WatchedRequest> started(const platform::RequestStart& start,
                                                    const NetworkTask&) override {
    const std::lock_guard lock(mutex_);
    seen_.push_back({std::string(start.url), std::string(start.method), start.bodyBytes, start.age,
                     std::nullopt});
    return std::make_unique<Request>(*this, seen_.size() - 1);
  }
  std::vector<Seen> seen() {
    const std::lock_guard lock(mutex_);
    return seen_;
  }
  bool hasEnded(std::size_t count) {
    const std::lock_guard lock(mutex_);
    return count <= static_cast<std::size_t>(std::count_if(
                        seen_.begin(), seen_.end(), [](const Seen& one) { return one.end; }));
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    seen_.clear();
  }

 private:
  class Request final : public platform::WatchedRequest {
   public:
    Request(Watcher& watcher, std::size_t at) : watcher_(watcher), at_(at) {}
    void ended(const platform::RequestEnd& end) override {
      const std::lock_guard lock(watcher_.mutex_);
      watcher_.seen_.at(at_).end = end;
    }

   private:
    Watcher& watcher_;
    const std::size_t at_;
  };

  std::mutex mutex_;
  std::vector<Seen> seen_;
};

class RequestHookTest : public ::testing::Test {
 protected:
  RequestHookTest() {
    static const auto only = [] {
      auto watcher = std::make_shared<Watcher>();
      QtRequestHook::shared().install(watcher);
      return watcher;
    }();
    watcher_ = only;
    watcher_->clear();
    events_.install({.windowsChanging = [] {},
                     .opened = [](const QUrl&) {},
                     .madeByManager =
                         [](QNetworkAccessManager& manager, QObject& made) {
                           QtRequestHook::shared().madeByManager(manager, made);
                         }});
  }

  QNetworkRequest request(const char* path) {
    return QNetworkRequest(QUrl(QString::fromStdString(server_.url(path))));
  }
  bool waitForEnds(std::size_t count) {
    return QTest::qWaitFor([&] { return watcher_->hasEnded(count); }, 10000);
  }

  testing::LoopbackServer server_;
  std::shared_ptr<Watcher> watcher_;
  AppEvents events_;
};

TEST_F(RequestHookTest, SeesRequestsOfAnyManagerOfItsThread) {
  server_.answerWith({.body = std::string(5000, 'x')});
  QNetworkAccessManager manager;  // nobody's child, and nobody needs to tell of it
  observe(manager);
  manager.get(request("/orders/7?user=ida"));
  QNetworkRequest typed = request("/orders");
  typed.setHeader(QNetworkRequest::ContentTypeHeader, "text/plain");
  typed.setHeader(QNetworkRequest::ContentLengthHeader, 4);
  manager.post(typed, "four");
  manager.sendCustomRequest(request("/notes"), "PATCH", QByteArray("{}"));
  ASSERT_TRUE(waitForEnds(3));
  const auto seen = watcher_->seen();
  ASSERT_EQ(seen.size(), 3U);
  EXPECT_EQ(seen[0].url, server_.url("/orders/7")) << "a query is nothing to look at";
  EXPECT_EQ(seen[0].method, "GET");
  EXPECT_EQ(seen[0].end->status, 200);
  EXPECT_FALSE(seen[0].end->hasError);
  EXPECT_EQ(seen[0].end->receivedBytes, 5000);
  EXPECT_GT(seen[0].age.count(), 0);
  EXPECT_EQ(seen[1].method, "POST");
  EXPECT_EQ(seen[1].sent, 4);
  EXPECT_EQ(seen[2].method, "PATCH");
}

TEST_F(RequestHookTest, FailuresRedirectsAndRepliesThatAreDropped) {
  QNetworkAccessManager manager;
  server_.answerNext({.kind = LoopbackAnswer::Kind::closeAfter, .status = 503});
  manager.get(request("/busy"));
  ASSERT_TRUE(waitForEnds(1));
  EXPECT_EQ(watcher_->seen()[0].end->status, 503);

  server_.answerNext({.status = 302, .headers = {{"Location", "/new"}}});
  manager.get(request("/old"));
  ASSERT_TRUE(waitForEnds(2));
  EXPECT_EQ(watcher_->seen()[1].url, server_.url("/old"));
  EXPECT_EQ(watcher_->seen()[1].end->status, 200);

  manager.get(QNetworkRequest(QUrl("http://127.0.0.1:9/nobody")));
  ASSERT_TRUE(waitForEnds(3));
  EXPECT_FALSE(watcher_->seen()[2].end->status);
  EXPECT_TRUE(watcher_->seen()[2].end->hasError);

  server_.answerNext({.kind = LoopbackAnswer::Kind::hang});
  QNetworkReply* const dropped = manager.get(request("/slow"));
  QCoreApplication::processEvents();
  delete dropped;
  delete manager.get(request("/never"));
  manager.get(QNetworkRequest(QUrl("data:,hello")));
  QCoreApplication::processEvents();
  const auto seen = watcher_->seen();
  ASSERT_EQ(seen.size(), 4U);
  EXPECT_FALSE(seen[3].end);
}

TEST_F(RequestHookTest, ManagersOfOtherThreadsAreSeenWhenTheAppAsksForIt) {
  QThread thread;
  thread.start();
  auto* const manager = new QNetworkAccessManager;
  manager->moveToThread(&thread);
  QObject::connect(&thread, &QThread::finished, manager, &QObject::deleteLater);
  QMetaObject::invokeMethod(manager, [&] {
    observe(*manager);
    observe(*manager);
    manager->get(request("/elsewhere"));
  });
  ASSERT_TRUE(waitForEnds(1));
  EXPECT_EQ(watcher_->seen().size(), 1U);
  thread.quit();
  thread.wait();
}

}  // namespace
}  // namespace zarn::qt
