#include "identity/device_identifier.h"

#include <cmath>

#include "base/hex.h"
#include "base/json.h"
#include "identity/random_uuid.h"
#include "platform/crypto.h"
#include "platform/device.h"
#include "platform/secure_store.h"

namespace zarn::identity {
namespace {

constexpr unsigned kDiskStep = 34;  // steps of 16 GB tell the class of a disk and not which it is

std::string inPoints(int pixels, double scale) {
  return std::to_string(static_cast<long>(scale > 0 ? pixels / scale : pixels));
}

std::string decimalText(double number) {
  std::string text;
  base::JsonWriter(text).number(number);
  return text;
}

}  // namespace

std::string storedOrFreshId(std::string_view account, platform::SecureStore& secrets,
                            platform::Random& random) {
  if (auto stored = secrets.read(account)) return *stored;
  return secrets.readOrWrite(account, randomUuidText(random));
}

std::string deviceId(platform::Device& device, platform::SecureStore& secrets,
                     platform::Random& random) {
  const auto& vendorIdentifier = device.device().vendorIdentifier;
  return vendorIdentifier && !vendorIdentifier->empty()
             ? *vendorIdentifier
             : storedOrFreshId(kDeviceIdAccount, secrets, random);
}

std::string fingerprint(platform::Device& device, platform::Crypto& crypto) {
  const platform::DeviceFacts& facts = device.device();
  const platform::LocaleFacts locale = device.locale();
  std::string text = facts.model;
  const auto add = [&](std::string_view part) { text.append("|").append(part); };
  add(facts.osName);
  add(facts.osVersion);
  add(inPoints(facts.screenWidth, facts.screenScale) + "x" +
      inPoints(facts.screenHeight, facts.screenScale));
  add(decimalText(facts.screenScale));
  add(locale.timezone);
  add(locale.locale);
  if (const auto size = device.storage().size) {
    add("disk:" + std::to_string(*size >> kDiskStep) + "GB");
  }
  return base::lowerHex(crypto.sha256(text));
}

}  // namespace zarn::identity
