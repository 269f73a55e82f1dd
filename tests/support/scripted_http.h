// ScriptedHttp: requests wait until the test answers them.
//
//   ScriptedHttp http;
//   ... code under test starts a request ...
//   EXPECT_EQ(http.last().url, "http://host/api/sdk/batch");
//   http.answerNext(200, R"({"accepted_event_ids":[]})");
#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "base/mutex.h"
#include "platform/http.h"

namespace zarn::testing {

class ScriptedHttp final : public platform::HttpClient {
 public:
  platform::HttpTaskId start(platform::HttpRequest request, base::SerialQueue& queue,
                             Completion completion) override;
  void cancel(platform::HttpTaskId id) override;

  /// Requests that have had no answer, oldest first.
  std::size_t waitingCount() const;
  std::size_t waitingCount(std::string_view path) const;
  /// The body of the oldest one that waits for an answer from a path; there must be one.
  std::string bodyOf(std::string_view path) const;
  /// All requests so far whose address, without its query, ends so.
  int countOf(std::string_view path) const;
  /// The oldest one that waits; there must be one.
  std::string nextUrl() const;
  std::string nextBody() const;
  platform::HttpRequest nextRequest() const;

  /// Each ends the oldest one that waits, or the oldest to a path.
  void answerNext(int status, std::string body = "{}");
  void failNext(std::string description = "connection refused");
  void answer(std::string_view path, int status, std::string body = "{}");
  int cancelledCount() const;

 private:
  struct Waiting {
    platform::HttpTaskId id;
    platform::HttpRequest request;
    base::SerialQueue::Poster queue;
    Completion completion;
  };
  void finish(std::deque<Waiting>::iterator which, platform::HttpResult result)
      ZARN_REQUIRES(mutex_);

  mutable base::Mutex mutex_{base::LockRank::leaf};
  std::deque<Waiting> waiting_ ZARN_GUARDED_BY(mutex_);
  std::vector<std::string> urls_ ZARN_GUARDED_BY(mutex_);
  platform::HttpTaskId lastId_ ZARN_GUARDED_BY(mutex_) = 0;
  int cancelled_ ZARN_GUARDED_BY(mutex_) = 0;
};

std::string joined(const std::vector<std::shared_ptr<const std::string>>& pieces);

}  // namespace zarn::testing
