#include "events/transport.h"

#include <utility>

#include "events/batch_answer.h"
#include "platform/clock.h"
#include "platform/device.h"

namespace zarn::events {
namespace {

constexpr auto kTimeout = base::seconds(30);
// An answer names each event at most twice, with a message for some.
constexpr std::size_t kAnswerBytes = 1 << 20;
constexpr std::size_t kAnswerBytesPerEvent = 1024;

std::string orUnknown(const std::string& text) {
  return text.empty() ? "unknown" : text;
}

BatchEnvelope envelopeFor(const model::Configuration& configuration,
                          const platform::AppFacts& app) {
  return {.projectId = configuration.projectId(),
          .apiKey = configuration.apiKey(),
          .environment = configuration.environment(),
          .appVersion = orUnknown(app.version),
          .bundleId = orUnknown(app.bundleId),
          .releaseId = {},
          .context = {}};
}

}  // namespace

Transport::Transport(platform::HttpClient& http, platform::Clock& clock,
                     const model::Configuration& configuration, const platform::AppFacts& app,
                     platform::Log log)
    : http_(http),
      clock_(clock),
      url_(model::endpointURL(configuration.apiHost(), "/api/sdk/batch")),
      writeKey_(configuration.writeKey),
      log_(log),
      envelope_(envelopeFor(configuration, app)) {}

Transport::~Transport() {
  scope_.close();
  stopSends();
}

Transport::Permits::Token Transport::permit() const {
  base::MutexLock lock(taskLock_);
  return permits_.current();
}

void Transport::send(Batch batch, Permits::Token permit, base::SerialQueue& queue,
                     base::UniqueFunction<void(BatchOutcome)> completion) {
  base::MutexLock lock(taskLock_);
  if (!sendsEnabled_ || permit != permits_.current() || (isForbidden && isForbidden())) {
    queue.async([batch = std::move(batch), completion = std::move(completion)]() mutable {
      completion(sameForAll(*batch, BatchAck::Outcome::transientFail));
    });
    return;
  }
  const auto task = ++nextTask_;
  auto request = makeRequest(*batch);
  // The lock is held while the request starts, so that stopSends can't miss it.
  inFlightTasks_[task] = http_.start(std::move(request), queue,
                                     base::weakly(scope_, [this, task, batch = std::move(batch),
                                                           completion = std::move(completion)](
                                                              platform::HttpResult result) mutable {
                                       {
                                         base::MutexLock relock(taskLock_);
                                         inFlightTasks_.erase(task);
                                       }
                                       completion(readAnswer(result, *batch));
                                     }));
}

platform::HttpRequest Transport::makeRequest(const std::vector<model::EncodedEvent>& batch) {
  platform::HttpRequest request;
  request.method = "POST";
  request.url = url_;
  request.headers = {{"Content-Type", "application/json"}, {"Authorization", writeKey_}};
  request.body = encodeBatch(envelope_, batch, clock_.now());
  request.timeout = kTimeout;
  request.waitsForConnectivity = true;
  request.maxResponseBytes = kAnswerBytes + kAnswerBytesPerEvent * batch.size();
  return request;
}

BatchOutcome Transport::readAnswer(const platform::HttpResult& result,
                                   const std::vector<model::EncodedEvent>& batch) const {
  if (const auto* failure = std::get_if<platform::HttpFailure>(&result)) {
    log_.debug({"[Zarn] Batch send failed: ", failure->description});
    return BatchFailed{};
  }
  const auto& response = std::get<platform::HttpResponse>(result);
  const bool isClientError = response.status >= 400 && response.status < 500;
  if (isClientError && response.status != 429) {
    const auto status = std::to_string(response.status);
    log_.debug({"[Zarn] Batch rejected (status ", status, ") — events dropped permanently"});
    return sameForAll(batch, BatchAck::Outcome::permanentFail, "http_" + status);
  }
  if (response.status < 200 || response.status >= 300) return BatchFailed{};
  auto outcome = readBatchAnswer(response.body, batch);
  if (const auto* acks = std::get_if<std::vector<BatchAck>>(&outcome); acks && log_.prints()) {
    int counts[3] = {};
    for (const auto& ack : *acks) ++counts[static_cast<int>(ack.outcome)];
    log_.debug({"[Zarn] Batch acks: accepted=", std::to_string(counts[0]), " permanent=",
                std::to_string(counts[1]), " transient=", std::to_string(counts[2])});
  }
  return outcome;
}

void Transport::stopSends() {
  std::unordered_map<std::uint64_t, platform::HttpTaskId> tasks;
  {
    base::MutexLock lock(taskLock_);
    sendsEnabled_ = false;
    permits_.bump();
    tasks.swap(inFlightTasks_);
  }
  for (const auto& [task, id] : tasks) http_.cancel(id);
}

void Transport::resumeSends() {
  base::MutexLock lock(taskLock_);
  sendsEnabled_ = true;
}

void Transport::expirePermits() {
  base::MutexLock lock(taskLock_);
  permits_.bump();
}

void Transport::setReleaseId(std::string releaseId) {
  base::MutexLock lock(taskLock_);
  envelope_.releaseId = std::move(releaseId);
}

void Transport::setEnrichedContext(std::shared_ptr<const std::string> json) {
  base::MutexLock lock(taskLock_);
  envelope_.context = std::move(json);
}

std::string Transport::releaseId() const {
  base::MutexLock lock(taskLock_);
  return envelope_.releaseId;
}

}  // namespace zarn::events
