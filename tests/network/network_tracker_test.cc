#include "network/network_tracker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <stdexcept>
#include <thread>

#include "base/fork_guard.h"
#include "support/fake_producer_services.h"
#include "support/manual_dispatch.h"

namespace zarn::network {
namespace {

constexpr const char* kUrl = "https://shop.example/cart/7?user=ida#top";

struct Collecting final : NetworkDelegate {
  void didFinishCollectingMetrics(const NetworkTask&, const NetworkMetrics& metrics) override {
    ++told;
    if (metrics.url == "throw") throw std::runtime_error("the host's own");
  }
  void didBecomeInvalid(std::string_view error) override {
    ended = error;
    if (error == "throw") throw std::runtime_error("the host's own");
  }
  int told = 0;
  std::string ended;
};

class NetworkTrackerTest : public ::testing::Test {
 protected:
  NetworkTrackerTest() {
    tracker_->connect({.clock = &clock_,
                       .mayRecord = [this] { return mayRecord_.load(); },
                       .proxyMade = [this] { ++proxiesMade_; }});
    tracker_->setProxyCapture(true);
  }

  /// The only record there is.
  NetworkRecord single() {
    auto records = tracker_->buffer().drain().records;
    EXPECT_EQ(records.size(), 1U);
    return records.empty() ? NetworkRecord() : records.front();
  }
  std::size_t drained() { return tracker_->buffer().drain().records.size(); }
  NetworkRecord recordOf(const NetworkMetrics& metrics) {
    tracker_->finished(NetworkTask(), metrics);
    return single();
  }

