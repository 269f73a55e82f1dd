#include "identity/enriched_context_collector.h"

#include <utility>

#include "model/connection_type.h"
#include "platform/path_monitor.h"

namespace zarn::identity {
namespace {

constexpr double kMegabyte = 1 << 20;
constexpr double kLowMemory = 100;  // megabytes

std::string orElse(const std::string& text, std::string_view otherwise) {
  return text.empty() ? std::string(otherwise) : text;
}

std::optional<std::string> ifTold(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

std::optional<double> asDouble(std::optional<std::uint64_t> number) {
  return number ? std::optional(static_cast<double>(*number)) : std::nullopt;
}

/// The maker's name of the product where there is one; a plain computer may only know its kind of
/// processor.
const std::string& modelOf(const platform::DeviceFacts& facts) {
  return facts.model.empty() ? facts.machine : facts.model;
}

std::string systemVersion(const platform::DeviceFacts& facts) {
  std::string text = facts.osName + " " + facts.osVersion;
  if (!facts.osBuild.empty()) text += " (" + facts.osBuild + ")";
  return text;
}

std::string bundleIdOf(const platform::AppFacts& app) {
  return orElse(app.bundleId, "unknown");
}

RuntimeContext runtimeFrom(const platform::LocaleFacts& locale) {
  return {.language = locale.languages.empty() ? "en" : locale.languages.front(),
          .languages = locale.languages,
          .timezone = locale.timezone};
}

CultureContext cultureFrom(const platform::LocaleFacts& locale) {
  return {.locale = locale.locale,
          .calendar = locale.calendar,
          .uses24hFormat = locale.uses24hFormat,
          .region = ifTold(locale.region)};
}

}  // namespace

struct EnrichedContextCollector::Gates {
  bool context;
  bool hardware;
  bool connection;
  bool battery;
};

EnrichedContextCollector::Gates EnrichedContextCollector::gatesOf(
    const model::RemoteDataCollectionConfig* config) {
  using model::DeviceConfig;
  const auto device = config != nullptr ? config->device : std::nullopt;
  return {.context = model::allows(device, &DeviceConfig::context),
          .hardware = model::allows(device, &DeviceConfig::hardwareInfo),
          .connection = model::allows(device, &DeviceConfig::connectionInfo),
          .battery = model::allows(device, &DeviceConfig::batteryInfo)};
}

EnrichedContextCollector::EnrichedContextCollector(
    platform::Device& device, platform::Crypto& crypto,
    const model::Published<model::RemoteDataCollectionConfig>& config,
    const model::Published<platform::NetworkPath>& path)
    : device_(device), crypto_(crypto), config_(config), path_(path) {}

std::shared_ptr<const std::string> EnrichedContextCollector::collect() {
  const Gates gates = gatesOf(config_.get().get());
  if (!gates.context) return nullptr;
  return std::make_shared<const std::string>(encodeEnrichedContext(gather(gates)));
}

EnrichedContext EnrichedContextCollector::gather(const Gates& gates) {
  const auto& facts = device_.device();
  const auto locale = device_.locale();
  return {.device = gatherDevice(gates),
          .os = {.name = facts.osName, .version = facts.osVersion, .build = ifTold(facts.osBuild)},
          .runtime = runtimeFrom(locale),
          .hardware = gatherHardware(gates),
          .app = gatherApp(),
          .culture = cultureFrom(locale)};
}

DeviceContext EnrichedContextCollector::gatherDevice(const Gates& gates) {
  const auto& facts = device_.device();
  DeviceContext device;
  device.family = facts.family;
  device.model = modelOf(facts);
  device.type = facts.type;
  device.orientation =
      orientationWord(device_.orientation(), facts.screenWidth, facts.screenHeight);
  device.deviceHash =
      deviceHash(crypto_, device.model, bundleIdOf(device_.app()), systemVersion(facts));
  device.kernelVersion = ifTold(facts.kernelVersion);
  device.bootTime = facts.bootTime;
  device.isSimulator = facts.isSimulator;
  // The rest tells again what the hardware record and the events hide when it is forbidden.
  device.deviceClass = "unknown";
  if (!gates.hardware) return device;
  device.brand = facts.brand;
  device.screenWidthPx = facts.screenWidth;
  device.screenHeightPx = facts.screenHeight;
  device.screenDensity = facts.screenScale;
  device.deviceClass = deviceClass(facts.processorCount, facts.physicalMemory);
  return device;
}

HardwareContext EnrichedContextCollector::gatherHardware(const Gates& gates) {
  const auto& facts = device_.device();
  HardwareContext hardware;
  if (gates.connection) hardware.connectionType = model::connectionType(path_.get().get());
  if (gates.battery) {
    const auto battery = device_.battery();
    if (battery.level && *battery.level >= 0) hardware.batteryLevel = battery.level;
    hardware.isCharging = battery.charging;
  }
  hardware.thermalState = device_.thermalState().value_or("unknown");
  if (!gates.hardware) return hardware;

  hardware.memoryGb = static_cast<std::int64_t>(facts.physicalMemory >> 30);
  hardware.cpuCores = facts.processorCount;
  hardware.processorCount = facts.processorCount;
  hardware.maxTouchPoints = facts.maxTouchPoints;
  if (const auto free = asDouble(device_.freeMemory())) {
    hardware.freeMemory = *free / kMegabyte;
    hardware.lowMemory = *hardware.freeMemory < kLowMemory;
  }
  if (facts.physicalMemory > 0) {
    hardware.usableMemory = static_cast<double>(facts.physicalMemory) / kMegabyte;
  }
  const auto storage = device_.storage();
  hardware.freeStorage = asDouble(storage.free);
  hardware.storageSize = asDouble(storage.size);
  if (!facts.architecture.empty()) hardware.archs = {facts.architecture};
  hardware.brand = facts.brand;
  hardware.manufacturer = facts.brand;
  hardware.screenDpi = facts.screenDpi;
  return hardware;
}

AppContext EnrichedContextCollector::gatherApp() {
  const auto& app = device_.app();
  return {.version = orElse(app.version, "0.0.0"),
          .build = orElse(app.build, "0"),
          .bundleId = bundleIdOf(app),
          .name = app.name,
          .buildType = ifTold(app.buildType),
          .startTime = app.startTime,
          .inForeground = device_.inForeground()};
}

}  // namespace zarn::identity
