// The full picture of device, system, app and culture that goes with each batch, while each event
// carries only the small context of the moment.
//
// An empty optional is left out of the JSON. Keys of the wire that no platform of ours can fill are
// not among the records: browser, is_rooted, connection_downlink, battery_temperature, carrier.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/device.h"

namespace zarn::platform {
class Crypto;
}

namespace zarn::identity {

struct DeviceContext {
  std::string family;
  std::string model;
  std::string brand;
  std::string type;
  int screenWidthPx = 0;
  int screenHeightPx = 0;
  double screenDensity = 0;
  std::string orientation;
  std::optional<std::string> deviceHash;
  std::string deviceClass;
  std::optional<std::string> kernelVersion;
  std::optional<Date> bootTime;
  bool isSimulator = false;
};

struct OsContext {
  std::string name;
  std::string version;
  std::optional<std::string> build;
};

struct RuntimeContext {
  std::string language;
  std::vector<std::string> languages;
  std::string timezone;
};

struct HardwareContext {
  std::int64_t memoryGb = 0;
  int cpuCores = 0;
  int maxTouchPoints = 0;
  std::optional<std::string> connectionType;
  std::optional<double> freeMemory;    // megabytes
  std::optional<double> usableMemory;  // megabytes
  std::optional<float> batteryLevel;   // 0.0 to 1.0
  std::optional<bool> isCharging;
  int processorCount = 0;
  std::optional<double> freeStorage;  // bytes
  std::optional<double> storageSize;  // bytes
  std::optional<std::vector<std::string>> archs;
  std::string brand;
  std::string manufacturer;
  std::optional<int> screenDpi;
  std::optional<bool> lowMemory;
  std::string thermalState;
};

struct AppContext {
  std::string version;
  std::string build;
  std::string bundleId;
  std::string name;
  std::optional<std::string> buildType;
  std::optional<Date> startTime;
  std::optional<bool> inForeground;
};

struct CultureContext {
  std::string locale;
  std::string calendar;
  bool uses24hFormat = false;
  std::optional<std::string> region;
};

struct EnrichedContext {
  DeviceContext device;
  OsContext os;
  RuntimeContext runtime;
  HardwareContext hardware;
  AppContext app;
  CultureContext culture;
};

/// As a JSON object.
std::string encodeEnrichedContext(const EnrichedContext& context);

/// "portrait" or "landscape"; by the screen's sides where the device itself can't tell.
std::string_view orientationWord(platform::Orientation orientation, int width, int height);

/// "low", "medium" or "high"; "unknown" when either is 0.
std::string_view deviceClass(int cores, std::uint64_t memoryBytes);

/// Groups the installations of one app on one kind of device and system; says nothing of a person.
std::string deviceHash(platform::Crypto& crypto, std::string_view model, std::string_view bundleId,
                       std::string_view systemVersion);

}  // namespace zarn::identity
