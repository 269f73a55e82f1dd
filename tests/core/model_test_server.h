// The server of the random sequences: every request waits until the test answers it, in whatever
// order, or never; who wants to hold requests and answers against rules is told of each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/mutex.h"
#include "platform/http.h"
#include "support/scripted_http.h"

namespace zarn::testing {

struct ModelRequest {
  enum class Kind { init, recovery, config, batch };
  Kind kind;
  std::uint64_t id;
  std::string body;
  bool isControl() const { return kind != Kind::batch; }
};

struct ModelAnswer {
  int status = 0;  // 0: the connection failed
  std::string body;
  bool paused = false;
  bool hasPolicy = false;         // and can be read
  bool isGood = false;            // 2xx and readable
  std::vector<int> settled = {};  // of a batch: the numbers of the events that were done with
};

class ModelServer final : public platform::HttpClient {
 public:
  /// Called with locks of the code under test held: they may only note.
  std::function<void(const ModelRequest&)> started;
  std::function<void(const ModelRequest&)> cancelled;
  /// Called when the code gets the answer, right before it acts on it.
  std::function<void(const ModelRequest&, const ModelAnswer&)> answered;

  platform::HttpTaskId start(platform::HttpRequest request, base::SerialQueue& queue,
                             Completion completion) override {
    base::MutexLock lock(mutex_);
    std::string body = joined(request.body);
    const auto kind = kindOf(request.url, body);
    waiting_.push_back({{kind, ++lastId_, std::move(body)}, queue.poster(), std::move(completion)});
    started(waiting_.back().request);
    return lastId_;
  }
  void cancel(platform::HttpTaskId id) override {
    base::MutexLock lock(mutex_);
    for (std::size_t i = 0; i < waiting_.size(); ++i) {
      if (waiting_[i].request.id != id) continue;
      cancelled(waiting_[i].request);
      return finish(i, {});
    }
  }

  std::size_t waitingCount() const {
    base::MutexLock lock(mutex_);
    return waiting_.size();
  }
  ModelRequest waiting(std::size_t index) const {
    base::MutexLock lock(mutex_);
    return waiting_.at(index).request;
  }
  void answer(std::size_t index, ModelAnswer answer) {
    base::MutexLock lock(mutex_);
    finish(index, std::move(answer));
  }
  /// As when the process that had asked is gone.
  void forgetAll() {
    std::vector<Waiting> forgotten;  // goes without the lock
    base::MutexLock lock(mutex_);
    forgotten.swap(waiting_);
  }

 private:
  struct Waiting {
    ModelRequest request;
    base::SerialQueue::Poster queue;
    Completion completion;
  };

  static ModelRequest::Kind kindOf(const std::string& url, const std::string& body) {
    if (url.find("/batch") != std::string::npos) return ModelRequest::Kind::batch;
    if (url.find("/config") != std::string::npos) return ModelRequest::Kind::config;
    // Only the first one of a launch tells the build.
    return body.find(R"("build")") != std::string::npos ? ModelRequest::Kind::init
                                                        : ModelRequest::Kind::recovery;
  }
  void finish(std::size_t index, ModelAnswer answer) ZARN_REQUIRES(mutex_) {
    Waiting done = std::move(waiting_[index]);
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(index));
    done.queue.async([this, request = std::move(done.request), answer = std::move(answer),
                      completion = std::move(done.completion)]() mutable {
      answered(request, answer);
      if (answer.status == 0) return completion(platform::HttpFailure{"no answer"});
      completion(platform::HttpResponse{answer.status, std::move(answer.body)});
    });
  }

  mutable base::Mutex mutex_{base::LockRank::leaf};
  std::vector<Waiting> waiting_ ZARN_GUARDED_BY(mutex_);
  std::uint64_t lastId_ ZARN_GUARDED_BY(mutex_) = 0;
};

}  // namespace zarn::testing
