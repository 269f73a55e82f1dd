#include "identity/enriched_context.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/iso8601.h"
#include "base/json.h"
#include "identity/enriched_context_collector.h"
#include "platform/path_monitor.h"
#include "support/fake_services.h"

namespace zarn::identity {
namespace {

using platform::Orientation;

constexpr std::uint64_t kGigabyte = std::uint64_t{1} << 30;

TEST(EnrichedContextWords, DeviceClassByCoresAndMemory) {
  struct Case {
    int cores;
    double gigabytes;
    const char* expected;
  };
  for (const auto& [cores, gigabytes, expected] : std::initializer_list<Case>{{6, 3, "medium"},
                                                                              {4, 4, "medium"},
                                                                              {5, 3.99, "medium"},
                                                                              {5, 4, "high"},
                                                                              {6, 6, "high"},
                                                                              {8, 1, "low"},
                                                                              {8, 1.99, "low"},
                                                                              {3, 2, "medium"},
                                                                              {2, 64, "low"},
                                                                              {0, 8, "unknown"},
                                                                              {8, 0, "unknown"}}) {
    const auto bytes = static_cast<std::uint64_t>(gigabytes * kGigabyte);
    EXPECT_EQ(deviceClass(cores, bytes), expected) << cores << " cores, " << gigabytes << " GB";
  }
}

TEST(EnrichedContextWords, OrientationByTheDeviceThenByTheScreen) {
  EXPECT_EQ(orientationWord(Orientation::portrait, 1280, 800), "portrait");
  EXPECT_EQ(orientationWord(Orientation::landscape, 800, 1280), "landscape");
  EXPECT_EQ(orientationWord(Orientation::unknown, 1280, 800), "landscape");
  EXPECT_EQ(orientationWord(Orientation::unknown, 800, 800), "portrait");
}

/// Shows what it was asked to hash.
class RecordingCrypto final : public platform::Crypto {
 public:
  platform::Sha256Digest sha256(std::string_view bytes) override {
    hashed = bytes;
    return {0xAB, 0x01};
  }
  std::string hashed;
};

class EnrichedContextTest : public ::testing::Test {
 protected:
  EnrichedContextTest() {
    auto& facts = device_.deviceFacts;
    facts = {.machine = "x86_64",
             .osName = "Debian GNU/Linux",
             .osVersion = "12",
             .osBuild = "7",
             .kernelVersion = "6.1.0",
             .family = "Notebook",
             .model = "Modell 5",
             .brand = "Werk",
             .type = "desktop",
             .architecture = "x86_64",
             .screenWidth = 2560,
             .screenHeight = 1600,
             .screenScale = 2,
             .screenDpi = 226,
             .maxTouchPoints = 10,
             .processorCount = 8,
             .physicalMemory = 16 * kGigabyte - 1,
             .bootTime = base::parseIso8601("2026-01-02T03:04:05.678Z")};
    device_.appFacts = {.bundleId = "com.example.shop",
                        .name = "Shop",
                        .version = "2.4.1",
                        .build = "241",
                        .buildType = "release",
                        .startTime = base::parseIso8601("2026-01-02T04:00:00.9Z")};
    device_.localeFacts.languages = {"en-GB", "nb"};
    device_.batteryState = {.level = 0.73F, .charging = true};
    device_.storageState = {.free = 250'000'000'000, .size = 500'000'000'000};
    device_.freeBytes = 3 * kGigabyte / 2;
    device_.thermalWord = "fair";
    device_.isInForeground = true;
    path_.publish(std::make_shared<const platform::NetworkPath>(
        platform::NetworkPath{.satisfied = true, .usesWifi = true}));
  }

  void allow(const model::DeviceConfig& device) {
    model::RemoteDataCollectionConfig config;
    config.device = device;
    config_.publish(std::make_shared<const model::RemoteDataCollectionConfig>(config));
  }
  /// The whole record as text.
  std::string collected() {
    const auto json = collector_.collect();
    return json ? *json : "none";
  }
  /// One section of it as text, with its braces.
  std::string section(const std::string& name) {
    const std::string json = collected();
    const auto at = json.find("\"" + name + "\":{");
    if (at == std::string::npos) return "none";
    const auto start = json.find('{', at);
    return json.substr(start, json.find('}', start) + 1 - start);
  }

