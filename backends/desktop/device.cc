#include "desktop/device.h"

#include <utility>

#include "desktop/device_facts.h"
#include "desktop/device_readings.h"
#include "desktop/locale_facts.h"
#include "platform/environment.h"

namespace zarn::desktop {
namespace {

platform::AppFacts completed(platform::AppFacts app, const std::string& root,
                             const std::optional<Date>& boot) {
  if (!app.startTime && boot) app.startTime = processStart(root, *boot);
  return app;
}

platform::Storage storageOf(const std::optional<std::string>& home) {
  return home ? readStorage(*home) : platform::Storage();
}

}  // namespace

LinuxDevice::LinuxDevice(platform::AppFacts app, platform::Environment& environment,
                         const platform::Clock& clock, base::SerialQueue& reader, std::string root)
    : root_(std::move(root)),
      device_(readDeviceFacts(root_, clock.now())),
      app_(completed(std::move(app), root_, device_.bootTime)),
      locale_(readLocaleFacts(environment, root_)),
      battery_(clock, reader, [this] { return readBattery(root_); }),
      // Known from the start, since the device's fingerprint tells its size.
      storage_(
          clock, reader, [home = environment.variable("HOME")] { return storageOf(home); },
          storageOf(environment.variable("HOME"))),
      thermalState_(clock, reader, [this] { return readThermalState(root_); }) {}

std::optional<std::uint64_t> LinuxDevice::freeMemory() {
  return readFreeMemory(root_);
}

}  // namespace zarn::desktop
