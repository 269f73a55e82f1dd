// What plain Linux tells of the machine, the system, the user's locale and the battery.
#pragma once

#include <atomic>
#include <string>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "platform/device.h"

namespace zarn::platform {
class Clock;
class Environment;
}  // namespace zarn::platform

namespace zarn::desktop {

/// "en_GB.UTF-8@euro" gives "en_GB"; "C", "POSIX" and anything malformed give nothing.
std::string localeFrom(std::string_view variable);

/// The name of the executable, or "app".
std::string executableName();

class LinuxDevice final : public platform::Device {
 public:
  /// Reads all but the battery. Files are looked for below `root`, which is empty but for tests.
  /// The battery is read on `reader`, which must outlive this object.
  LinuxDevice(platform::AppFacts app, platform::Environment& environment,
              const platform::Clock& clock, base::SerialQueue& reader, std::string root = {});

  const platform::DeviceFacts& device() override { return device_; }
  const platform::AppFacts& app() override { return app_; }
  platform::LocaleFacts locale() override { return locale_; }
  platform::Battery battery() override;

 private:
  void readBattery();

  const std::string root_;
  const platform::DeviceFacts device_;
  const platform::AppFacts app_;
  const platform::LocaleFacts locale_;
  const platform::Clock& clock_;
  base::SerialQueue& reader_;

  base::Mutex mutex_{base::LockRank::leaf};
  platform::Battery battery_ ZARN_GUARDED_BY(mutex_);
  std::atomic<base::Duration::rep> nextRead_{0};  // on the monotonic clock

  base::Scope scope_;
};

}  // namespace zarn::desktop
