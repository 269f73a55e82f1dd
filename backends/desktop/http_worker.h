// The network thread of an HTTP client and what other threads hand to it.
//
//   a transfer   new -> attempt -> completed
//                       attempt -> waiting (no network, time left) -> attempt
//
// Shared by the client and its thread, so that a thread that can't be stopped in time finds its
// state alive.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "base/mutex.h"
#include "desktop/http_client.h"
#include "desktop/http_transfer.h"
#include "desktop/thread.h"

namespace zarn::desktop {

class HttpWorker : public std::enable_shared_from_this<HttpWorker> {
 public:
  HttpWorker(PathSource& paths, ProxySettings proxies);
  ~HttpWorker();
  HttpWorker(const HttpWorker&) = delete;
  HttpWorker& operator=(const HttpWorker&) = delete;

  // Any thread.
  platform::HttpTaskId start(platform::HttpRequest request, base::SerialQueue& queue,
                             platform::HttpClient::Completion completion);
  void cancel(platform::HttpTaskId id);
  void stop(base::Duration patience);

 private:
  using Instant = std::chrono::steady_clock::time_point;
  struct Task {
    std::unique_ptr<HttpTransfer> transfer;
    Instant deadline;
    int attempts = 0;
    std::optional<Instant> retryAt;  // set while it waits for the network
  };
  using Tasks = std::unordered_map<platform::HttpTaskId, Task>;
  /// A new task, or the id of one to cancel.
  struct Command {
    platform::HttpTaskId id = 0;
    Task task;
  };

  bool ensureThread() ZARN_REQUIRES(mutex_);
  void wake() ZARN_REQUIRES(mutex_);
  void pathChanged();

  // The network thread.
  void run();
  bool takeCommands();
  bool mayLieDown();
  void admit(Task task);
  void attempt(Task& task, Instant now);
  void attemptEnded(CURL* easy, CURLcode code);
  void waitForNetwork(Task& task);
  void serveWaiting();
  void abandon(platform::HttpTaskId id, const char* reason);
  void finish(Tasks::iterator task, platform::HttpResult result);
  void release(const Task& task);
  void shutDown();
  int pollMilliseconds() const;

  PathSource& paths_;
  const ProxySettings proxies_;

  base::Mutex mutex_{base::LockRank::leaf};
  std::vector<Command> inbox_ ZARN_GUARDED_BY(mutex_);
  platform::HttpTaskId lastId_ ZARN_GUARDED_BY(mutex_) = 0;
  bool pathChanged_ ZARN_GUARDED_BY(mutex_) = false;
  bool awake_ ZARN_GUARDED_BY(mutex_) = false;  // will look into the inbox without being woken
  bool stopping_ ZARN_GUARDED_BY(mutex_) = false;
  bool running_ ZARN_GUARDED_BY(mutex_) = false;
  Thread thread_ ZARN_GUARDED_BY(mutex_);

  CURLM* multi_ = nullptr;  // made before the thread, gone after `running_` was unset

  // The network thread's own.
  Tasks tasks_;
  std::vector<EasyHandle> spare_;
  std::size_t waiting_ = 0;
  bool observesPath_ = false;
};

}  // namespace zarn::desktop
