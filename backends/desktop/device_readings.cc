#include "desktop/device_readings.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "desktop/small_file.h"

namespace zarn::desktop {
namespace {

constexpr std::size_t kMemoryBytes = 1024;  // what is looked for stands at the top
constexpr int kMostMarks = 16;

enum class Heat { nominal, fair, serious, critical };
constexpr std::array<const char*, 4> kHeatWords = {"nominal", "fair", "serious", "critical"};

/// What it means that a part has reached a mark of this kind: fans run, it is slowed down, it is
/// about to be switched off.
std::optional<Heat> heatAt(std::string_view mark) {
  if (mark == "active") return Heat::fair;
  if (mark == "passive") return Heat::serious;
  if (mark == "hot" || mark == "critical") return Heat::critical;
  return std::nullopt;
}

std::optional<Heat> heatOf(const std::string& zone) {
  const long temperature = firstNumber(zone + "/temp", 0);  // thousandths of a degree
  std::optional<Heat> heat;
  for (int i = 0; temperature > 0 && i < kMostMarks; ++i) {
    const std::string mark = zone + "/trip_point_" + std::to_string(i);
    const std::string kind = firstLine(mark + "_type");
    if (kind.empty()) break;
    const auto reached = heatAt(kind);
    const long limit = firstNumber(mark + "_temp", 0);
    if (!reached || limit <= 0) continue;  // a mark that is not in use
    heat = std::max(heat.value_or(Heat::nominal), temperature >= limit ? *reached : Heat::nominal);
  }
  return heat;
}

/// The bytes of a line such as "MemAvailable:   23786092 kB".
std::optional<std::uint64_t> bytesOf(std::string_view text, std::string_view name) {
  const auto at = text.find(name);
  if (at == std::string_view::npos) return std::nullopt;
  text.remove_prefix(at + name.size());
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  std::uint64_t kilobytes = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), kilobytes);
  if (parsed.ec != std::errc()) return std::nullopt;
  return kilobytes * 1024;
}

}  // namespace

platform::Battery readBattery(const std::string& root) {
  platform::Battery battery;
  const std::string folder = root + "/sys/class/power_supply/";
  for (const std::string& name : namesIn(folder)) {
    const std::string supply = folder + name;
    if (firstLine(supply + "/type") != "Battery") continue;
    if (firstLine(supply + "/scope") == "Device") continue;
    const long percent = firstNumber(supply + "/capacity", -1);
    if (percent >= 0) battery.level = static_cast<float>(std::min(percent, 100L)) / 100.0F;
    const std::string status = firstLine(supply + "/status");
    if (status == "Charging" || status == "Full") battery.charging = true;
    if (status == "Discharging" || status == "Not charging") battery.charging = false;
    break;
  }
  return battery;
}

std::optional<std::string> readThermalState(const std::string& root) {
  const std::string folder = root + "/sys/class/thermal/";
  std::optional<Heat> hottest;
  for (const std::string& name : namesIn(folder, "thermal_zone")) {
    hottest = std::max(hottest, heatOf(folder + name));
  }
  if (!hottest) return std::nullopt;
  return kHeatWords[static_cast<std::size_t>(*hottest)];
}

platform::Storage readStorage(const std::string& folder) {
  struct statvfs state {};
  if (::statvfs(folder.c_str(), &state) != 0) return {};
  const std::uint64_t block = state.f_frsize;
  return {.free = state.f_bavail * block, .size = state.f_blocks * block};
}

std::optional<std::uint64_t> readFreeMemory(const std::string& root) {
  const std::string memory = readSmallFile(root + "/proc/meminfo", kMemoryBytes);
  const auto available = bytesOf(memory, "MemAvailable:");
  return available ? available : bytesOf(memory, "MemFree:");
}

}  // namespace zarn::desktop
