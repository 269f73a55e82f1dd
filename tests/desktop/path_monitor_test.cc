#include "desktop/path_monitor.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>

#include "desktop/dispatch.h"
#include "desktop/http_client.h"
#include "desktop/network_state.h"
#include "support/loopback_server.h"
#include "support/network_namespace.h"

namespace zarn::desktop {
namespace {

using platform::NetworkPath;
using testing::ip;
using namespace std::chrono_literals;

NetworkInterface usable(InterfaceKind kind) {
  return {.kind = kind, .running = true, .hasAddress = true, .hasDefaultRoute = true};
}

TEST(NetworkState, APathNeedsARunningInterfaceWithAddressAndRoute) {
  EXPECT_EQ(pathOf({}), NetworkPath{});
  EXPECT_EQ(pathOf({{1, usable(InterfaceKind::loopback)}}), NetworkPath{});
  EXPECT_EQ(pathOf({{2, usable(InterfaceKind::other)}}), NetworkPath{.satisfied = true});
  const NetworkPath wired{.satisfied = true, .usesEthernet = true};
  EXPECT_EQ(pathOf({{2, usable(InterfaceKind::ethernet)}}), wired);
  for (bool NetworkInterface::*what : {&NetworkInterface::running, &NetworkInterface::hasAddress,
                                       &NetworkInterface::hasDefaultRoute}) {
    auto wifi = usable(InterfaceKind::wifi);
    wifi.*what = false;
    EXPECT_EQ(pathOf({{3, wifi}}), NetworkPath{});
    EXPECT_EQ(pathOf({{2, usable(InterfaceKind::ethernet)}, {3, wifi}}), wired);
  }
  EXPECT_EQ(pathOf({{2, usable(InterfaceKind::wifi)}, {3, usable(InterfaceKind::cellular)}}),
            (NetworkPath{.satisfied = true, .usesWifi = true, .usesCellular = true}));
}

/// What a monitor has told last.
class Heard {
 public:
  auto handler() {
    return [this](NetworkPath path) {
      const std::lock_guard lock(mutex_);
      last_ = path;
      ++count_;
      changed_.notify_all();
    };
  }
  bool waitFor(NetworkPath path) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, 10s, [&] { return last_ == path; });
  }
  int count() {
    const std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<NetworkPath> last_;
  int count_ = 0;
};

TEST(PathMonitor, TellsThePresentStateAndNothingAfterStop) {
  ThreadDispatch dispatch;
  base::SerialQueue queue(dispatch.pool(), "test", base::LockRank::workQueue);
  NetlinkPathMonitor monitor;
  const auto now = monitor.current();
  ASSERT_TRUE(now.has_value());
  Heard heard;
  Heard other;
  monitor.start(queue, heard.handler());
  EXPECT_TRUE(heard.waitFor(*now));
  monitor.start(queue, other.handler());
  EXPECT_TRUE(other.waitFor(*now));
  monitor.stop();
  queue.sync([] {});
  EXPECT_EQ(heard.count(), 1);
  EXPECT_EQ(other.count(), 1);
}

constexpr const char* kCable =
    "link add zarn0 type veth peer name zarn1 && ip link set zarn1 up && ip link set zarn0 up && "
    "ip addr add 192.0.2.1/24 dev zarn0 && ip route add default via 192.0.2.2";

TEST(PathMonitor, FollowsTheNetwork) {
  const bool ran = testing::runInNetworkOfItsOwn([] {
    ThreadDispatch dispatch;
    base::SerialQueue queue(dispatch.pool(), "test", base::LockRank::workQueue);
    NetlinkPathMonitor monitor;
    Heard heard;
    monitor.start(queue, heard.handler());
    EXPECT_TRUE(heard.waitFor({}));
    if (!ip(kCable)) GTEST_SKIP() << "no virtual interfaces here";
    EXPECT_TRUE(heard.waitFor({.satisfied = true, .usesEthernet = true}));
    EXPECT_TRUE(monitor.current()->usesEthernet);
    EXPECT_TRUE(ip("route del default"));
    EXPECT_TRUE(heard.waitFor({}));
    EXPECT_TRUE(ip("route add default via 192.0.2.2"));
    EXPECT_TRUE(heard.waitFor({.satisfied = true, .usesEthernet = true}));
    EXPECT_TRUE(ip("link set zarn0 down"));
    EXPECT_TRUE(heard.waitFor({}));
  });
  if (!ran) GTEST_SKIP() << "no network namespaces here";
}

class WaitForConnectivity : public ::testing::Test {
 protected:
  using Result = std::future<platform::HttpResult>;

  /// To an address that the loopback interface has only while the network is "there".
  Result start(CurlHttpClient& client, int port, base::Duration timeout, bool waits = true) {
    auto promise = std::make_shared<std::promise<platform::HttpResult>>();
    client.start({.url = "http://192.0.2.7:" + std::to_string(port),
                  .timeout = timeout,
                  .waitsForConnectivity = waits},
                 queue_, [promise](platform::HttpResult r) { promise->set_value(std::move(r)); });
    return promise->get_future();
  }
  static bool failed(const platform::HttpResult& result) {
    return std::holds_alternative<platform::HttpFailure>(result);
  }

  ThreadDispatch dispatch_;
  base::SerialQueue queue_{dispatch_.pool(), "test", base::LockRank::workQueue};
};

TEST_F(WaitForConnectivity, ARequestMadeOfflineIsSentWhenTheNetworkComes) {
  const bool ran = testing::runInNetworkOfItsOwn([this] {
    NetlinkPathMonitor monitor;
    testing::LoopbackServer server("0.0.0.0");
    CurlHttpClient client(monitor, {});

    EXPECT_TRUE(failed(start(client, server.port(), 10s, false).get()));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(failed(start(client, server.port(), 150ms).get()));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 150ms);

    auto waiting = start(client, server.port(), 30s);
    EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    if (!ip(kCable)) GTEST_SKIP() << "no virtual interfaces here";
    EXPECT_TRUE(ip("addr add 192.0.2.7/32 dev lo"));
    EXPECT_FALSE(failed(waiting.get()));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
  });
  if (!ran) GTEST_SKIP() << "no network namespaces here";
}

TEST_F(WaitForConnectivity, CancelAndStopEndTheWait) {
  const bool ran = testing::runInNetworkOfItsOwn([this] {
    NetlinkPathMonitor monitor;
    CurlHttpClient client(monitor, {});
    auto promise = std::make_shared<std::promise<platform::HttpResult>>();
    const auto id =
        client.start({.url = "http://192.0.2.7", .waitsForConnectivity = true}, queue_,
                     [promise](platform::HttpResult r) { promise->set_value(std::move(r)); });
    auto cancelled = promise->get_future();
    EXPECT_EQ(cancelled.wait_for(50ms), std::future_status::timeout);
    client.cancel(id);
    EXPECT_TRUE(failed(cancelled.get()));

    auto stopped = start(client, 80, 30s);
    EXPECT_EQ(stopped.wait_for(50ms), std::future_status::timeout);
    client.stop(1s);
    EXPECT_TRUE(failed(stopped.get()));
  });
  if (!ran) GTEST_SKIP() << "no network namespaces here";
}

}  // namespace
}  // namespace zarn::desktop
