// What the device and the app say of themselves.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zarn/value.h"

namespace zarn::platform {

/// Does not change while the process runs. What can't be told is empty or 0.
struct DeviceFacts {
  std::string machine;  // hardware name of the kernel, such as "x86_64"
  std::string osName;
  std::string osVersion;
  std::string osBuild;
  std::string kernelVersion;
  std::string family;        // what kind of product, such as "Notebook"
  std::string model;         // the maker's name of the product
  std::string brand;         // the maker
  std::string type;          // "phone", "tablet" or "desktop"
  std::string architecture;  // of the processor
  bool isSimulator = false;  // a virtual machine or simulator
  int screenWidth = 0;       // pixels of the main screen
  int screenHeight = 0;
  double screenScale = 1;        // pixels in a point
  std::optional<int> screenDpi;  // pixels in an inch
  int maxTouchPoints = 0;
  int processorCount = 0;
  std::uint64_t physicalMemory = 0;  // bytes
  std::optional<Date> bootTime;
  /// An id of this device that is the same for all apps of one vendor and no others.
  std::optional<std::string> vendorIdentifier;
};

struct AppFacts {
  std::string bundleId;
  std::string name;
  std::string version;
  std::string build;
  std::string buildType;  // "debug" or "release" where that can be told
  std::optional<Date> startTime;
};

struct LocaleFacts {
  std::string locale;                  // such as "en_GB"
  std::string timezone;                // such as "Europe/Oslo"
  std::vector<std::string> languages;  // preferred ones first, such as "en-GB"
  std::string calendar;                // such as "gregorian"
  std::string region;                  // such as "GB"
  bool uses24hFormat = true;
};

struct Battery {
  std::optional<float> level;    // 0.0 to 1.0
  std::optional<bool> charging;  // charging or full
  friend bool operator==(const Battery&, const Battery&) = default;
};

/// Bytes of the file system that holds the user's home.
struct Storage {
  std::optional<std::uint64_t> free;
  std::optional<std::uint64_t> size;
};

enum class Orientation : std::uint8_t { unknown, portrait, landscape };

/// Any thread; never fails.
class Device {
 public:
  virtual ~Device() = default;

  // From memory: nothing of this reads a file on the caller's thread once the object stands.
  virtual const DeviceFacts& device() = 0;
  virtual const AppFacts& app() = 0;
  virtual LocaleFacts locale() = 0;
  /// The state as last seen; watching begins with the first call.
  virtual Battery battery() = 0;

  // These may ask the system, which takes some microseconds: not for every event. They are asked
  // with locks held and must not wait for the main thread.
  virtual Orientation orientation() { return Orientation::unknown; }
  virtual Storage storage() { return {}; }
  virtual std::optional<std::uint64_t> freeMemory() { return std::nullopt; }  // bytes
  /// "nominal", "fair", "serious" or "critical"; nothing where it can't be told.
  virtual std::optional<std::string> thermalState() { return std::nullopt; }
  /// Nothing where there is no user interface to ask.
  virtual std::optional<bool> inForeground() { return std::nullopt; }
};

}  // namespace zarn::platform
