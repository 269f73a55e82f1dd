// Telling the library of requests that the host makes with its own HTTP stack. Only what can be
// counted leaves the device: host, shape of the path, status, times and sizes. Queries, headers and
// bodies are not looked at.
//
//   auto network = zarn::Zarn::networkDelegate();
//   ...
//   zarn::NetworkTask task;  // one for each request
//   network->didFinishCollectingMetrics(task, {.url = url, .status = 200, .duration = 0.12});
//
// For libcurl there is zarn/curl.h, which fills all of this in.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zarn/export.h"

namespace zarn::network {
class NetworkTracker;
struct TaskMark;
}  // namespace zarn::network

ZARN_NAMESPACE_BEGIN

/// One request. Copies are the same request: however many see it end, it is counted once.
class ZARN_API NetworkTask {
 public:
  NetworkTask() noexcept;
  // No moves: one that was moved from would be no request.
  NetworkTask(const NetworkTask&) = default;
  NetworkTask& operator=(const NetworkTask&) = default;

 private:
  friend network::NetworkTracker;
  std::shared_ptr<network::TaskMark> mark_;
};

/// One attempt of a request, such as each of several redirects. Moments are seconds on any one
/// clock; absent where they are not known or did not come.
struct NetworkTransaction {
  /// False when a cache answered.
  bool isNetworkLoad = true;
  std::optional<double> fetchStart = std::nullopt;
  std::optional<double> domainLookupStart = std::nullopt, domainLookupEnd = std::nullopt;
  std::optional<double> connectStart = std::nullopt, connectEnd = std::nullopt;
  std::optional<double> responseStart = std::nullopt;
};

/// What became of one request.
struct NetworkMetrics {
  /// The address that was asked for. Without one there is no record.
  std::string url;
  /// Empty counts as GET.
  std::string method = "GET";
  /// Absent when no HTTP response came.
  std::optional<int> status = std::nullopt;
  /// Without a status: it failed, as against not having been tried.
  bool hasError = false;
  double duration = 0;  // seconds
  std::int64_t bytesSent = 0, bytesReceived = 0;
  std::vector<NetworkTransaction> transactions = {};  // oldest first
};

/// What a host's HTTP stack tells of its requests. Any thread.
class ZARN_API NetworkDelegate {
 public:
  virtual ~NetworkDelegate();
  virtual void didFinishCollectingMetrics(const NetworkTask&, const NetworkMetrics&) {}
  /// The stack has been shut down; `error` is empty when it was asked to.
  virtual void didBecomeInvalid(std::string_view error) { static_cast<void>(error); }
};

/// Records each request and passes everything on to the delegate it was made around. Any thread;
/// recording one request takes less than a microsecond. Nothing is recorded before
/// Zarn::configure, while the user has opted out, or while the server has switched network
/// statistics off; nor are requests by other schemes than "http" and "https".
class ZARN_API ZarnNetworkDelegateProxy final : public NetworkDelegate {
 public:
  /// By Zarn::networkDelegate. Without a tracker it only passes on.
  ZarnNetworkDelegateProxy(std::shared_ptr<network::NetworkTracker> tracker,
                           std::shared_ptr<NetworkDelegate> wrapped);
  ~ZarnNetworkDelegateProxy() override;

  /// What the wrapped delegate throws goes on to the caller, as without the proxy.
  void didFinishCollectingMetrics(const NetworkTask& task, const NetworkMetrics& metrics) override;
  /// Passed on; afterwards the wrapped delegate is let go.
  void didBecomeInvalid(std::string_view error) override;
  /// The delegate that everything is passed on to, null when there is none (any more).
  std::shared_ptr<NetworkDelegate> wrapped() const;

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

/// What is known of a request by stacks that count from its start on, such as libcurl. Seconds;
/// what is not above zero is not known.
struct TransferReadings {
  const char* url = nullptr;     // null or empty: there is no record
  const char* method = nullptr;  // null or empty counts as GET
  long status = 0;               // 0: no HTTP response came
  bool hasError = false;
  double total = 0;
  // From the start until the name was found, the connection stood and the first byte came.
  double nameFound = 0, connected = 0, firstByte = 0;
  /// Over a connection that stood before: there was nothing to look up and to connect.
  bool isConnectionReused = false;
  /// It followed redirects: the moments are sums over several attempts, of which none is known.
  bool wasRedirected = false;
  std::int64_t bytesSent = 0, bytesReceived = 0;
};

/// Empty when there is no text, or no memory.
ZARN_API std::string copyOf(const char* text) noexcept;

/// Tells `delegate` of the request. What the delegate throws stops here.
ZARN_API void reportTransfer(NetworkDelegate& delegate, const NetworkTask& task,
                             const TransferReadings& readings) noexcept;

ZARN_NAMESPACE_END
