// Words that every exchange with the server has in common.
#pragma once

#include <string_view>

namespace zarn::model {

/// The platform under which the server files everything: ZARN_WIRE_PLATFORM when the library is
/// built. It names the kind of data, not the system: that is told by the context of a batch.
extern const std::string_view kWirePlatform;

inline constexpr std::string_view kSdkVersion = "1.0.16";

}  // namespace zarn::model
