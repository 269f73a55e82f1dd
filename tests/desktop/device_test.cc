#include "desktop/device.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "desktop/clock.h"
#include "desktop/locale_facts.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/temp_directory.h"

namespace zarn::desktop {
namespace {

using platform::Battery;

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
  testing::FakeEnvironment environment_;
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  base::SerialQueue queue_{dispatch_.pool(), "disk", base::LockRank::storeQueue};
};

TEST_F(DeviceTest, FactsOfTheSystem) {
  write("/etc/os-release",
        "PRETTY_NAME=\"X\"\nNAME=\"Debian GNU/Linux\"\nVERSION_ID='12'\nBUILD_ID=rolling");
  const auto device = open();
  const auto& facts = device->device();
  EXPECT_FALSE(facts.machine.empty());
  EXPECT_EQ(facts.architecture, facts.machine);
  EXPECT_FALSE(facts.kernelVersion.empty());
  EXPECT_EQ(facts.osName, "Debian GNU/Linux");
  EXPECT_EQ(facts.osVersion, "12");
  EXPECT_EQ(facts.osBuild, "rolling");
  EXPECT_GE(facts.processorCount, 1);
  EXPECT_GE(facts.physicalMemory, 1u << 24);
  EXPECT_EQ(device->app().bundleId, "com.example.shop");

  std::filesystem::remove_all(root_.file("etc"));
  EXPECT_EQ(open()->device().osName, "Linux");  // the kernel's word where there is no other
}

TEST_F(DeviceTest, FactsOfTheProductAsItsFirmwareTellsThem) {
  EXPECT_EQ(open()->device().family, "Computer");
  EXPECT_EQ(open()->device().type, "desktop");
  write("/sys/class/dmi/id/sys_vendor", "Werk GmbH \n");
  write("/sys/class/dmi/id/product_name", "Modell 5\n");
  for (const auto& [housing, expected] :
       std::map<std::string, std::string>{{"3", "Desktop desktop"},
                                          {"10", "Notebook desktop"},
                                          {"23", "Server desktop"},
                                          {"30", "Tablet tablet"},
                                          {"?", "Computer desktop"}}) {
    write("/sys/class/dmi/id/chassis_type", housing + "\n");
    const auto facts = open()->device();
    EXPECT_EQ(facts.family + " " + facts.type, expected);
    EXPECT_EQ(facts.brand + ", " + facts.model, "Werk GmbH, Modell 5");
  }
  write("/sys/class/dmi/id/sys_vendor", "To Be Filled By O.E.M.\n");
  write("/sys/class/dmi/id/product_name", "Default string\n");
  write("/sys/firmware/devicetree/base/model", std::string("Board 4\0\0", 9));
  EXPECT_EQ(open()->device().brand, "");
  EXPECT_EQ(open()->device().model, "Board 4");
}

TEST_F(DeviceTest, TheMainScreenIsTheOneThatIsBuiltIn) {
  EXPECT_EQ(open()->device().screenWidth, 0);
  const std::string folder = "/sys/class/drm/";
  write(folder + "card0/status", "connected\n");
  write(folder + "card0/modes", "1x1\n");
  write(folder + "card0-DP-1/status", "connected\n");
  write(folder + "card0-DP-1/modes", "3840x2160\n1920x1080\n");
  write(folder + "card0-HDMI-A-1/status", "disconnected\n");
  write(folder + "card0-eDP-1/status", "connected\n");
  write(folder + "card0-eDP-1/modes", "garbage\n");
  EXPECT_EQ(open()->device().screenWidth, 3840);
  EXPECT_EQ(open()->device().screenHeight, 2160);
  EXPECT_EQ(open()->device().screenDpi, std::nullopt);

  write(folder + "card0-eDP-1/modes", "1920x1200\n");
  std::string description("\0\xFF\xFF\xFF\xFF\xFF\xFF\0", 8);
  description.resize(128);
  description[21] = 30;  // centimetres
  write(folder + "card0-eDP-1/edid", description);
  EXPECT_EQ(open()->device().screenWidth, 1920);
  EXPECT_EQ(open()->device().screenHeight, 1200);
  EXPECT_EQ(open()->device().screenDpi, 163);
}

TEST_F(DeviceTest, StartOfTheMachineAndOfTheProcess) {
  EXPECT_EQ(open()->app().startTime, std::nullopt);
  SystemClock clock;
  LinuxDevice real({}, environment_, clock, queue_);
  ASSERT_TRUE(real.device().bootTime && real.app().startTime);
  EXPECT_LT(*real.device().bootTime, *real.app().startTime);
  EXPECT_LT(*real.app().startTime, clock.now() + std::chrono::seconds(1));
  EXPECT_GT(*real.app().startTime, clock.now() - std::chrono::hours(1));
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

TEST_F(DeviceTest, LanguagesRegionAndClockOfTheUser) {
  EXPECT_TRUE(open()->locale().languages.empty());
  EXPECT_EQ(open()->locale().region, "");
  EXPECT_TRUE(open()->locale().uses24hFormat);
  environment_.variables = {{"LANG", "de_AT.UTF-8"}, {"LANGUAGE", "de_AT:en_GB::nb"}};
  const auto locale = open()->locale();
  EXPECT_EQ(locale.languages, (std::vector<std::string>{"de-AT", "en-GB", "nb"}));
  EXPECT_EQ(locale.region, "AT");
  EXPECT_EQ(locale.calendar, "gregorian");
  environment_.variables["LANG"] = "C";  // no translations, whatever else is wished for
  EXPECT_TRUE(open()->locale().languages.empty());

  EXPECT_EQ(languagesFrom("", "pt_BR"), std::vector<std::string>{"pt-BR"});
  EXPECT_EQ(languagesFrom("../x:C:sv", "sv"), std::vector<std::string>{"sv"});
  EXPECT_TRUE(countsTo24("%H:%M:%S"));
  EXPECT_FALSE(countsTo24("%I:%M:%S %p"));
  EXPECT_FALSE(countsTo24("%r"));
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

TEST_F(DeviceTest, ThermalStateByTheMarksOfTheHottestPart) {
  const auto state = [this] {
    const auto device = open();
    device->thermalState();
    dispatch_.runUntilIdle();
    return device->thermalState().value_or("-");
  };
  const std::string zone = "/sys/class/thermal/thermal_zone";
  EXPECT_EQ(state(), "-");
  write(zone + "0/temp", "90000\n");
  write(zone + "0/trip_point_0_type", "passive\n");
  write(zone + "0/trip_point_0_temp", "-274000\n");
  EXPECT_EQ(state(), "-") << "a mark that is not in use tells nothing";
  write(zone + "1/trip_point_0_type", "critical\n");
  write(zone + "1/trip_point_0_temp", "105000\n");
  write(zone + "1/trip_point_1_type", "passive\n");
  write(zone + "1/trip_point_1_temp", "95000\n");
  write(zone + "1/trip_point_2_type", "active\n");
  write(zone + "1/trip_point_2_temp", "60000\n");
  for (const auto& [temperature, expected] :
       std::map<std::string, std::string>{{"45000", "nominal"},
                                          {"60000", "fair"},
                                          {"95000", "serious"},
                                          {"105000", "critical"},
                                          {"", "-"}}) {
    write(zone + "1/temp", temperature);
    EXPECT_EQ(state(), expected);
  }
}

TEST_F(DeviceTest, MemoryAndStorageThatAreFree) {
  EXPECT_EQ(open()->freeMemory(), std::nullopt);
  write("/proc/meminfo", "MemTotal: 16000000 kB\nMemFree:    1000 kB\n");
  EXPECT_EQ(open()->freeMemory(), 1000u * 1024);
  write("/proc/meminfo", "MemFree:    1000 kB\nMemAvailable:    2000 kB\n");
  EXPECT_EQ(open()->freeMemory(), 2000u * 1024);

  environment_.variables["HOME"] = root_.path();
  const auto storage = open()->storage();
  ASSERT_TRUE(storage.free && storage.size);
  EXPECT_LE(*storage.free, *storage.size);
}

}  // namespace
}  // namespace zarn::desktop
