// Push messages.
#pragma once

#include <cstdint>
#include <string_view>

#include "zarn/export.h"

ZARN_NAMESPACE_BEGIN

/// Who delivers an app's push messages.
enum class PushProvider : std::uint8_t { apns, firebase };

/// "apns" or "firebase".
ZARN_API std::string_view rawValue(PushProvider provider) noexcept;

ZARN_NAMESPACE_END
