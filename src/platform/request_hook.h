// Requests of the host app that the platform sees by itself, without the host's help.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "base/executor.h"
#include "zarn/network.h"

namespace zarn::platform {

struct RequestStart {
  std::string_view url;
  std::string_view method;  // empty: none was set
  std::int64_t bodyBytes = 0;
  base::Duration age = {};  // since its beginning
};

struct RequestEnd {
  std::optional<int> status;  // absent: no HTTP response came
  bool hasError = false;
  std::int64_t receivedBytes = 0;
};

/// One request that is being watched. Dropped without an end, it leaves no record.
class WatchedRequest {
 public:
  virtual ~WatchedRequest() = default;
  virtual void ended(const RequestEnd& end) = 0;
};

/// The library's side. Any thread; returns at once.
class RequestWatcher {
 public:
  virtual ~RequestWatcher() = default;
  /// Null: the request is not to be watched.
  virtual std::unique_ptr<WatchedRequest> started(const RequestStart& start,
                                                  const NetworkTask& task) = 0;
};

/// The platform's side.
class RequestHook {
 public:
  virtual ~RequestHook() = default;
  /// From now on `watcher` is asked about every request; it stays in place for the life of the
  /// process. False where the platform has no such hook.
  virtual bool install(std::shared_ptr<RequestWatcher> watcher) = 0;
};

}  // namespace zarn::platform
