// Does what a test orders about links, push messages and requests:
// producers_host API_HOST DATA ORDERS
#include "orders.h"
#include "zarn/desktop.h"

using zarn::Properties;
using zarn::PushProvider;
using zarn::Zarn;
using zarn::testing::comes;

namespace {

void request(const std::string& url) {
  static const auto network = Zarn::networkDelegate();
  network->didFinishCollectingMetrics({}, {.url = url, .status = 200, .duration = 0.1});
}

/// Of a message with that id.
Properties payload(const std::string& id) {
  return {{"apns-id", id}, {"aps", Properties{{"alert", "Your order is ready"}}}};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  zarn::desktop::describeHost({.bundleId = "com.example.producers", .dataDirectory = argv[2]});
  Zarn::configure("wk_test_x_producers_key",
                  {.apiHost = argv[1], .universalLinkHosts = {"links.example"}});

  auto orders = zarn::testing::commonOrders();
  orders["track"] = [](const std::string& name) { return Zarn::track(name), "done"; };
  orders["link"] = [](const std::string& url) { return Zarn::handleURL(url) ? "done" : "no"; };
  orders["token"] = [](const std::string& token) {
    return Zarn::setPushToken(token, PushProvider::apns), "done";
  };
  orders["receive"] = [](const std::string& id) {
    return Zarn::logPushReceived(payload(id), "active"), "done";
  };
  orders["open"] = [](const std::string& id) { return Zarn::logPushOpened(payload(id)), "done"; };
  orders["request"] = [](const std::string& url) { return request(url), "done"; };
  orders["reset"] = [](const std::string&) { return Zarn::reset(), "done"; };
  // Of a policy that also forbids replay.
  orders["await-ban"] = [](const std::string&) {
    return comes([] { return Zarn::diagnostics().replayEnabledByProject == false; }) ? "done"
                                                                                     : "no";
  };
  zarn::testing::follow(argv[3], orders);
}
