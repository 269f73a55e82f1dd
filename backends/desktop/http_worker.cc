#include "desktop/http_worker.h"

#include <algorithm>
#include <climits>

#include "desktop/curl_descriptors.h"
#include "desktop/path_source.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kSpareHandles = 4;
constexpr base::Duration kLongest = std::chrono::hours(24);
constexpr long kKeptConnections = 8;

platform::HttpFailure failure(const char* reason) {
  return platform::HttpFailure{reason};
}

}  // namespace

HttpWorker::HttpWorker(PathSource& paths, ProxySettings proxies)
    : paths_(paths), proxies_(std::move(proxies)) {}

HttpWorker::~HttpWorker() = default;

platform::HttpTaskId HttpWorker::start(platform::HttpRequest request, base::SerialQueue& queue,
                                       platform::HttpClient::Completion completion) {
  const Instant deadline = std::chrono::steady_clock::now() +
                           std::clamp(request.timeout, base::Duration::zero(), kLongest);
  base::MutexLock lock(mutex_);
  const platform::HttpTaskId id = ++lastId_;
  Task task{.transfer = std::make_unique<HttpTransfer>(id, std::move(request), queue,
                                                       std::move(completion)),
            .deadline = deadline};
  if (stopping_ || !ensureThread()) {
    task.transfer->complete(failure("the network is shut down"));
    return id;
  }
  inbox_.push_back({.task = std::move(task)});
  wake();
  return id;
}

void HttpWorker::cancel(platform::HttpTaskId id) {
  base::MutexLock lock(mutex_);
  if (!running_) return;
  inbox_.push_back({.id = id});
  wake();
}

void HttpWorker::stop(base::Duration patience) {
  Thread thread;
  {
    base::MutexLock lock(mutex_);
    stopping_ = true;
    if (running_) wake();
    thread = std::move(thread_);
  }
  thread.join(patience);
}

bool HttpWorker::ensureThread() {
  if (running_) return true;
  // Half a millisecond, once, on the thread of the first request, which may be the host's. Not on
  // the network thread: a host that forks meanwhile would give its child an OpenSSL that stays half
  // initialised for ever.
  static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (initialised != CURLE_OK) return false;
  multi_ = curl_multi_init();
  if (!multi_) return false;
  curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, kKeptConnections);
  thread_ = Thread::start("zarn-network", [self = shared_from_this()] { self->run(); });
  if (!thread_) {
    curl_multi_cleanup(multi_);
    return false;
  }
  running_ = awake_ = true;
  return true;
}

void HttpWorker::wake() {
  if (!awake_) curl_multi_wakeup(multi_);
  awake_ = true;
}

void HttpWorker::pathChanged() {
  base::MutexLock lock(mutex_);
  if (!running_) return;
  pathChanged_ = true;
  wake();
}

void HttpWorker::run() {
  closeWakeupSocketsOnExec(multi_);
  while (takeCommands()) {
    serveWaiting();
    int running = 0;
    curl_multi_perform(multi_, &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
      if (message->msg == CURLMSG_DONE) attemptEnded(message->easy_handle, message->data.result);
    }
    if (mayLieDown()) curl_multi_poll(multi_, nullptr, 0, pollMilliseconds(), nullptr);
  }
  shutDown();
}

bool HttpWorker::mayLieDown() {
  base::MutexLock lock(mutex_);
  awake_ = stopping_ || pathChanged_ || !inbox_.empty();
  return !awake_;
}

bool HttpWorker::takeCommands() {
  std::vector<Command> commands;
  bool pathHasChanged = false;
  {
    base::MutexLock lock(mutex_);
    awake_ = true;
    if (stopping_) return false;
    commands.swap(inbox_);
    pathHasChanged = std::exchange(pathChanged_, false);
  }
  for (Command& command : commands) {
    if (command.task.transfer) {
      admit(std::move(command.task));
    } else {
      abandon(command.id, "the request was cancelled");
    }
  }
  if (pathHasChanged) {
    for (auto& [id, task] : tasks_) {
      if (task.retryAt) task.retryAt = Instant::min();
    }
  }
  return true;
}

