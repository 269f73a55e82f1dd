// HTTP requests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/closure.h"
#include "base/executor.h"
#include "base/serial_queue.h"

namespace zarn::platform {

struct HttpRequest {
  std::string method = "GET";
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  /// Sent one after the other; pieces are shared, so that a batch need not copy its events.
  std::vector<std::shared_ptr<const std::string>> body;
  /// From `start` to the last byte of the answer, waiting for connectivity included.
  base::Duration timeout = base::seconds(30);
  /// While the device is offline, or the server can't be reached because the network is down, wait
  /// inside the time-out instead of failing at once.
  bool waitsForConnectivity = false;
  /// A longer answer is a failure.
  std::size_t maxResponseBytes = 1 << 20;
};

struct HttpResponse {
  int status = 0;
  std::string body;
};

/// Why there is no answer: a text for the debug log. It holds no header, body or query.
struct HttpFailure {
  std::string description;
};

using HttpResult = std::variant<HttpResponse, HttpFailure>;
using HttpTaskId = std::uint64_t;

/// Any thread. Redirects are not followed. Certificates are verified.
class HttpClient {
 public:
  using Completion = base::UniqueFunction<void(HttpResult)>;
  virtual ~HttpClient() = default;

  /// Begins a request. `completion` runs exactly once, on `queue`, never inside `start` or
  /// `cancel`; not at all when the queue is gone by then.
  virtual HttpTaskId start(HttpRequest request, base::SerialQueue& queue,
                           Completion completion) = 0;

  /// Ends a request early: its completion gets a failure, unless the answer was already on its way.
  /// An unknown or ended id does nothing.
  virtual void cancel(HttpTaskId id) = 0;
};

}  // namespace zarn::platform
