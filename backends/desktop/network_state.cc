#include "desktop/network_state.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace zarn::desktop {
namespace {

constexpr unsigned kInterfaceUp = IFF_UP | IFF_RUNNING;

bool existsBelow(const char* name, const char* what) {
  const std::string path = std::string("/sys/class/net/") + name + "/" + what;
  return ::access(path.c_str(), F_OK) == 0;
}

InterfaceKind kindOf(unsigned short hardware, unsigned flags, const char* name) {
  if ((flags & IFF_LOOPBACK) != 0) return InterfaceKind::loopback;
  const std::string_view text(name);
  if (existsBelow(name, "wireless") || existsBelow(name, "phy80211")) return InterfaceKind::wifi;
  // Modems are named ww..., for wireless wide area.
  if (hardware == ARPHRD_PPP || text.starts_with("ww")) {
    return InterfaceKind::cellular;
  }
  return hardware == ARPHRD_ETHER ? InterfaceKind::ethernet : InterfaceKind::other;
}

template <typename Visit>
void eachAttribute(const rtattr* attribute, int length, Visit visit) {
  for (; RTA_OK(attribute, length); attribute = RTA_NEXT(attribute, length)) visit(*attribute);
}

template <typename T>
T payload(const rtattr& attribute) {
  T value{};
  if (RTA_PAYLOAD(&attribute) >= sizeof(T)) std::memcpy(&value, RTA_DATA(&attribute), sizeof(T));
  return value;
}

void takeLink(const nlmsghdr& message, NetworkState& state) {
  const auto& link = *static_cast<const ifinfomsg*>(NLMSG_DATA(&message));
  std::string name;
  eachAttribute(IFLA_RTA(&link), static_cast<int>(IFLA_PAYLOAD(&message)), [&](const rtattr& at) {
    if (at.rta_type != IFLA_IFNAME) return;
    const auto* text = static_cast<const char*>(RTA_DATA(&at));
    name.assign(text, ::strnlen(text, RTA_PAYLOAD(&at)));
  });
  auto& interface = state[static_cast<unsigned>(link.ifi_index)];
  interface.kind = kindOf(link.ifi_type, link.ifi_flags, name.c_str());
  interface.running = (link.ifi_flags & kInterfaceUp) == kInterfaceUp;
}

void takeAddress(const nlmsghdr& message, NetworkState& state) {
  const auto& address = *static_cast<const ifaddrmsg*>(NLMSG_DATA(&message));
  if (address.ifa_scope < RT_SCOPE_LINK) state[address.ifa_index].hasAddress = true;
}

void takeNextHops(const rtattr& attribute, NetworkState& state) {
  const auto* hop = static_cast<const rtnexthop*>(RTA_DATA(&attribute));
  int length = static_cast<int>(RTA_PAYLOAD(&attribute));
  for (; RTNH_OK(hop, length); hop = RTNH_NEXT(hop)) {
    state[static_cast<unsigned>(hop->rtnh_ifindex)].hasDefaultRoute = true;
    length -= RTNH_ALIGN(hop->rtnh_len);
  }
}

void takeRoute(const nlmsghdr& message, NetworkState& state) {
  const auto& route = *static_cast<const rtmsg*>(NLMSG_DATA(&message));
  if (route.rtm_dst_len != 0 || route.rtm_type != RTN_UNICAST) return;
  if ((route.rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0) return;
  eachAttribute(RTM_RTA(&route), static_cast<int>(RTM_PAYLOAD(&message)), [&](const rtattr& at) {
    if (at.rta_type == RTA_OIF) state[payload<unsigned>(at)].hasDefaultRoute = true;
    if (at.rta_type == RTA_MULTIPATH) takeNextHops(at, state);
  });
}

/// One answer: everything of one kind.
bool dump(int fd, unsigned short type, void (*take)(const nlmsghdr&, NetworkState&),
          NetworkState& state) {
  struct {
    nlmsghdr header;
    rtgenmsg body;
  } request{};
  request.header.nlmsg_len = NLMSG_LENGTH(sizeof(request.body));
  request.header.nlmsg_type = type;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.body.rtgen_family = AF_UNSPEC;
  if (::send(fd, &request, request.header.nlmsg_len, 0) < 0) return false;

  alignas(nlmsghdr) std::array<char, 32768> buffer;
  while (true) {
    const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    auto length = static_cast<unsigned>(got);
    for (auto* message = reinterpret_cast<nlmsghdr*>(buffer.data()); NLMSG_OK(message, length);
         message = NLMSG_NEXT(message, length)) {
      if (message->nlmsg_type == NLMSG_DONE) return true;
      if (message->nlmsg_type == NLMSG_ERROR) return false;
      take(*message, state);
    }
  }
}

}  // namespace

platform::NetworkPath pathOf(const NetworkState& state) {
  platform::NetworkPath path;
  for (const auto& [index, interface] : state) {
    if (interface.kind == InterfaceKind::loopback || !interface.running || !interface.hasAddress ||
        !interface.hasDefaultRoute) {
      continue;
    }
    path.satisfied = true;
    path.usesWifi |= interface.kind == InterfaceKind::wifi;
    path.usesCellular |= interface.kind == InterfaceKind::cellular;
    path.usesEthernet |= interface.kind == InterfaceKind::ethernet;
  }
  return path;
}

std::optional<NetworkState> readNetworkState() {
  const Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
  if (!socket) return std::nullopt;
  const timeval patience{.tv_sec = 1, .tv_usec = 0};
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  NetworkState state;
  if (!dump(socket.get(), RTM_GETLINK, takeLink, state) ||
      !dump(socket.get(), RTM_GETADDR, takeAddress, state) ||
      !dump(socket.get(), RTM_GETROUTE, takeRoute, state)) {
    return std::nullopt;
  }
  return state;
}

Descriptor openNetworkChanges() {
  Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups =
      RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
  if (!socket ||
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    return {};
  }
  return socket;
}

}  // namespace zarn::desktop
