#include "support/network_namespace.h"

#include <sched.h>

#include <cstdlib>

namespace zarn::testing {

bool enterNetworkOfItsOwn() {
  return ::unshare(CLONE_NEWNET) == 0 && ip("link set lo up");
}

bool ip(const std::string& arguments) {
  return std::system(("ip " + arguments + " 2>/dev/null").c_str()) == 0;
}

}  // namespace zarn::testing
