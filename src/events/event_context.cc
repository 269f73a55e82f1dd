#include "events/event_context.h"

#include <optional>
#include <utility>

#include "base/json.h"
#include "model/connection_type.h"
#include "model/wire.h"

namespace zarn::events {

std::string encodeEventContext(const ContextInputs& inputs, const platform::DeviceFacts& device,
                               const platform::AppFacts& app, const platform::LocaleFacts& locale) {
  const std::optional<model::DeviceConfig> gates =
      inputs.config ? inputs.config->device : std::nullopt;
  const bool hardware = model::allows(gates, &model::DeviceConfig::hardwareInfo);
  std::string out;
  base::JsonWriter json(out);
  json.beginObject()
      .member("platform", model::kWirePlatform)
      .member("device_model", hardware ? device.machine : "redacted")
      .member("os_version", device.osVersion)
      .member("app_version", app.version.empty() ? "unknown" : app.version)
      .member("locale", locale.locale)
      .member("timezone", locale.timezone)
      .key("screen_width")
      .integer(hardware ? device.screenWidth : 0)
      .key("screen_height")
      .integer(hardware ? device.screenHeight : 0);
  if (model::allows(gates, &model::DeviceConfig::connectionInfo)) {
    json.member("connection_type", model::connectionType(inputs.path.get()));
  }
  if (const auto level = inputs.battery.level; level && *level >= 0) {
    json.key("battery_level").shortNumber(*level);
  }
  if (inputs.battery.charging) json.key("is_charging").boolean(*inputs.battery.charging);
  json.endObject();
  return out;
}

EventContextSource::EventContextSource(
    platform::Device& device, const model::Published<model::RemoteDataCollectionConfig>& config,
    const model::Published<platform::NetworkPath>& path)
    : device_(device), config_(config), path_(path) {}

ContextInputs EventContextSource::readInputs() {
  ContextInputs inputs{.config = config_.get(), .path = path_.get(), .battery = {}};
  // Asking starts the watching, so a server that forbids it must keep us from asking.
  const bool battery =
      !inputs.config || model::allows(inputs.config->device, &model::DeviceConfig::batteryInfo);
  if (battery) inputs.battery = device_.battery();
  return inputs;
}

std::shared_ptr<const std::string> EventContextSource::current() {
  ContextInputs inputs = readInputs();
  {
    base::MutexLock lock(lock_);
    if (encoded_ && inputs == encodedFrom_) return encoded_;
  }
  auto encoded = std::make_shared<const std::string>(
      encodeEventContext(inputs, device_.device(), device_.app(), device_.locale()));
  base::MutexLock lock(lock_);
  encodedFrom_ = std::move(inputs);
  encoded_ = encoded;
  return encoded;
}

}  // namespace zarn::events
