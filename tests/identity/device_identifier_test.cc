#include "identity/device_identifier.h"

#include <gtest/gtest.h>

#include "support/fake_services.h"

namespace zarn::identity {
namespace {

/// Keeps what was hashed.
class RecordingCrypto final : public platform::Crypto {
 public:
  platform::Sha256Digest sha256(std::string_view bytes) override {
    hashed = bytes;
    platform::Sha256Digest digest{};
    digest[0] = 0x0a;
    return digest;
  }
  std::string hashed;
};

TEST(DeviceIdentifier, TheFingerprintSaysWhatKindOfDeviceItIs) {
  testing::FakeDevice device;
  device.deviceFacts.model = "Book";
  device.deviceFacts.screenWidth = 2561;
  device.deviceFacts.screenHeight = 1600;
  device.deviceFacts.screenScale = 2;
  device.storageState.size = std::uint64_t{256'060'514'304};
  RecordingCrypto crypto;
  const std::string text = fingerprint(device, crypto);
  EXPECT_EQ(crypto.hashed, "Book|Linux|6.1|1280x800|2.0|Europe/Oslo|en_GB|disk:14GB");
  EXPECT_EQ(text, "0a" + std::string(62, '0'));

  device.storageState.size = std::uint64_t{1} << 33;
  fingerprint(device, crypto);
  EXPECT_TRUE(crypto.hashed.ends_with("|disk:0GB")) << crypto.hashed;

  device.deviceFacts = {};
  device.deviceFacts.screenScale = 0;
  device.localeFacts = {};
  device.storageState = {};
  fingerprint(device, crypto);
  EXPECT_EQ(crypto.hashed, "|||0x0|0.0||");
}

TEST(DeviceIdentifier, AnIdThatCannotBeStoredIsStillOne) {
  testing::FakeDevice device;
  testing::FakeRandom random;
  testing::FakeSecureStore secrets;
  device.deviceFacts.vendorIdentifier = "";
  secrets.failWrites(true);
  const std::string first = deviceId(device, secrets, random);
  EXPECT_TRUE(Uuid::parse(first));
  secrets.failWrites(false);
  const std::string second = deviceId(device, secrets, random);
  EXPECT_NE(second, first);
  EXPECT_EQ(deviceId(device, secrets, random), second);
}

}  // namespace
}  // namespace zarn::identity
