// What the device and the app say of themselves.
#pragma once

#include <optional>
#include <string>

namespace zarn::platform {

/// Does not change while the process runs. What can't be told is empty or 0.
struct DeviceFacts {
  std::string machine;  // hardware name of the kernel, such as "x86_64"
  std::string osName;
  std::string osVersion;
  int screenWidth = 0;  // pixels of the main screen
  int screenHeight = 0;
};

struct AppFacts {
  std::string bundleId;
  std::string name;
  std::string version;
  std::string build;
};

struct LocaleFacts {
  std::string locale;    // such as "en_GB"
  std::string timezone;  // such as "Europe/Oslo"
};

struct Battery {
  std::optional<float> level;    // 0.0 to 1.0
  std::optional<bool> charging;  // charging or full
  friend bool operator==(const Battery&, const Battery&) = default;
};

/// Any thread; never fails. Answers come from memory: nothing here reads a file on the caller's
/// thread once the object stands.
class Device {
 public:
  virtual ~Device() = default;
  virtual const DeviceFacts& device() = 0;
  virtual const AppFacts& app() = 0;
  virtual LocaleFacts locale() = 0;
  /// The state as last seen; watching begins with the first call.
  virtual Battery battery() = 0;
};

}  // namespace zarn::platform
