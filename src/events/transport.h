// Transport: one batch of events into one request, and the answer into per-event outcomes. It knows
// nothing of retries: the queue decides from the outcomes.
//
//   no answer, 429, 3xx, 5xx      all events kept, the batch failed
//   other 4xx                     all events rejected
//   2xx                           per event, as the body says; what it does not mention is kept
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "base/mutex.h"
#include "base/weakly.h"
#include "events/batch_payload.h"
#include "events/batch_sender.h"
#include "model/configuration.h"
#include "platform/http.h"
#include "platform/log.h"

namespace zarn::platform {
class Clock;
struct AppFacts;
}  // namespace zarn::platform

namespace zarn::events {

/// Any thread. Requests under way when it dies are cancelled.
class Transport : public BatchSender {
 public:
  Transport(platform::HttpClient& http, platform::Clock& clock,
            const model::Configuration& configuration, const platform::AppFacts& app,
            platform::Log log);
  ~Transport() override;

  Permits::Token permit() const override;
  void send(Batch batch, Permits::Token permit, base::SerialQueue& queue,
            base::UniqueFunction<void(BatchOutcome)> completion) override;

  /// Asked before each request, with a lock held, whether the user has forbidden it in the
  /// meantime. Set before the first send.
  std::function<bool()> isForbidden;

  /// Cancels what is under way, and answers each later send at once, without a request.
  void stopSends();
  void resumeSends();
  /// What was taken before and has not started yet is not sent; what is under way goes on.
  void expirePermits();

  void setReleaseId(std::string releaseId);
  /// Empty until the server has named one.
  std::string releaseId() const;
  /// The full context as a JSON object, for batches from now on; null leaves it out of them.
  void setEnrichedContext(std::shared_ptr<const std::string> json);

 private:
  platform::HttpRequest makeRequest(const std::vector<model::EncodedEvent>& batch)
      ZARN_REQUIRES(taskLock_);
  BatchOutcome readAnswer(const platform::HttpResult& result,
                          const std::vector<model::EncodedEvent>& batch) const;

  // Constant after construction.
  platform::HttpClient& http_;
  platform::Clock& clock_;
  const std::string url_;
  const std::string writeKey_;
  const platform::Log log_;

  mutable base::Mutex taskLock_{base::LockRank::transport};
  BatchEnvelope envelope_ ZARN_GUARDED_BY(taskLock_);
  bool sendsEnabled_ ZARN_GUARDED_BY(taskLock_) = true;
  Permits permits_ ZARN_GUARDED_BY(taskLock_);
  std::uint64_t nextTask_ ZARN_GUARDED_BY(taskLock_) = 0;
  std::unordered_map<std::uint64_t, platform::HttpTaskId> inFlightTasks_ ZARN_GUARDED_BY(taskLock_);
  base::Scope scope_;
};

}  // namespace zarn::events
