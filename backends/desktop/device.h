// What plain Linux tells of the machine, the system, the user's locale, the battery and the like.
#pragma once

#include <string>

#include "desktop/sampled.h"
#include "platform/device.h"

namespace zarn::platform {
class Environment;
}

namespace zarn::desktop {

class LinuxDevice final : public platform::Device {
 public:
  /// Reads what does not change. Files are looked for below `root`, which is empty but for tests.
  /// What may wait for hardware is read on `reader`, which must outlive this object.
  LinuxDevice(platform::AppFacts app, platform::Environment& environment,
              const platform::Clock& clock, base::SerialQueue& reader, std::string root = {});

  const platform::DeviceFacts& device() override { return device_; }
  const platform::AppFacts& app() override { return app_; }
  platform::LocaleFacts locale() override { return locale_; }
  platform::Battery battery() override { return battery_.latest(); }

  platform::Storage storage() override { return storage_.latest(); }
  std::optional<std::uint64_t> freeMemory() override;
  std::optional<std::string> thermalState() override { return thermalState_.latest(); }

 private:
  // Constant after construction.
  const std::string root_;
  const platform::DeviceFacts device_;
  const platform::AppFacts app_;
  const platform::LocaleFacts locale_;

  Sampled<platform::Battery> battery_;
  Sampled<platform::Storage> storage_;
  Sampled<std::optional<std::string>> thermalState_;
};

}  // namespace zarn::desktop
