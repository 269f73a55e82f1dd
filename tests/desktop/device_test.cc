#include "desktop/device.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "platform/environment.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

using platform::Battery;

class FakeEnvironment : public platform::Environment {
 public:
  std::optional<std::string> variable(const char* name) override {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  }
  std::map<std::string, std::string> variables;
};

class DeviceTest : public ::testing::Test {
 protected:
  void write(const std::string& path, const std::string& text) {
    const std::filesystem::path file = root_.path() + path;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }
  std::unique_ptr<LinuxDevice> open() {
    return std::make_unique<LinuxDevice>(
        platform::AppFacts{.bundleId = "com.example.shop", .name = "Shop", .version = "2"},
        environment_, clock_, queue_, root_.path());
  }
  std::string zone() { return open()->locale().timezone; }

  testing::TempDirectory root_;
  FakeEnvironment environment_;
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  base::SerialQueue queue_{dispatch_.pool(), "disk", base::LockRank::storeQueue};
};

TEST_F(DeviceTest, FactsOfTheSystem) {
  write("/etc/os-release", "PRETTY_NAME=\"X\"\nNAME=\"Debian GNU/Linux\"\nVERSION_ID='12'\n");
  const auto device = open();
  EXPECT_FALSE(device->device().machine.empty());
  EXPECT_EQ(device->device().osName, "Debian GNU/Linux");
  EXPECT_EQ(device->device().osVersion, "12");
  EXPECT_EQ(device->device().screenWidth, 0);
  EXPECT_EQ(device->app().bundleId, "com.example.shop");

  std::filesystem::remove_all(root_.file("etc"));
  EXPECT_EQ(open()->device().osName, "Linux");  // the kernel's word where there is no other
}

TEST_F(DeviceTest, LocaleByTheFirstVariableThatIsSet) {
  EXPECT_EQ(open()->locale().locale, "");
  environment_.variables = {{"LC_ALL", ""}, {"LC_MESSAGES", "en_GB.UTF-8"}, {"LANG", "de_DE"}};
  EXPECT_EQ(open()->locale().locale, "en_GB");
  environment_.variables["LC_ALL"] = "C.UTF-8";
  EXPECT_EQ(open()->locale().locale, "");
  EXPECT_EQ(localeFrom("sr_RS@latin"), "sr_RS");
  EXPECT_EQ(localeFrom("POSIX"), "");
  EXPECT_EQ(localeFrom("/tmp/evil\n"), "");
}

TEST_F(DeviceTest, TimezoneByVariableThenLinkThenFile) {
  EXPECT_EQ(zone(), "");
  write("/etc/timezone", "Europe/Paris\n");
  EXPECT_EQ(zone(), "Europe/Paris");
  std::filesystem::create_symlink("../usr/share/zoneinfo/America/Argentina/Salta",
                                  root_.file("etc/localtime"));
  EXPECT_EQ(zone(), "America/Argentina/Salta");
  for (const auto& [variable, expected] :
       std::map<std::string, std::string>{{"Europe/Oslo", "Europe/Oslo"},
                                          {":Asia/Tokyo", "Asia/Tokyo"},
                                          {"/usr/share/zoneinfo/Etc/GMT+1", "Etc/GMT+1"},
                                          {"UTC", "UTC"},
                                          {"CET-1CEST,M3.5.0,M10.5.0/3", ""},
                                          {"", "America/Argentina/Salta"}}) {
    environment_.variables["TZ"] = variable;
    EXPECT_EQ(zone(), expected) << variable;
  }
}

TEST_F(DeviceTest, BatteryIsReadOffTheCallersThreadAndAgainAfterAWhile) {
  write("/sys/class/power_supply/AC/type", "Mains\n");
  write("/sys/class/power_supply/BAT0/type", "Battery\n");
  write("/sys/class/power_supply/BAT0/capacity", "73\n");
  write("/sys/class/power_supply/BAT0/status", "Charging\n");
  write("/sys/class/power_supply/mouse/type", "Battery\n");
  write("/sys/class/power_supply/mouse/scope", "Device\n");
  write("/sys/class/power_supply/mouse/capacity", "5\n");
  const auto device = open();
  EXPECT_EQ(dispatch_.pendingCount(), 0U);
  EXPECT_EQ(device->battery(), Battery{});
  dispatch_.runUntilIdle();
  const Battery charging{.level = 0.73F, .charging = true};
  EXPECT_EQ(device->battery(), charging);

  write("/sys/class/power_supply/BAT0/capacity", "70\n");
  write("/sys/class/power_supply/BAT0/status", "Discharging\n");
  EXPECT_EQ(dispatch_.pendingCount(), 0U);
  clock_.advance(std::chrono::minutes(2));
  device->battery();
  dispatch_.runUntilIdle();
  EXPECT_EQ(device->battery(), (Battery{.level = 0.7F, .charging = false}));

  write("/sys/class/power_supply/BAT0/capacity", "garbage\n");
  write("/sys/class/power_supply/BAT0/status", "Unknown\n");
  clock_.advance(std::chrono::minutes(2));
  device->battery();
  dispatch_.runUntilIdle();
  EXPECT_EQ(device->battery(), Battery{});
}

}  // namespace
}  // namespace zarn::desktop
