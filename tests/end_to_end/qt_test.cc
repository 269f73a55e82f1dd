// A Qt app whose screens, requests and links are seen without its help, up to the moment when the
// user forbids it.
#include <gtest/gtest.h>

#ifdef QT_HOST_PROGRAM

#include "collector_test.h"
#include "ordered_host.h"
#include "support/loopback_server.h"

namespace zarn {
namespace {

using testing::OrderedHost;

class QtTest : public testing::CollectorTest {
 protected:
  struct Host : OrderedHost {
    explicit Host(const QtTest& test)
        : OrderedHost(QT_HOST_PROGRAM, test.collector_.address(), test.data_.path(),
                      {{"QT_QPA_PLATFORM", "offscreen"},
                       {"QT_QUICK_BACKEND", "software"},
                       {"XDG_RUNTIME_DIR", test.data_.path()}}) {}
  };
  void deliverUntil(Host& host, const std::string& name) {
    for (int i = 0; i < 200 && arrived(name) == 0; ++i) host("deliver");
    ASSERT_EQ(arrived(name), 1) << name;
  }
  void holdBatches() { fault(R"({"endpoint":"batch","kind":"status","status":503})"); }
};

TEST_F(QtTest, NothingIsAskedOrToldWhileTheUserForbidsIt) {
  Host host(*this);
  deliverUntil(host, "Welcome");
  holdBatches();
  host("see", "Letters");
  host("opt-out");
  noFaults();
  const std::size_t before = requests();
  host("show", "Drafts");
  // Past the moment at which the pictures of both would be asked about.
  EXPECT_FALSE(comes("calls", count("calls") + 1, milliseconds(2500)));
  host("open-link", "https://links.example/spring?utm_source=forbidden");
  expectSilence(before);

  host("opt-in");
  host("await-policy");
  holdBatches();
  host("see", "Archive");
  noFaults();
  host("deliver");
  host.exit();
  EXPECT_GE(arrived("Archive"), 1);
  EXPECT_EQ(arrived("Letters"), 0);
  EXPECT_EQ(arrived("Drafts"), 0);
  EXPECT_EQ(arrived("deep_link"), 0);
}

TEST_F(QtTest, RequestsAndLinksAreSeenByThemselves) {
  testing::LoopbackServer shop;
  {
    Host host(*this);
    host("deliver");
    // The library's own server is at 127.0.0.1, and is none of the app's.
    const std::string port = shop.url("").substr(shop.url("").rfind(':'));
    host("fetch", "http://localhost" + port + "/orders/4711?user=ada");
    host("open-link", "https://links.example/spring?utm_source=mail");
    host("deliver");
    host.exit();
  }
  Host host(*this);
  host("deliver");
  host.exit();
  EXPECT_EQ(arrived("network_summary"), 1);
  const auto summary = collector_.getJson("/api/collector/events?name=network_summary");
  EXPECT_NE(summary.find("/orders/:id"), std::string::npos) << summary;
  EXPECT_EQ(summary.find("ada"), std::string::npos) << summary;
  EXPECT_EQ(*ask("count?type=deep_link&property.utm_source=mail").find("count")->asInt(), 1);
}

}  // namespace
}  // namespace zarn

#endif
