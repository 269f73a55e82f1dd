#include "identity/enriched_context.h"

#include "base/hex.h"
#include "base/iso8601.h"
#include "base/json.h"
#include "platform/crypto.h"

namespace zarn::identity {
namespace {

using base::JsonWriter;

void write(JsonWriter& json, const std::string& text) {
  json.string(text);
}
void write(JsonWriter& json, bool flag) {
  json.boolean(flag);
}
void write(JsonWriter& json, int number) {
  json.integer(number);
}
void write(JsonWriter& json, double number) {
  json.number(number);
}
void write(JsonWriter& json, float number) {
  json.shortNumber(number);
}
void write(JsonWriter& json, const std::vector<std::string>& texts) {
  json.beginArray();
  for (const auto& text : texts) json.string(text);
  json.endArray();
}

template <typename T>
void writeIfTold(JsonWriter& json, std::string_view key, const std::optional<T>& value) {
  if (!value) return;
  json.key(key);
  write(json, *value);
}

void encode(JsonWriter& json, const DeviceContext& device) {
  json.beginObject()
      .member("family", device.family)
      .member("model", device.model)
      .member("brand", device.brand)
      .member("type", device.type)
      .key("screen_width_px")
      .integer(device.screenWidthPx)
      .key("screen_height_px")
      .integer(device.screenHeightPx)
      .key("screen_density")
      .number(device.screenDensity)
      .member("orientation", device.orientation);
  writeIfTold(json, "device_hash", device.deviceHash);
  json.member("device_class", device.deviceClass);
  writeIfTold(json, "kernel_version", device.kernelVersion);
  if (device.bootTime) json.member("boot_time", base::iso8601Milliseconds(*device.bootTime));
  json.key("is_simulator").boolean(device.isSimulator).endObject();
}

void encode(JsonWriter& json, const OsContext& os) {
  json.beginObject().member("name", os.name).member("version", os.version);
  writeIfTold(json, "build", os.build);
  json.endObject();
}

void encode(JsonWriter& json, const RuntimeContext& runtime) {
  json.beginObject().member("language", runtime.language).key("languages");
  write(json, runtime.languages);
  json.member("timezone", runtime.timezone).endObject();
}

void encode(JsonWriter& json, const HardwareContext& hardware) {
  json.beginObject()
      .key("memory_gb")
      .integer(hardware.memoryGb)
      .key("cpu_cores")
      .integer(hardware.cpuCores)
      .key("max_touch_points")
      .integer(hardware.maxTouchPoints);
  writeIfTold(json, "connection_type", hardware.connectionType);
  writeIfTold(json, "free_memory", hardware.freeMemory);
  writeIfTold(json, "usable_memory", hardware.usableMemory);
  writeIfTold(json, "battery_level", hardware.batteryLevel);
  writeIfTold(json, "is_charging", hardware.isCharging);
  json.key("processor_count").integer(hardware.processorCount);
  writeIfTold(json, "free_storage", hardware.freeStorage);
  writeIfTold(json, "storage_size", hardware.storageSize);
  writeIfTold(json, "archs", hardware.archs);
  json.member("brand", hardware.brand).member("manufacturer", hardware.manufacturer);
  writeIfTold(json, "screen_dpi", hardware.screenDpi);
  writeIfTold(json, "low_memory", hardware.lowMemory);
  json.member("thermal_state", hardware.thermalState).endObject();
}

void encode(JsonWriter& json, const AppContext& app) {
  json.beginObject()
      .member("version", app.version)
      .member("build", app.build)
      .member("bundle_id", app.bundleId)
      .member("name", app.name);
  writeIfTold(json, "build_type", app.buildType);
  if (app.startTime) json.member("start_time", base::iso8601Seconds(*app.startTime));
  writeIfTold(json, "in_foreground", app.inForeground);
  json.endObject();
}

void encode(JsonWriter& json, const CultureContext& culture) {
  json.beginObject()
      .member("locale", culture.locale)
      .member("calendar", culture.calendar)
      .key("uses_24h_format")
      .boolean(culture.uses24hFormat);
  writeIfTold(json, "region", culture.region);
  json.endObject();
}

}  // namespace

std::string encodeEnrichedContext(const EnrichedContext& context) {
  std::string out;
  out.reserve(2048);
  JsonWriter json(out);
  json.beginObject();
  encode(json.key("device"), context.device);
  encode(json.key("os"), context.os);
  encode(json.key("runtime"), context.runtime);
  encode(json.key("hardware"), context.hardware);
  encode(json.key("app"), context.app);
  encode(json.key("culture"), context.culture);
  json.endObject();
  return out;
}

std::string_view orientationWord(platform::Orientation orientation, int width, int height) {
  if (orientation == platform::Orientation::portrait) return "portrait";
  if (orientation == platform::Orientation::landscape) return "landscape";
  return width > height ? "landscape" : "portrait";
}

std::string_view deviceClass(int cores, std::uint64_t memoryBytes) {
  if (cores == 0 || memoryBytes == 0) return "unknown";
  const double gigabytes = static_cast<double>(memoryBytes) / (1 << 30);
  if (gigabytes < 2 || cores <= 2) return "low";
  if (gigabytes < 4 || cores < 5) return "medium";
  return "high";
}

std::string deviceHash(platform::Crypto& crypto, std::string_view model, std::string_view bundleId,
                       std::string_view systemVersion) {
  std::string text(model);
  text.append("|").append(bundleId).append("|").append(systemVersion);
  return base::lowerHex(crypto.sha256(text));
}

}  // namespace zarn::identity
