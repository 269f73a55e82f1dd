// ConfigFetcher: asks the server for its policy and reads the answer.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/closure.h"
#include "base/weakly.h"
#include "control/config_cache.h"
#include "model/configuration.h"
#include "model/remote_config.h"
#include "platform/device.h"
#include "platform/http.h"
#include "platform/log.h"

namespace zarn::control {

/// Nothing when the configured host forms no address. The key travels in a header only.
std::optional<platform::HttpRequest> makeConfigRequest(const model::Configuration& configuration,
                                                       const platform::AppFacts& app);

/// A key as a log line may hold it: its first 8 and last 4 characters, or none of a key of fewer
/// than 15.
std::string maskedKey(std::string_view key);

/// Any thread.
class ConfigFetcher {
 public:
  using Answered = base::UniqueFunction<void(platform::HttpResult)>;
  /// Starts the request. False, without a call of the closure, when it must not be sent.
  using Start = base::UniqueFunction<bool(platform::HttpRequest, Answered)>;
  using Completion = base::UniqueFunction<void(std::optional<model::ConfigResponse>)>;

  ConfigFetcher(const model::Configuration& configuration, platform::AppFacts app,
                platform::Defaults& defaults, const platform::Clock& clock, platform::Log log);

  /// `completion` gets the policy, or nothing when the fetch was refused or has failed; inside this
  /// call when nothing was sent, otherwise where the answer comes. It runs once, but not at all if
  /// whoever starts the request drops the answer, or this object is gone by then. Unless
  /// `forceRefresh`, an answer of the last 5 minutes will do.
  void fetch(bool forceRefresh, Start start, Completion completion);

 private:
  void logRequest() const;
  std::optional<model::ConfigResponse> answered(const platform::HttpResult& result);

  // Constant after construction.
  const model::Configuration configuration_;
  const platform::AppFacts app_;
  const platform::Log log_;

  ConfigCache cache_;
  base::Scope scope_;
};

}  // namespace zarn::control
