// ConfigCache: the server's last answer to a config fetch, kept among the defaults for callers that
// can do with one of the last minutes.
#pragma once

#include <optional>
#include <string>

#include "model/remote_config.h"

namespace zarn::model {
struct Configuration;
}

namespace zarn::platform {
class Clock;
class Defaults;
struct AppFacts;
}  // namespace zarn::platform

namespace zarn::control {

/// Any thread. One entry for each environment, server, project and app.
class ConfigCache {
 public:
  ConfigCache(const model::Configuration& configuration, const platform::AppFacts& app,
              platform::Defaults& defaults, const platform::Clock& clock);

  /// Nothing when there is no entry, or one that is 5 minutes old, which is then removed, or one
  /// that can't be decoded, which is left as it is. An entry from the future counts as new.
  std::optional<model::ConfigResponse> read();
  void write(const model::ConfigResponse& response);

 private:
  // Constant after construction.
  const std::string key_;
  const std::string timeKey_;
  platform::Defaults& defaults_;
  const platform::Clock& clock_;
};

/// The bundle identifier as the server is told it; never empty.
std::string shownBundleId(const platform::AppFacts& app);

}  // namespace zarn::control
