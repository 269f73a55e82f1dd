// What the kernel says of interfaces, addresses and routes, and the path that follows from it.
#pragma once

#include <map>
#include <optional>
#include <set>

#include "desktop/descriptor.h"
#include "platform/path_monitor.h"

namespace zarn::desktop {

enum class InterfaceKind { other, loopback, ethernet, wifi, cellular };

struct NetworkInterface {
  InterfaceKind kind = InterfaceKind::other;
  bool running = false;     // switched on, and the cable or the radio is connected
  bool hasAddress = false;  // one that is valid beyond its own link
  bool hasDefaultRoute = false;
};

using NetworkState = std::map<unsigned, NetworkInterface>;  // by the kernel's index

/// Satisfied when some interface other than loopback is running with an address and a default
/// route; it uses all interfaces of which that is true.
platform::NetworkPath pathOf(const NetworkState& state);

/// Asks the kernel; nothing when it does not answer.
std::optional<NetworkState> readNetworkState();

/// A socket on which the kernel reports every change of what `readNetworkState` reads.
Descriptor openNetworkChanges();

}  // namespace zarn::desktop
