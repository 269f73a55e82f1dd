// Words that every exchange with the server has in common.
#pragma once

#include <string_view>

namespace zarn::model {

/// The server files everything under one platform word; which one is settled when the library is
/// built.
#if defined(ZARN_WIRE_PLATFORM)
inline constexpr std::string_view kWirePlatform = ZARN_WIRE_PLATFORM;
#else
inline constexpr std::string_view kWirePlatform = "ios";
#endif

inline constexpr std::string_view kSdkVersion = "1.0.16";

}  // namespace zarn::model
