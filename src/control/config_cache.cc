#include "control/config_cache.h"

#include <chrono>
#include <cmath>

#include "base/json.h"
#include "model/configuration.h"
#include "platform/clock.h"
#include "platform/defaults.h"
#include "platform/device.h"

namespace zarn::control {
namespace {

constexpr double kLongestAge = 300;  // seconds

std::string makeKey(const model::Configuration& configuration, const platform::AppFacts& app) {
  return "zarn_remote_config_v2_" + configuration.environment() + "|" + configuration.apiHost() +
         "|" + configuration.projectId() + "|" + shownBundleId(app);
}

double secondsSince1970(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count();
}

}  // namespace

std::string shownBundleId(const platform::AppFacts& app) {
  return app.bundleId.empty() ? "unknown" : app.bundleId;
}

ConfigCache::ConfigCache(const model::Configuration& configuration, const platform::AppFacts& app,
                         platform::Defaults& defaults, const platform::Clock& clock)
    : key_(makeKey(configuration, app)),
      timeKey_(key_ + "_ts"),
      defaults_(defaults),
      clock_(clock) {}

std::optional<model::ConfigResponse> ConfigCache::read() {
  const auto text = defaults_.getString(key_);
  if (!text) return std::nullopt;
  const double written = defaults_.getDouble(timeKey_).value_or(0);
  const double age = secondsSince1970(clock_.now()) - written;
  if (!std::isfinite(written) || written <= 0 || age >= kLongestAge) {
    defaults_.remove(key_);
    defaults_.remove(timeKey_);
    return std::nullopt;
  }
  const auto json = base::parseJson(*text);
  return json ? model::decodeConfigResponse(*json) : std::nullopt;
}

void ConfigCache::write(const model::ConfigResponse& response) {
  defaults_.set(key_, model::encodeConfigResponse(response));
  defaults_.set(timeKey_, secondsSince1970(clock_.now()));
}

}  // namespace zarn::control
