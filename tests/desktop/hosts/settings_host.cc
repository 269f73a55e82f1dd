// A host that is killed as soon as a setting, a secret or a reset is said to be kept, before the
// thread that waits for the disk has had a turn.
//
//   settings_host defaults|secrets|reset FOLDER
//
// Says the anonymous ids before and after the reset.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/host_call.h"
#include "desktop/clock.h"
#include "desktop/defaults.h"
#include "desktop/environment.h"
#include "desktop/files.h"
#include "desktop/log.h"
#include "desktop/random.h"
#include "desktop/secure_store.h"
#include "identity/identity_manager.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"

namespace zarn {
namespace {

class Host {
 public:
  explicit Host(const std::string& folder) : folder_(folder) {}

  [[noreturn]] void run(std::string_view what) {
    const base::HostCall call;
    if (what == "defaults") changeDefaults();
    if (what == "secrets") changeSecrets();
    if (what == "reset") reset();
    ::kill(::getpid(), SIGKILL);
    std::abort();
  }

 private:
  void changeDefaults() {
    defaults_.set("committed", true);
    if (!defaults_.commit()) std::abort();
    defaults_.set("only in memory", true);
  }

  void changeSecrets() {
    secrets_.write("account", "older");
    secrets_.write("account", "newest");
  }

  void reset() {
    auto* const manager = new identity::IdentityManager({.device = device_,
                                                         .crypto = crypto_,
                                                         .random = random_,
                                                         .secrets = secrets_,
                                                         .defaults = defaults_,
                                                         .executor = dispatch_.pool()});
    manager->identify("old user", {{"plan", "old plan"}}, nullptr);
    manager->setSuperProperty("theme", "old theme");
    manager->persistNow();
    if (!defaults_.commit()) std::abort();
    say(manager->snapshot()->anonymousId);
    manager->setSuperProperty("late", "old theme");
    manager->reset();
    manager->persistNow();
    say(manager->snapshot()->anonymousId);
  }

  static void say(const std::string& line) {
    if (::write(STDOUT_FILENO, (line + "\n").data(), line.size() + 1) < 0) std::abort();
  }

  const std::string folder_;
  desktop::ProcessEnvironment environment_;
  desktop::DescriptorLog log_{STDERR_FILENO};
  desktop::PosixFiles files_{{.dataDirectory = folder_, .bundleId = ""}, environment_, log_};
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};  // never runs anything
  base::SerialQueue disk_{dispatch_.pool(), "disk", base::LockRank::storeQueue};
  desktop::FileDefaults defaults_{folder_ + "/Zarn", files_, disk_, clock_, log_};
  desktop::FileSecureStore secrets_{folder_ + "/Zarn", files_, disk_, clock_, log_};
  desktop::KernelRandom random_;
  testing::FakeDevice device_;
  testing::FakeCrypto crypto_;
};

}  // namespace
}  // namespace zarn

int main(int count, char** arguments) {
  if (count == 3) zarn::Host(arguments[2]).run(arguments[1]);
  return 2;
}
