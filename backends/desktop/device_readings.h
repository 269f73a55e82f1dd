// What Linux tells of the device's state at this moment. Files are looked for below `root`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/device.h"

namespace zarn::desktop {

/// The first battery of the machine itself; that of a mouse does not count. May wait for hardware.
platform::Battery readBattery(const std::string& root);

/// By the hottest part, measured by the marks that its maker has set; nothing where no part has
/// any. May wait for hardware.
std::optional<std::string> readThermalState(const std::string& root);

/// Of the file system that holds `folder`. May wait for a disk or a server.
platform::Storage readStorage(const std::string& folder);

/// What programs can get without anything being written out to make room, in bytes.
std::optional<std::uint64_t> readFreeMemory(const std::string& root);

}  // namespace zarn::desktop
