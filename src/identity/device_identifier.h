// Where the ids come from: the device's own facts, and the secure store for what must stay.
#pragma once

#include <string>
#include <string_view>

namespace zarn::platform {
class Crypto;
class Device;
class Random;
class SecureStore;
}  // namespace zarn::platform

namespace zarn::identity {

inline constexpr std::string_view kDeviceIdAccount = "zarn_device_id";
inline constexpr std::string_view kAnonymousIdAccount = "zarn_anonymous_id";

/// The stored id, or a fresh one that is stored now. Any thread, as all of these.
std::string storedOrFreshId(std::string_view account, platform::SecureStore& secrets,
                            platform::Random& random);

/// The vendor's id of the device; where there is none, one of ours that is stored.
std::string deviceId(platform::Device& device, platform::SecureStore& secrets,
                     platform::Random& random);

/// 64 lower-case digits: the same at every launch on a device of this kind, with this system, time
/// zone, locale and class of disk.
std::string fingerprint(platform::Device& device, platform::Crypto& crypto);

}  // namespace zarn::identity
