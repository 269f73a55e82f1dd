// What Linux tells of the machine and the system; does not change while the process runs.
#pragma once

#include <optional>
#include <string>

#include "platform/device.h"

namespace zarn::desktop {

/// Files are looked for below `root`; `now` is the present, from which the time of the start is
/// counted back.
platform::DeviceFacts readDeviceFacts(const std::string& root, Date now);

/// When this process was started.
std::optional<Date> processStart(const std::string& root, Date boot);

/// The name of the executable, or "app".
std::string executableName();

}  // namespace zarn::desktop
