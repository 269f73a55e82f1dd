// The user's locale and time zone, from the environment and the system's files; the process's own
// locale belongs to the host and is neither read nor set.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/device.h"

namespace zarn::platform {
class Environment;
}

namespace zarn::desktop {

/// Files are looked for below `root`.
platform::LocaleFacts readLocaleFacts(platform::Environment& environment, const std::string& root);

/// "en_GB.UTF-8@euro" gives "en_GB"; "C", "POSIX" and anything malformed give nothing.
std::string localeFrom(std::string_view variable);

/// "de_AT:en" and "de_AT" give "de-AT" and "en": the list first, then the locale itself.
std::vector<std::string> languagesFrom(std::string_view list, std::string_view locale);

/// Whether a format of strftime for the time of day counts to 24.
bool countsTo24(std::string_view timeFormat);

}  // namespace zarn::desktop
