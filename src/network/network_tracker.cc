#include "network/network_tracker.h"

#include <optional>
#include <string_view>
#include <utility>

#include "base/fork_guard.h"
#include "base/host_call.h"
#include "base/url.h"
#include "network/hosts.h"
#include "platform/clock.h"

namespace zarn::network {
namespace {

using Seconds = std::chrono::duration<double>;

/// Runs on hosts' threads, where nothing may throw; in a forked child the buffer's lock may stay
/// locked for ever.
template <typename F>
void guarded(F&& action) noexcept {
  if (base::inForkedChild()) return;
  try {
    const base::HostCall marker;
    std::forward<F>(action)();
  } catch (...) {  // out of memory, at most: the request is not counted
  }
}

/// Nothing when the text is no address of a web server.
std::optional<base::UrlParts> webAddress(std::string_view url) {
  const auto parts = base::splitUrl(url);
  return parts && base::isWebScheme(parts->scheme) ? parts : std::nullopt;
}

void setAddress(NetworkRecord& record, const base::UrlParts& url) {
  if (url.host.size() <= kLongestHost) record.host = url.host;
  record.rawPath = storedPath(url.path);
}

std::int16_t statusOf(std::optional<int> status, bool hasError) {
  if (status) return clampedStatus(*status);
  return hasError ? NetworkRecord::kTransportError : NetworkRecord::kNoStatus;
}

std::int32_t interval(std::optional<double> start, std::optional<double> end) {
  return start && end ? millisecondsOf(*end - *start) : NetworkRecord::kUnknown;
}

/// The last one that went to the network, else the last one.
const NetworkTransaction* decisive(const std::vector<NetworkTransaction>& transactions) {
  for (auto at = transactions.rbegin(); at != transactions.rend(); ++at) {
    if (at->isNetworkLoad) return &*at;
  }
  return transactions.empty() ? nullptr : &transactions.back();
}

}  // namespace

/// A request that the platform's hook has seen begin.
class NetworkTracker::Watched final : public platform::WatchedRequest {
 public:
  Watched(std::shared_ptr<NetworkTracker> tracker, const NetworkTask& task, NetworkRecord record,
          base::Duration startedAt)
      : tracker_(std::move(tracker)),
        task_(task),
        record_(std::move(record)),
        startedAt_(startedAt) {}

  void ended(const platform::RequestEnd& end) override {
    guarded([&] {
      if (!tracker_->swizzleCapture_.load(std::memory_order_acquire)) return;
      const Connection& connection = *tracker_->connection_.load(std::memory_order_acquire);
      if (!connection.mayRecord() || !claim(task_)) return;
      record_.statusCode = statusOf(end.status, end.hasError);
      record_.durationMs =
          millisecondsOf(Seconds(connection.clock->monotonic() - startedAt_).count());
      record_.responseBytes = clampedBytes(end.receivedBytes);
      record_.timestamp = connection.clock->now();
      tracker_->buffer_.append(std::move(record_));
    });
  }

 private:
  const std::shared_ptr<NetworkTracker> tracker_;
  const NetworkTask task_;
  NetworkRecord record_;
  const base::Duration startedAt_;
};

void NetworkTracker::connect(Connection connection) {
  ownConnection_ = std::make_unique<const Connection>(std::move(connection));
  connection_.store(ownConnection_.get());
}

std::shared_ptr<ZarnNetworkDelegateProxy> NetworkTracker::makeProxy(
    std::shared_ptr<NetworkDelegate> wrapped) {
  auto proxy = std::make_shared<ZarnNetworkDelegateProxy>(shared_from_this(), std::move(wrapped));
  // This order, and the opposite one at start-up: one of the two sees the other.
  proxyInUse_.store(true);
  if (const Connection* connection = connection_.load()) connection->proxyMade();
  return proxy;
}

void NetworkTracker::installReplacement(platform::RequestHook& hook) {
  if (!isReplacementAsked_.exchange(true)) isHooked_ = hook.install(shared_from_this());
  setSwizzleCapture(true);
}

bool NetworkTracker::claim(const NetworkTask& task) {
  return !task.mark_ || !task.mark_->isClaimed.exchange(true, std::memory_order_relaxed);
}

void NetworkTracker::finished(const NetworkTask& task, const NetworkMetrics& metrics) noexcept {
  if (!proxyCapture_.load(std::memory_order_acquire)) return;
  guarded([&] { recordMetrics(task, metrics); });
}

void NetworkTracker::recordMetrics(const NetworkTask& task, const NetworkMetrics& metrics) {
  const Connection& connection = *connection_.load(std::memory_order_acquire);
  const auto url = webAddress(metrics.url);
  if (!url || !connection.mayRecord() || !claim(task)) return;
  NetworkRecord record;
  setAddress(record, *url);
  record.method = methodOf(metrics.method);
  record.statusCode = statusOf(metrics.status, metrics.hasError);
  if (const auto* transaction = decisive(metrics.transactions)) {
    record.dnsMs = interval(transaction->domainLookupStart, transaction->domainLookupEnd);
    record.connectMs = interval(transaction->connectStart, transaction->connectEnd);
    record.ttfbMs = interval(transaction->fetchStart, transaction->responseStart);
  }
  record.durationMs = millisecondsOf(metrics.duration);
  record.requestBytes = clampedBytes(metrics.bytesSent);
  record.responseBytes = clampedBytes(metrics.bytesReceived);
  record.timestamp = connection.clock->now();
  buffer_.append(std::move(record));
}

std::unique_ptr<platform::WatchedRequest> NetworkTracker::started(
    const platform::RequestStart& start, const NetworkTask& task) {
  std::unique_ptr<platform::WatchedRequest> watched;
  if (!swizzleCapture_.load(std::memory_order_acquire)) return watched;
  guarded([&] {
    const auto url = webAddress(start.url);
    if (!url) return;
    const Connection& connection = *connection_.load(std::memory_order_acquire);
    NetworkRecord record;
    setAddress(record, *url);
    record.method = methodOf(start.method);
    record.requestBytes = clampedBytes(start.bodyBytes);
    watched = std::make_unique<Watched>(shared_from_this(), task, std::move(record),
                                        connection.clock->monotonic() - start.age);
  });
  return watched;
}

}  // namespace zarn::network
