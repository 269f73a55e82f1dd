#include "support/scripted_http.h"

#include <algorithm>
#include <stdexcept>

namespace zarn::testing {

std::string joined(const std::vector<std::shared_ptr<const std::string>>& pieces) {
  std::string whole;
  for (const auto& piece : pieces) whole += *piece;
  return whole;
}

namespace {

/// Whether the address, without its query, ends so.
bool isTo(std::string_view path, const std::string& url) {
  return std::string_view(url).substr(0, url.find('?')).ends_with(path);
}

}  // namespace

platform::HttpTaskId ScriptedHttp::start(platform::HttpRequest request, base::SerialQueue& queue,
                                         Completion completion) {
  base::MutexLock lock(mutex_);
  urls_.push_back(request.url);
  waiting_.push_back({++lastId_, std::move(request), queue.poster(), std::move(completion)});
  return lastId_;
}

void ScriptedHttp::cancel(platform::HttpTaskId id) {
  base::MutexLock lock(mutex_);
  const auto found = std::find_if(waiting_.begin(), waiting_.end(),
                                  [&](const Waiting& waiting) { return waiting.id == id; });
  if (found == waiting_.end()) return;
  ++cancelled_;
  finish(found, platform::HttpFailure{"cancelled"});
}

// Only a posting of the answer happens here, so nothing of the code under test runs inside.
void ScriptedHttp::finish(std::deque<Waiting>::iterator which, platform::HttpResult result) {
  which->queue.async([completion = std::move(which->completion),
                      result = std::move(result)]() mutable { completion(std::move(result)); });
  waiting_.erase(which);
}

std::size_t ScriptedHttp::waitingCount() const {
  base::MutexLock lock(mutex_);
  return waiting_.size();
}

int ScriptedHttp::countOf(std::string_view path) const {
  base::MutexLock lock(mutex_);
  return static_cast<int>(
      std::count_if(urls_.begin(), urls_.end(), [&](const auto& url) { return isTo(path, url); }));
}

platform::HttpRequest ScriptedHttp::nextRequest() const {
  base::MutexLock lock(mutex_);
  if (waiting_.empty()) throw std::logic_error("no request waits");
  return waiting_.front().request;
}

std::size_t ScriptedHttp::waitingCount(std::string_view path) const {
  base::MutexLock lock(mutex_);
  return static_cast<std::size_t>(
      std::count_if(waiting_.begin(), waiting_.end(),
                    [&](const Waiting& waiting) { return isTo(path, waiting.request.url); }));
}

std::string ScriptedHttp::bodyOf(std::string_view path) const {
  base::MutexLock lock(mutex_);
  for (const Waiting& waiting : waiting_) {
    if (isTo(path, waiting.request.url)) return joined(waiting.request.body);
  }
  throw std::logic_error("no request waits for " + std::string(path));
}

std::string ScriptedHttp::nextUrl() const {
  return nextRequest().url;
}

std::string ScriptedHttp::nextBody() const {
  return joined(nextRequest().body);
}

void ScriptedHttp::answerNext(int status, std::string body) {
  answer("", status, std::move(body));
}

void ScriptedHttp::failNext(std::string description) {
  base::MutexLock lock(mutex_);
  if (waiting_.empty()) throw std::logic_error("no request waits");
  finish(waiting_.begin(), platform::HttpFailure{std::move(description)});
}

void ScriptedHttp::answer(std::string_view path, int status, std::string body) {
  base::MutexLock lock(mutex_);
  const auto found = std::find_if(waiting_.begin(), waiting_.end(), [&](const Waiting& waiting) {
    return isTo(path, waiting.request.url);
  });
  if (found == waiting_.end()) throw std::logic_error("no request waits for " + std::string(path));
  finish(found, platform::HttpResponse{status, std::move(body)});
}

int ScriptedHttp::cancelledCount() const {
  base::MutexLock lock(mutex_);
  return cancelled_;
}

}  // namespace zarn::testing
