// Collects the full context of a batch, as far as the server allows it.
//
//   device.context        false: no context at all
//   device.hardwareInfo   false: nothing of the hardware but its model; what repeats or is worked
//                         out from a forbidden value is blank as well
//   device.connectionInfo false: no type of connection
//   device.batteryInfo    false: no battery, nor is it asked for, since asking begins the watching
#pragma once

#include <memory>
#include <string>

#include "identity/enriched_context.h"
#include "model/published.h"
#include "model/remote_config.h"

namespace zarn::platform {
class Crypto;
class Device;
struct NetworkPath;
}  // namespace zarn::platform

namespace zarn::identity {

/// Any thread. A platform whose device may only be asked on the main thread is asked there.
class EnrichedContextCollector {
 public:
  EnrichedContextCollector(platform::Device& device, platform::Crypto& crypto,
                           const model::Published<model::RemoteDataCollectionConfig>& config,
                           const model::Published<platform::NetworkPath>& path);

  /// The context as of now, as a JSON object; null when the server forbids it. Takes some tens of
  /// microseconds.
  std::shared_ptr<const std::string> collect();

 private:
  struct Gates;
  static Gates gatesOf(const model::RemoteDataCollectionConfig* config);
  EnrichedContext gather(const Gates& gates);
  DeviceContext gatherDevice(const Gates& gates);
  HardwareContext gatherHardware(const Gates& gates);
  AppContext gatherApp();

  // Constant after construction.
  platform::Device& device_;
  platform::Crypto& crypto_;
  const model::Published<model::RemoteDataCollectionConfig>& config_;
  const model::Published<platform::NetworkPath>& path_;
};

}  // namespace zarn::identity