void HttpWorker::admit(Task task) {
  if (auto refused = task.transfer->check()) {
    task.transfer->complete(std::move(*refused));
    return;
  }
  const platform::HttpTaskId id = task.transfer->id();
  const auto place = tasks_.emplace(id, std::move(task)).first;
  attempt(place->second, std::chrono::steady_clock::now());
}

void HttpWorker::attempt(Task& task, Instant now) {
  if (task.retryAt) {
    task.retryAt.reset();
    --waiting_;
  }
  const auto place = tasks_.find(task.transfer->id());
  if (now >= task.deadline) {
    finish(place, failure("timed out"));
    return;
  }
  EasyHandle easy;
  if (spare_.empty()) {
    easy.reset(curl_easy_init());
  } else {
    easy = std::move(spare_.back());
    spare_.pop_back();
  }
  if (!easy) {
    finish(place, failure("out of memory"));
    return;
  }
  ++task.attempts;
  task.transfer->begin(std::move(easy), proxies_, task.deadline - now);
  if (curl_multi_add_handle(multi_, task.transfer->easy()) != CURLM_OK) {
    finish(place, failure("out of memory"));
  }
}

void HttpWorker::attemptEnded(CURL* easy, CURLcode code) {
  void* owner = nullptr;
  curl_easy_getinfo(easy, CURLINFO_PRIVATE, &owner);
  const auto place = tasks_.find(static_cast<HttpTransfer*>(owner)->id());
  HttpTransfer& transfer = *place->second.transfer;
  if (code != CURLE_OK && transfer.waitsForConnectivity()) {
    const auto path = paths_.current();
    if (meansNoNetwork(transfer.errorOf(code), path && !path->satisfied)) {
      release(place->second);
      waitForNetwork(place->second);
      return;
    }
  }
  finish(place, transfer.resultOf(code));
}

void HttpWorker::waitForNetwork(Task& task) {
  task.retryAt = std::chrono::steady_clock::now() + connectivityRetryDelay(task.attempts);
  ++waiting_;
  if (observesPath_) return;
  observesPath_ = true;
  paths_.observe([self = weak_from_this()] {
    if (const auto worker = self.lock()) worker->pathChanged();
  });
}

void HttpWorker::serveWaiting() {
  if (waiting_ == 0) return;
  const Instant now = std::chrono::steady_clock::now();
  std::vector<platform::HttpTaskId> due;
  for (const auto& [id, task] : tasks_) {
    if (task.retryAt && now >= std::min(*task.retryAt, task.deadline)) due.push_back(id);
  }
  for (const auto id : due) attempt(tasks_.at(id), now);
}

void HttpWorker::abandon(platform::HttpTaskId id, const char* reason) {
  const auto place = tasks_.find(id);
  if (place != tasks_.end()) finish(place, failure(reason));
}

void HttpWorker::finish(Tasks::iterator place, platform::HttpResult result) {
  const Task task = std::move(place->second);
  tasks_.erase(place);
  if (task.retryAt) --waiting_;
  release(task);
  task.transfer->complete(std::move(result));
}

void HttpWorker::release(const Task& task) {
  if (!task.transfer->easy()) return;
  curl_multi_remove_handle(multi_, task.transfer->easy());
  EasyHandle easy = task.transfer->end();
  if (spare_.size() < kSpareHandles) spare_.push_back(std::move(easy));
}

int HttpWorker::pollMilliseconds() const {
  if (waiting_ == 0) return INT_MAX;
  Instant next = Instant::max();
  for (const auto& [id, task] : tasks_) {
    if (task.retryAt) next = std::min({next, *task.retryAt, task.deadline});
  }
  const auto wait = next - std::chrono::steady_clock::now();
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
  return static_cast<int>(std::clamp<std::int64_t>(milliseconds, 0, INT_MAX));
}

void HttpWorker::shutDown() {
  if (observesPath_) paths_.observe(nullptr);
  while (!tasks_.empty()) finish(tasks_.begin(), failure("the network is shut down"));
  spare_.clear();
  curl_multi_cleanup(multi_);
  base::MutexLock lock(mutex_);
  for (Command& command : inbox_) {
    if (command.task.transfer) command.task.transfer->complete(failure("the network is shut down"));
  }
  inbox_.clear();
  multi_ = nullptr;
  running_ = false;
}

}  // namespace zarn::desktop