  testing::ManualClock clock_;
  std::atomic<bool> mayRecord_ = true;
  int proxiesMade_ = 0;
  testing::FakeRequestHook hook_;
  std::shared_ptr<NetworkTracker> tracker_ = std::make_shared<NetworkTracker>();
};

TEST_F(NetworkTrackerTest, KeepsWhatCanBeCountedAndNoQuery) {
  const auto record = recordOf({.url = kUrl,
                                .method = "post",
                                .status = 201,
                                .duration = 0.25,
                                .bytesSent = 10,
                                .bytesReceived = 2000});
  EXPECT_EQ(record.host, "shop.example");
  EXPECT_EQ(record.rawPath, "/cart/7");
  EXPECT_EQ(record.method, NetworkRecord::Method::post);
  EXPECT_EQ(record.statusCode, 201);
  EXPECT_EQ(record.durationMs, 250);
  EXPECT_EQ(record.requestBytes, 10);
  EXPECT_EQ(record.responseBytes, 2000);
  EXPECT_EQ(record.dnsMs, -1);
  EXPECT_EQ(record.timestamp, clock_.now());
  EXPECT_EQ(recordOf({.url = kUrl}).statusCode, 0);
  EXPECT_EQ(recordOf({.url = kUrl, .hasError = true}).statusCode, -1);
  EXPECT_EQ(recordOf({.url = kUrl, .status = 70000, .hasError = true}).statusCode, 32767);
}

TEST_F(NetworkTrackerTest, TimesComeFromTheLastAttemptOnTheNetwork) {
  const NetworkTransaction first{.fetchStart = 0, .responseStart = 9};
  const NetworkTransaction second{.fetchStart = 10,
                                  .domainLookupStart = 10,
                                  .domainLookupEnd = 10.02,
                                  .connectStart = 10.05,
                                  .connectEnd = 10.04,
                                  .responseStart = 10.1};
  const NetworkTransaction cached{.isNetworkLoad = false, .fetchStart = 0, .responseStart = 1};
  auto record = recordOf({.url = kUrl, .transactions = {first, second, cached}});
  EXPECT_EQ(record.dnsMs, 19);  // 10.02 - 10, in binary
  EXPECT_EQ(record.connectMs, 0);
  EXPECT_EQ(record.ttfbMs, 99);
  record = recordOf({.url = kUrl, .transactions = {cached}});
  EXPECT_EQ(record.ttfbMs, 1000);
  EXPECT_EQ(record.connectMs, -1);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(recordOf({.url = kUrl, .duration = nan}).durationMs, -1);
}

TEST_F(NetworkTrackerTest, RecordsNothingUnlessItIsAllowedAndAWebAddress) {
  for (const char* url : {"", "shop.example/cart", "data:text/html,Ida/Larsen", "file:///home/ida",
                          "https://shop.example/a b"}) {
    tracker_->finished(NetworkTask(), {.url = url});
    EXPECT_EQ(drained(), 0U) << url;
  }
  mayRecord_ = false;
  tracker_->finished(NetworkTask(), {.url = kUrl});
  mayRecord_ = true;
  tracker_->setProxyCapture(false);
  tracker_->setSwizzleCapture(true);
  tracker_->finished(NetworkTask(), {.url = kUrl});
  EXPECT_EQ(drained(), 0U);
  NetworkTracker().finished(NetworkTask(), {.url = kUrl});  // before any configure
}

TEST_F(NetworkTrackerTest, HoldsForHostileAddresses) {
  const std::string mega(1 << 20, 'x');
  EXPECT_EQ(recordOf({.url = "https://h/" + mega + "?" + mega, .method = mega}).rawPath, "/:id");
  EXPECT_EQ(recordOf({.url = "https://" + mega + "/a"}).host, "");
  EXPECT_EQ(recordOf({.url = "https://u:secret@\xFF\xFE/%FF"}).host, "\xFF\xFE");
  tracker_->finished(NetworkTask(), {.url = mega + ":"});
  EXPECT_EQ(drained(), 0U);
}

TEST_F(NetworkTrackerTest, ARequestSeenByBothPathsCountsOnce) {
  tracker_->installReplacement(hook_);
  const NetworkTask task;
  auto watched = hook_.watcher->started({.url = kUrl, .method = "PUT", .bodyBytes = 5}, task);
  clock_.advance(base::seconds(1.5));
  watched->ended({.status = 404, .receivedBytes = 7});
  tracker_->finished(NetworkTask(task), {.url = kUrl});
  const auto record = single();
  EXPECT_EQ(record.durationMs, 1500);
  EXPECT_EQ(record.requestBytes, 5);
  EXPECT_EQ(record.responseBytes, 7);
  EXPECT_EQ(record.statusCode, 404);
  EXPECT_EQ(record.method, NetworkRecord::Method::put);
  EXPECT_EQ(record.ttfbMs, -1);

  const NetworkTask other;
  watched = hook_.watcher->started({.url = kUrl, .method = {}}, other);
  tracker_->finished(other, {.url = kUrl});
  watched->ended({.hasError = true});
  EXPECT_EQ(drained(), 1U);
}

TEST_F(NetworkTrackerTest, TheHookIsPutInPlaceOnceAndWatchesOnlyWhileSwitchedOn) {
  EXPECT_FALSE(tracker_->isHooked());
  tracker_->installReplacement(hook_);
  tracker_->installReplacement(hook_);
  EXPECT_EQ(hook_.installs, 1);
  EXPECT_TRUE(tracker_->isHooked());
  auto begun = hook_.watcher->started({.url = kUrl, .method = {}}, NetworkTask());
  auto dropped = hook_.watcher->started({.url = kUrl, .method = {}}, NetworkTask());
  dropped.reset();
  tracker_->setSwizzleCapture(false);
  EXPECT_EQ(hook_.watcher->started({.url = kUrl, .method = {}}, NetworkTask()), nullptr);
  begun->ended({});
  EXPECT_EQ(drained(), 0U);
}

TEST_F(NetworkTrackerTest, AProxyPassesEverythingOnAndLetsGoAtTheEnd) {
  EXPECT_FALSE(tracker_->proxyInUse());
  auto delegate = std::make_shared<Collecting>();
  const auto proxy = tracker_->makeProxy(delegate);
  EXPECT_TRUE(tracker_->proxyInUse());
  EXPECT_EQ(proxiesMade_, 1);
  proxy->didFinishCollectingMetrics(NetworkTask(), {.url = kUrl});
  EXPECT_THROW(proxy->didFinishCollectingMetrics(NetworkTask(), {.url = "throw"}),
               std::runtime_error);
  tracker_->setProxyCapture(false);
  proxy->didFinishCollectingMetrics(NetworkTask(), {.url = kUrl});
  EXPECT_EQ(delegate->told, 3);
  EXPECT_EQ(drained(), 1U);

  const std::weak_ptr<Collecting> last = delegate;
  EXPECT_EQ(proxy->wrapped(), delegate);
  EXPECT_THROW(proxy->didBecomeInvalid("throw"), std::runtime_error);
  EXPECT_EQ(proxy->wrapped(), nullptr);
  proxy->didBecomeInvalid("");
  EXPECT_EQ(delegate->ended, "throw");
  delegate.reset();
  EXPECT_TRUE(last.expired());
}

TEST_F(NetworkTrackerTest, AForkedChildOnlyPassesOn) {
  auto delegate = std::make_shared<Collecting>();
  const auto proxy = tracker_->makeProxy(delegate);
  tracker_->installReplacement(hook_);
  base::internal::isForkedChild = true;
  proxy->didFinishCollectingMetrics(NetworkTask(), {.url = kUrl});
  EXPECT_EQ(hook_.watcher->started({.url = kUrl, .method = {}}, NetworkTask()), nullptr);
  ZarnNetworkDelegateProxy(nullptr, delegate)
      .didFinishCollectingMetrics(NetworkTask(), {.url = kUrl});
  base::internal::isForkedChild = false;
  EXPECT_EQ(delegate->told, 2);
  EXPECT_EQ(drained(), 0U);
}

TEST_F(NetworkTrackerTest, ReadingsFromTheStartOfARequestBecomeItsPhases) {
  const auto proxy = tracker_->makeProxy(nullptr);
  TransferReadings readings{.url = kUrl,
                            .status = 200,
                            .total = 0.5,
                            .nameFound = 0.125,
                            .connected = 0.25,
                            .firstByte = 0.375};
  reportTransfer(*proxy, NetworkTask(), readings);
  auto record = single();
  EXPECT_EQ(record.dnsMs, 125);
  EXPECT_EQ(record.connectMs, 125);
  EXPECT_EQ(record.ttfbMs, 375);
  EXPECT_EQ(record.method, NetworkRecord::Method::get);
  readings.isConnectionReused = true;
  reportTransfer(*proxy, NetworkTask(), readings);
  record = single();
  EXPECT_EQ(record.dnsMs, -1);
  EXPECT_EQ(record.connectMs, -1);
  EXPECT_EQ(record.ttfbMs, 375);
  readings.wasRedirected = true;
  reportTransfer(*proxy, NetworkTask(), readings);
  EXPECT_EQ(single().ttfbMs, -1);
  reportTransfer(*proxy, NetworkTask(), {});
  EXPECT_EQ(drained(), 0U);
}

TEST(NetworkRecordBuffer, OverwritesTheOldest) {
  NetworkRecordBuffer buffer;
  EXPECT_EQ(buffer.drain().dropped, 0U);
  for (std::int32_t i = 0; i < 258; ++i) {
    NetworkRecord record;
    record.durationMs = i;
    buffer.append(std::move(record));
  }
  const auto drained = buffer.drain();
  EXPECT_EQ(drained.dropped, 2U);
  ASSERT_EQ(drained.records.size(), 256U);
  EXPECT_EQ(drained.records.front().durationMs, 2);
  EXPECT_EQ(drained.records.back().durationMs, 257);
  buffer.append({});
  EXPECT_EQ(buffer.drain().records.size(), 1U);
  EXPECT_EQ(buffer.drain().records.size(), 0U);
}

TEST_F(NetworkTrackerTest, EveryRequestIsDrainedOrCountedAsDropped) {
  constexpr int kThreads = 2, kEach = 2000;
  std::vector<std::thread> threads;
  std::atomic<int> running = kThreads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kEach; ++i) tracker_->finished(NetworkTask(), {.url = kUrl});
      --running;
    });
  }
  std::uint64_t seen = 0;
  const auto drain = [&] {
    const auto drained = tracker_->buffer().drain();
    seen += drained.records.size() + drained.dropped;
    for (const auto& record : drained.records) EXPECT_EQ(record.rawPath, "/cart/7");
  };
  while (running > 0) drain();
  for (auto& thread : threads) thread.join();
  drain();
  EXPECT_EQ(seen, kThreads * kEach);
}

}  // namespace
}  // namespace zarn::network
