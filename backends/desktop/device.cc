#include "desktop/device.h"

#include <dirent.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <memory>

#include "platform/clock.h"
#include "platform/environment.h"

namespace zarn::desktop {
namespace {

constexpr base::Duration kBatteryAge = std::chrono::minutes(1);
constexpr std::size_t kLongestName = 64;

std::string firstLine(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  line.resize(std::min<std::size_t>(line.size(), 256));
  return line;
}

/// The value of KEY=value or KEY="value".
std::string unquoted(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value.substr(0, 256));
}

platform::DeviceFacts readDevice(const std::string& root) {
  platform::DeviceFacts facts;
  utsname kernel{};
  if (::uname(&kernel) == 0) facts.machine = kernel.machine;
  std::ifstream release(root + "/etc/os-release");
  if (!release) release.open(root + "/usr/lib/os-release");
  for (std::string line; std::getline(release, line);) {
    const std::string_view text(line);
    if (text.starts_with("NAME=")) facts.osName = unquoted(text.substr(5));
    if (text.starts_with("VERSION_ID=")) facts.osVersion = unquoted(text.substr(11));
  }
  if (facts.osName.empty()) facts.osName = kernel.sysname;
  if (facts.osVersion.empty()) facts.osVersion = kernel.release;
  return facts;
}

/// A name as the time zone database has them, such as "Europe/Oslo" or "Etc/GMT+1"; a rule such as
/// "CET-1CEST" is not one.
bool isZoneName(std::string_view text) {
  if (text.empty() || text.size() > kLongestName) return false;
  const bool spelled = std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '/' ||
           c == '_' || c == '-' || c == '+';
  });
  return spelled && text.front() != '/' &&
         (text.find('/') != std::string_view::npos || text == "UTC" || text == "GMT");
}

/// The part of a path below the time zone database.
std::string zoneBelow(std::string_view path) {
  constexpr std::string_view kDatabase = "zoneinfo/";
  const auto at = path.rfind(kDatabase);
  if (at == std::string_view::npos) return {};
  path.remove_prefix(at + kDatabase.size());
  return isZoneName(path) ? std::string(path) : std::string();
}

std::string timezoneOf(platform::Environment& environment, const std::string& root) {
  if (auto variable = environment.variable("TZ"); variable && !variable->empty()) {
    std::string_view name(*variable);
    if (name.front() == ':') name.remove_prefix(1);
    return isZoneName(name) ? std::string(name) : zoneBelow(name);
  }
  // What the C library goes by comes first; /etc/timezone can be out of date.
  std::array<char, 512> target;
  const ssize_t length =
      ::readlink((root + "/etc/localtime").c_str(), target.data(), target.size());
  if (length > 0) {
    auto zone = zoneBelow({target.data(), static_cast<std::size_t>(length)});
    if (!zone.empty()) return zone;
  }
  const std::string line = firstLine(root + "/etc/timezone");
  return isZoneName(line) ? line : std::string();
}

platform::LocaleFacts readLocale(platform::Environment& environment, const std::string& root) {
  platform::LocaleFacts facts{.locale = {}, .timezone = timezoneOf(environment, root)};
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const auto variable = environment.variable(name);
    if (!variable || variable->empty()) continue;
    facts.locale = localeFrom(*variable);
    break;
  }
  return facts;
}

/// The first battery of the machine itself; that of a mouse does not count.
platform::Battery readBatteryBelow(const std::string& folder) {
  platform::Battery battery;
  const std::unique_ptr<DIR, int (*)(DIR*)> supplies(::opendir(folder.c_str()), ::closedir);
  if (!supplies) return battery;
  while (const dirent* entry = ::readdir(supplies.get())) {
    const std::string supply = folder + "/" + entry->d_name;
    if (firstLine(supply + "/type") != "Battery") continue;
    if (firstLine(supply + "/scope") == "Device") continue;
    const std::string capacity = firstLine(supply + "/capacity");
    int percent = -1;
    std::from_chars(capacity.data(), capacity.data() + capacity.size(), percent);
    if (percent >= 0) battery.level = static_cast<float>(std::min(percent, 100)) / 100.0F;
    const std::string status = firstLine(supply + "/status");
    if (status == "Charging" || status == "Full") battery.charging = true;
    if (status == "Discharging" || status == "Not charging") battery.charging = false;
    break;
  }
  return battery;
}

}  // namespace

std::string localeFrom(std::string_view variable) {
  const std::string_view name = variable.substr(0, variable.find_first_of(".@"));
  const bool spelled = std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
  });
  if (!spelled || name.size() < 2 || name.size() > kLongestName || name == "POSIX") return {};
  return std::string(name);
}

std::string executableName() {
  std::array<char, 4096> path;
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return "app";
  std::string_view name(path.data(), static_cast<std::size_t>(length));
  name.remove_prefix(name.rfind('/') + 1);
  // What the kernel appends when the file has been replaced by an update.
  constexpr std::string_view kDeleted = " (deleted)";
  if (name.ends_with(kDeleted)) name.remove_suffix(kDeleted.size());
  return name.empty() ? "app" : std::string(name);
}

LinuxDevice::LinuxDevice(platform::AppFacts app, platform::Environment& environment,
                         const platform::Clock& clock, base::SerialQueue& reader, std::string root)
    : root_(std::move(root)),
      device_(readDevice(root_)),
      app_(std::move(app)),
      locale_(readLocale(environment, root_)),
      clock_(clock),
      reader_(reader) {}

platform::Battery LinuxDevice::battery() {
  // Looked at when somebody asks, so that nothing wakes an idle app.
  const auto now = clock_.monotonic().count();
  auto due = nextRead_.load(std::memory_order_relaxed);
  if (now >= due && nextRead_.compare_exchange_strong(due, now + kBatteryAge.count())) {
    reader_.async(base::weakly(scope_, [this] { readBattery(); }));
  }
  base::MutexLock lock(mutex_);
  return battery_;
}

void LinuxDevice::readBattery() {
  const auto battery = readBatteryBelow(root_ + "/sys/class/power_supply");
  base::MutexLock lock(mutex_);
  battery_ = battery;
}

}  // namespace zarn::desktop