  testing::FakeDevice device_;
  RecordingCrypto crypto_;
  model::Published<model::RemoteDataCollectionConfig> config_;
  model::Published<platform::NetworkPath> path_;
  EnrichedContextCollector collector_{device_, crypto_, config_, path_};
};

TEST_F(EnrichedContextTest, HasAllKeysInTheOrderOfTheWire) {
  EXPECT_EQ(
      collected(),
      R"({"device":{"family":"Notebook","model":"Modell 5","brand":"Werk","type":"desktop",)"
      R"("screen_width_px":2560,"screen_height_px":1600,"screen_density":2.0,)"
      R"("orientation":"landscape","device_hash":")"
      "ab01000000000000000000000000000000000000000000000000000000000000"
      R"(","device_class":"high","kernel_version":"6.1.0","boot_time":"2026-01-02T03:04:05.678Z",)"
      R"("is_simulator":false},)"
      R"("os":{"name":"Debian GNU/Linux","version":"12","build":"7"},)"
      R"("runtime":{"language":"en-GB","languages":["en-GB","nb"],"timezone":"Europe/Oslo"},)"
      R"("hardware":{"memory_gb":15,"cpu_cores":8,"max_touch_points":10,)"
      R"("connection_type":"wifi","free_memory":1536.0,"usable_memory":16383.999999046326,)"
      R"("battery_level":0.73,"is_charging":true,"processor_count":8,)"
      R"("free_storage":250000000000.0,"storage_size":500000000000.0,"archs":["x86_64"],)"
      R"("brand":"Werk","manufacturer":"Werk","screen_dpi":226,"low_memory":false,)"
      R"("thermal_state":"fair"},)"
      R"("app":{"version":"2.4.1","build":"241","bundle_id":"com.example.shop","name":"Shop",)"
      R"("build_type":"release","start_time":"2026-01-02T04:00:00Z","in_foreground":true},)"
      R"("culture":{"locale":"en_GB","calendar":"gregorian","uses_24h_format":true,)"
      R"("region":"GB"}})");
  EXPECT_EQ(crypto_.hashed, "Modell 5|com.example.shop|Debian GNU/Linux 12 (7)");
}

TEST_F(EnrichedContextTest, LeavesOutWhatNobodyCanTell) {
  device_.deviceFacts = {.machine = "aarch64", .osName = "Linux", .osVersion = "6.1"};
  device_.appFacts = {};
  device_.localeFacts = {};
  device_.batteryState = {.level = -1.0F, .charging = {}};
  device_.storageState = {};
  device_.freeBytes = 99 << 20;
  device_.thermalWord = {};
  device_.isInForeground = {};
  path_.publish(nullptr);
  EXPECT_EQ(collected().find("null"), std::string::npos);
  EXPECT_EQ(section("os"), R"({"name":"Linux","version":"6.1"})");
  EXPECT_EQ(section("runtime"), R"({"language":"en","languages":[],"timezone":""})");
  EXPECT_EQ(section("hardware"),
            R"({"memory_gb":0,"cpu_cores":0,"max_touch_points":0,"connection_type":"unknown",)"
            R"("free_memory":99.0,"processor_count":0,"brand":"","manufacturer":"",)"
            R"("low_memory":true,"thermal_state":"unknown"})");
  EXPECT_EQ(section("app"), R"({"version":"0.0.0","build":"0","bundle_id":"unknown","name":""})");
  EXPECT_EQ(section("culture"), R"({"locale":"","calendar":"","uses_24h_format":true})");
  EXPECT_EQ(crypto_.hashed, "aarch64|unknown|Linux 6.1");
}

TEST_F(EnrichedContextTest, ForbiddenHardwareLeavesTheModel) {
  allow({.hardwareInfo = false});
  EXPECT_EQ(section("hardware"),
            R"({"memory_gb":0,"cpu_cores":0,"max_touch_points":0,"connection_type":"wifi",)"
            R"("battery_level":0.73,"is_charging":true,"processor_count":0,"brand":"",)"
            R"("manufacturer":"","thermal_state":"fair"})");
  EXPECT_EQ(section("device").find(
                R"({"family":"Notebook","model":"Modell 5","brand":"","type":"desktop",)"
                R"("screen_width_px":0,"screen_height_px":0,"screen_density":0.0,)"
                R"("orientation":"landscape","device_hash":"ab01)"),
            0u);
  for (const char* told : {"Werk", "2560", "1600", "high", "226"}) {
    EXPECT_EQ(collected().find(told), std::string::npos) << told;
  }
}

TEST_F(EnrichedContextTest, EachOtherGateClosesOnItsOwn) {
  allow({.connectionInfo = false});
  EXPECT_EQ(section("hardware").find("connection_type"), std::string::npos);
  EXPECT_NE(section("hardware").find("battery_level"), std::string::npos);
  EXPECT_NE(section("hardware").find(R"("memory_gb":15)"), std::string::npos);

  allow({.batteryInfo = false});
  device_.batteryReads = 0;
  EXPECT_EQ(section("hardware").find("battery_level"), std::string::npos);
  EXPECT_EQ(section("hardware").find("is_charging"), std::string::npos);
  EXPECT_NE(section("hardware").find("connection_type"), std::string::npos);
  EXPECT_EQ(device_.batteryReads, 0);

  allow({.context = false});
  EXPECT_EQ(collected(), "none");
  EXPECT_EQ(device_.batteryReads, 0);

  allow({.hardwareInfo = true});
  EXPECT_NE(section("hardware").find(R"("memory_gb":15)"), std::string::npos);
  EXPECT_EQ(device_.batteryReads, 1);
}

}  // namespace
}  // namespace zarn::identity
