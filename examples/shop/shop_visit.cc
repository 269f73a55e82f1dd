// A small shop without a user interface: one launch is one visit. It shows what a host calls, and
// keeps a journal of what it has tracked, so that a script can hold that against what arrived at
// the server.
//
//   zarn-shop-visit --api-host http://127.0.0.1:8090 --data /tmp/shop --launch 1 --journal
//   /tmp/journal
//                   [--only-deliver] [--pace-ms 5] [--debug]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include "zarn/desktop.h"
#include "zarn/zarn.h"

using zarn::Array;
using zarn::Properties;
using zarn::Zarn;

namespace {

struct Arguments {
  std::string apiHost, data, journal, launch = "1";
  bool onlyDeliver = false, debug = false;
  int paceMs = 5;
};

[[noreturn]] void fail(const std::string& problem) {
  std::fprintf(
      stderr,
      "zarn-shop-visit: %s\nusage: zarn-shop-visit --api-host URL --data DIR --journal FILE "
      "[--launch N] [--only-deliver] [--pace-ms N] [--debug]\n",
      problem.c_str());
  std::exit(2);
}

Arguments parse(int argc, char** argv) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string_view name = argv[i];
    const auto value = [&]() -> std::string {
      if (++i == argc) fail(std::string(name) + " needs a value");
      return argv[i];
    };
    if (name == "--api-host")
      arguments.apiHost = value();
    else if (name == "--data")
      arguments.data = value();
    else if (name == "--journal")
      arguments.journal = value();
    else if (name == "--launch")
      arguments.launch = value();
    else if (name == "--pace-ms")
      arguments.paceMs = std::atoi(value().c_str());
    else if (name == "--only-deliver")
      arguments.onlyDeliver = true;
    else if (name == "--debug")
      arguments.debug = true;
    else
      fail("unknown argument " + std::string(name));
  }
  if (arguments.apiHost.empty() || arguments.data.empty() || arguments.journal.empty()) {
    fail("--api-host, --data and --journal are needed");
  }
  return arguments;
}

class Visit {
 public:
  explicit Visit(const Arguments& arguments)
      : arguments_(arguments), journal_(arguments.journal, std::ios::app) {}

  void run() {
    Zarn::identify("customer-" + arguments_.launch,
                   {{"plan", "gold"}, {"email", "ida@example.com"}});
    Zarn::setSuperProperty("shop", "harbour street");
    track("shop_opened", {{"from", "icon"}, {"cold_start", true}});
    for (int product = 1; product <= 12; ++product) look(product);
    track("search", {{"text", "blue kettle"}, {"hits", 0}, {"filters", Array{"blue", "in stock"}}});
    checkout();
    track("feedback",
          {{"stars", 4.5}, {"text", "Please call me at +47 22 33 44 55 or mail ida@example.com"}});
  }

 private:
  void look(int product) {
    track("product_viewed",
          {{"product", product},
           {"price", 9.95 * product},
           {"on_sale", product % 3 == 0},
           {"restocked", std::chrono::system_clock::now()},
           {"page", zarn::Url{"https://shop.example/p/" + std::to_string(product)}}});
    if (product % 4 == 0) {
      track("added_to_cart",
            {{"product", product}, {"options", Properties{{"colour", "blue"}, {"gift", nullptr}}}});
    }
  }

  void checkout() {
    track("checkout_started", {{"items", 3},
                               {"total", zarn::Decimal{"238.80"}},
                               {"cart", Array{Properties{{"product", 4}, {"quantity", 1}},
                                              Properties{{"product", 8}, {"quantity", 2}}}}});
    track("payment_chosen", {{"kind", "card"}, {"note", "4111 1111 1111 1111"}, {"attempt", 1}});
    track("order_placed", {{"order", zarn::Uuid::parse("6F9619FF-8B86-4011-B42D-00C04FC964FF")},
                           {"total", 238.80},
                           {"points", std::int64_t{12'000'000'000}}});
  }

  /// The journal is written once `track` has returned: from then on the event must not get lost.
  void track(std::string_view name, Properties properties) {
    const std::string sequence = arguments_.launch + "-" + std::to_string(++count_);
    properties.set("seq", sequence);
    Zarn::track(name, properties);
    journal_ << sequence << std::endl;
    std::this_thread::sleep_for(std::chrono::milliseconds(arguments_.paceMs));
  }

  const Arguments& arguments_;
  std::ofstream journal_;
  int count_ = 0;
};

/// Asks until nothing waits any more. A host need not: the next launch would deliver.
bool deliver(std::chrono::seconds patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!Zarn::flush(5.0)) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const Arguments arguments = parse(argc, argv);
  zarn::desktop::describeHost({.bundleId = "com.example.shop",
                               .name = "Harbour Shop",
                               .version = "2.4.1",
                               .build = "241",
                               .dataDirectory = arguments.data});
  Zarn::configure("wk_demo_x_harbour_shop",
                  {.apiHost = arguments.apiHost, .debug = arguments.debug});
  if (!arguments.onlyDeliver) Visit(arguments).run();
  deliver(std::chrono::seconds(arguments.onlyDeliver ? 15 : 1));
}
