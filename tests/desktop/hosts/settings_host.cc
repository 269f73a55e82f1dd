// A host that is killed as soon as a setting or a secret is said to be kept, before the thread that
// waits for the disk has had a turn.
//
//   settings_host defaults|secrets FOLDER
#include <unistd.h>

#include <csignal>
#include <string_view>

#include "base/host_call.h"
#include "desktop/clock.h"
#include "desktop/defaults.h"
#include "desktop/environment.h"
#include "desktop/files.h"
#include "desktop/log.h"
#include "desktop/secure_store.h"
#include "support/manual_dispatch.h"

namespace zarn {
namespace {

int run(std::string_view what, const std::string& folder) {
  desktop::ProcessEnvironment environment;
  desktop::DescriptorLog log(STDERR_FILENO);
  desktop::PosixFiles files({.dataDirectory = folder, .bundleId = ""}, environment, log);
  testing::ManualClock clock;
  testing::ManualDispatch dispatch(clock);  // never runs anything
  base::SerialQueue queue(dispatch.pool(), "disk", base::LockRank::storeQueue);
  const base::HostCall call;
  if (what == "defaults") {
    desktop::FileDefaults defaults(folder + "/Zarn", files, queue, clock, log);
    defaults.set("committed", true);
    if (!defaults.commit()) return 1;
    defaults.set("only in memory", true);
    ::kill(::getpid(), SIGKILL);
  } else {
    desktop::FileSecureStore secrets(folder + "/Zarn", files, queue, clock, log);
    secrets.write("account", "older");
    secrets.write("account", "newest");
    ::kill(::getpid(), SIGKILL);
  }
  return 2;
}

}  // namespace
}  // namespace zarn

int main(int count, char** arguments) {
  return count == 3 ? zarn::run(arguments[1], arguments[2]) : 3;
}
