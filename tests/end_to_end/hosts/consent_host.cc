// Does what a test orders about consent, identity and pauses: consent_host API_HOST DATA ORDERS
#include "orders.h"
#include "zarn/desktop.h"

using zarn::Zarn;
using zarn::testing::comes;

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  zarn::desktop::describeHost({.bundleId = "com.example.consent", .dataDirectory = argv[2]});
  Zarn::configure("wk_test_x_consent_key", {.apiHost = argv[1]});

  auto orders = zarn::testing::commonOrders();
  orders["track"] = [](const std::string& name) { return Zarn::track(name), "done"; };
  orders["send"] = [](const std::string& name) {
    Zarn::track(name);
    Zarn::flush();
    return "done";
  };
  orders["identify"] = [](const std::string& user) {
    Zarn::identify(user, {{"plan", "plan of " + user}});
    Zarn::setSuperProperty("club", "club of " + user);
    return "done";
  };
  orders["reset"] = [](const std::string&) { return Zarn::reset(), "done"; };
  orders["await-pause"] = [](const std::string&) {
    return comes([] { return Zarn::diagnostics().paused; }) ? "done" : "no";
  };
  orders["await-empty"] = [](const std::string&) {
    return comes([] { return Zarn::diagnostics().queue.bufferedEventCount == 0; }) ? "done" : "no";
  };
  orders["opted-out"] = [](const std::string&) {
    return Zarn::diagnostics().replayStatus == "opted_out" ? "yes" : "no";
  };
  zarn::testing::follow(argv[3], orders);
}
