// A network of a thread's own, with nothing but a loopback interface, for tests of what the machine
// does when its network comes and goes.
#pragma once

#include <string>
#include <thread>

namespace zarn::testing {

/// For the calling thread and those it starts from now on. False where the system forbids it.
bool enterNetworkOfItsOwn();

/// Runs `body` on a thread in such a network; threads that it starts are in it too. False, without
/// having run it, where the system does not allow that.
template <typename F>
bool runInNetworkOfItsOwn(F body) {
  bool ran = false;
  std::thread([&] {
    ran = enterNetworkOfItsOwn();
    if (ran) body();
  }).join();
  return ran;
}

/// Runs the `ip` program, as in ip("link set lo up"). False when it fails.
bool ip(const std::string& arguments);

}  // namespace zarn::testing
