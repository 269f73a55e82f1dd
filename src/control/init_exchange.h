// The init exchange: what is asked of the server at start-up and in recovery, and what it answers.
#pragma once

#include <optional>
#include <string>

#include "model/configuration.h"
#include "model/remote_config.h"
#include "platform/http.h"

namespace zarn::platform {
struct AppFacts;
}

namespace zarn::control {

enum class InitOccasion { startUp, recovery };

platform::HttpRequest makeInitRequest(const model::Configuration& configuration,
                                      const platform::AppFacts& app, InitOccasion occasion);

struct InitAnswer {
  bool paused = false;
  std::optional<std::string> pausedReason;
  std::optional<std::string> releaseId;
  std::optional<std::string> appId;
  /// Nothing when the answer has none that can be decoded.
  std::optional<model::RemoteDataCollectionConfig> dataCollection;
};

/// Nothing when the request has failed: no answer, a status outside 200 to 299, no JSON object.
std::optional<InitAnswer> readInitAnswer(const platform::HttpResult& result);

/// The status for the log, -1 without an answer.
int statusOf(const platform::HttpResult& result);

}  // namespace zarn::control
