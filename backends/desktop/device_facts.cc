#include "desktop/device_facts.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <vector>

#include "desktop/small_file.h"
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace zarn::desktop {
namespace {

constexpr std::size_t kReleaseBytes = 16 * 1024;
constexpr std::size_t kLongestWord = 128;

/// The value of KEY=value or KEY="value".
std::string unquoted(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value.substr(0, kLongestWord));
}

void readRelease(const std::string& root, platform::DeviceFacts& facts) {
  std::string release = readSmallFile(root + "/etc/os-release", kReleaseBytes);
  if (release.empty()) release = readSmallFile(root + "/usr/lib/os-release", kReleaseBytes);
  std::string_view rest(release);
  while (!rest.empty()) {
    const auto end = std::min(rest.find('\n'), rest.size());
    const auto line = rest.substr(0, end);
    if (line.starts_with("NAME=")) facts.osName = unquoted(line.substr(5));
    if (line.starts_with("VERSION_ID=")) facts.osVersion = unquoted(line.substr(11));
    if (line.starts_with("BUILD_ID=")) facts.osBuild = unquoted(line.substr(9));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

/// What the firmware says; makers that filled in nothing left words such as these.
std::string firmwareWord(const std::string& path) {
  std::string word = firstLine(path).substr(0, kLongestWord);
  std::string lower(word);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  for (const char* nothing :
       {"to be filled by o.e.m.", "system manufacturer", "system product name", "default string",
        "not specified", "not applicable", "unknown", "none", "o.e.m.", "oem", "n/a"}) {
    if (lower == nothing) return {};
  }
  return word;
}

/// By the numbers that the firmware's tables use for housings.
const char* familyOf(long housing) {
  switch (housing) {
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 13:
    case 15:
    case 16:
    case 24:
    case 35:
    case 36:
      return "Desktop";
    case 8:
    case 9:
    case 10:
    case 14:
    case 31:
    case 32:
      return "Notebook";
    case 11:
      return "Handheld";
    case 17:
    case 23:
    case 25:
    case 28:
    case 29:
      return "Server";
    case 30:
      return "Tablet";
    default:
      return "Computer";
  }
}

bool isVirtual(const std::string& brand) {
#if defined(__x86_64__) || defined(__i386__)
  // The processor's own word for it is part of the interface between hypervisors and systems.
  constexpr unsigned kHypervisorBit = 1U << 31;
  unsigned eax = 0;
  unsigned ebx = 0;
  unsigned ecx = 0;
  unsigned edx = 0;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & kHypervisorBit) != 0) return true;
#endif
  return brand == "QEMU";
}

void readProduct(const std::string& root, platform::DeviceFacts& facts) {
  const std::string firmware = root + "/sys/class/dmi/id/";
  facts.brand = firmwareWord(firmware + "sys_vendor");
  facts.model = firmwareWord(firmware + "product_name");
  if (facts.model.empty()) facts.model = firmwareWord(root + "/sys/firmware/devicetree/base/model");
  facts.family = familyOf(firstNumber(firmware + "chassis_type", 0));
  facts.type = facts.family == "Tablet" ? "tablet" : "desktop";
  facts.isSimulator = isVirtual(facts.brand);
}

/// The panel of the device itself comes before screens that are plugged in.
bool isBuiltIn(std::string_view connector) {
  for (const char* kind : {"-eDP-", "-LVDS-", "-DSI-"}) {
    if (connector.find(kind) != std::string_view::npos) return true;
  }
  return false;
}

/// Pixels in an inch by the screen's own description, which tells its width in centimetres.
std::optional<int> dpiOf(const std::string& description, int width) {
  constexpr std::string_view kMark("\0\xFF\xFF\xFF\xFF\xFF\xFF\0", 8);
  constexpr std::size_t kWidthAt = 21;
  constexpr double kCentimetresInAnInch = 2.54;
  if (description.size() <= kWidthAt || !description.starts_with(kMark)) return std::nullopt;
  const int centimetres = static_cast<unsigned char>(description[kWidthAt]);
  if (centimetres == 0) return std::nullopt;
  return static_cast<int>(std::lround(width * kCentimetresInAnInch / centimetres));
}

/// A process without a user interface only knows the screens that the kernel knows.
void readScreen(const std::string& root, platform::DeviceFacts& facts) {
  const std::string folder = root + "/sys/class/drm/";
  auto connectors = namesIn(folder, "card");
  std::stable_partition(connectors.begin(), connectors.end(), isBuiltIn);
  for (const std::string& connector : connectors) {
    if (connector.find('-') == std::string::npos) continue;
    const std::string screen = folder + connector;
    if (firstLine(screen + "/status") != "connected") continue;
    const std::string mode = firstLine(screen + "/modes");  // the preferred one, "1920x1080"
    const char* const end = mode.data() + mode.size();
    int width = 0;
    int height = 0;
    const auto [cross, error] = std::from_chars(mode.data(), end, width);
    if (error != std::errc() || cross == end || *cross != 'x') continue;
    std::from_chars(cross + 1, end, height);
    if (width <= 0 || height <= 0) continue;
    facts.screenWidth = width;
    facts.screenHeight = height;
    facts.screenDpi = dpiOf(readSmallFile(screen + "/edid", 128), width);
    return;
  }
}

std::uint64_t physicalMemory() {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long size = ::sysconf(_SC_PAGESIZE);
  return pages > 0 && size > 0
             ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size)
             : 0;
}

std::optional<Date> bootTime(Date now) {
  timespec up{};
  if (::clock_gettime(CLOCK_BOOTTIME, &up) != 0) return std::nullopt;
  return now - std::chrono::duration_cast<Date::duration>(std::chrono::seconds(up.tv_sec) +
                                                          std::chrono::nanoseconds(up.tv_nsec));
}

}  // namespace

platform::DeviceFacts readDeviceFacts(const std::string& root, Date now) {
  platform::DeviceFacts facts;
  utsname kernel{};
  if (::uname(&kernel) == 0) {
    facts.machine = kernel.machine;
    facts.architecture = kernel.machine;
    facts.kernelVersion = kernel.release;
  }
  readRelease(root, facts);
  if (facts.osName.empty()) facts.osName = kernel.sysname;
  if (facts.osVersion.empty()) facts.osVersion = kernel.release;
  readProduct(root, facts);
  readScreen(root, facts);
  facts.processorCount = static_cast<int>(std::max(::sysconf(_SC_NPROCESSORS_ONLN), 0L));
  facts.physicalMemory = physicalMemory();
  facts.bootTime = bootTime(now);
  return facts;
}

std::optional<Date> processStart(const std::string& root, Date boot) {
  // The name, which comes second, may contain anything; the start is the 20th word behind it.
  constexpr int kWordsBehindName = 20;
  const std::string stat = readSmallFile(root + "/proc/self/stat", 1024);
  auto at = stat.rfind(')');
  for (int word = 0; word < kWordsBehindName && at != std::string::npos; ++word) {
    at = stat.find(' ', at + 1);
  }
  const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
  if (at == std::string::npos || ticksPerSecond <= 0) return std::nullopt;
  std::uint64_t ticks = 0;
  const auto parsed = std::from_chars(stat.data() + at + 1, stat.data() + stat.size(), ticks);
  if (parsed.ec != std::errc()) return std::nullopt;
  const std::chrono::duration<double> sinceBoot(static_cast<double>(ticks) /
                                                static_cast<double>(ticksPerSecond));
  return boot + std::chrono::duration_cast<Date::duration>(sinceBoot);
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

}  // namespace zarn::desktop
