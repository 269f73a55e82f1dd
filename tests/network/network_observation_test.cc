#include "network/network_observation.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/fake_producer_services.h"
#include "support/manual_dispatch.h"

namespace zarn::network {
namespace {

class NetworkObservationTest : public ::testing::Test {
 protected:
  /// `autoTrack`: whether the app lets requests be seen without its help.
  NetworkObservation& observation(bool autoTrack = false) {
    observation_.emplace(NetworkObservationParts{
        .executor = dispatch_.pool(),
        .clock = clock_,
        .hook = hook_,
        .tracker = tracker_,
        .autoTrackNetwork = autoTrack,
        .ownHosts = {},
        .mayRecord = [this] { return mayRecord_; },
        .events = {.currentGeneration = [this] { return boundaries_.current(); },
                   .emit =
                       [this](std::string_view name, const Properties& properties,
                              NetworkEvents::Token generation) {
                         if (generation != boundaries_.current()) return;
                         names_.emplace_back(name);
                         if (const Value* total = properties.find("total_requests")) {
                           total_ = *total->asInt();
                         }
                       }}});
    observation_->start();
    return *observation_;
  }
  void request() { tracker_->finished(NetworkTask(), {.url = "https://api.example/a"}); }

  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  testing::FakeRequestHook hook_;
  base::Generation<events::EventQueue> boundaries_;
  bool mayRecord_ = true;
  std::vector<std::string> names_;
  std::int64_t total_ = 0;  // of the last summary
  const std::shared_ptr<NetworkTracker> tracker_ = std::make_shared<NetworkTracker>();
  std::optional<NetworkObservation> observation_;
};

TEST_F(NetworkObservationTest, RequestsRightAfterTheStartAreToldHalfAMinuteLater) {
  const auto early = tracker_->makeProxy(nullptr);
  request();  // before configure nothing is known of the user's choice
  observation();
  request();
  dispatch_.advance(29.9);
  EXPECT_TRUE(names_.empty());
  dispatch_.advance(0.1);
  EXPECT_EQ(names_, std::vector<std::string>{"network_summary"});
  EXPECT_EQ(total_, 1);
}

TEST_F(NetworkObservationTest, ThereIsAnAggregatorOnlyWhereRequestsCanCome) {
  observation();
  dispatch_.runUntilIdle();
  EXPECT_EQ(dispatch_.pendingCount(), 0U);
  EXPECT_EQ(hook_.installs, 0);
  tracker_->setProxyCapture(false);
  const auto switchedOff = tracker_->makeProxy(nullptr);
  dispatch_.runUntilIdle();
  EXPECT_EQ(dispatch_.pendingCount(), 0U);
  tracker_->setProxyCapture(true);
  const auto proxy = tracker_->makeProxy(nullptr);
  dispatch_.runUntilIdle();
  EXPECT_EQ(dispatch_.pendingCount(), 1U);
}

TEST_F(NetworkObservationTest, TheHookMakesRequestsComeByThemselves) {
  observation(true);
  EXPECT_EQ(hook_.installs, 1);
  hook_.watcher->started({.url = "https://api.example/", .method = {}}, NetworkTask())->ended({});
  dispatch_.advance(30.0);
  EXPECT_EQ(total_, 1);
}

TEST_F(NetworkObservationTest, WhatWasGatheredGoesWhenTheServerForbidsIt) {
  const auto proxy = tracker_->makeProxy(nullptr);
  auto& network = observation();
  request();
  dispatch_.advance(6.0);
  request();
  tracker_->setProxyCapture(false);
  network.stopAggregator();
  network.stopAggregator();
  request();
  dispatch_.runUntilIdle();
  EXPECT_EQ(dispatch_.pendingCount(), 0U);
  network.didEnterBackground();
  network.enableDiagnostics(60, {"api.example"});  // for an aggregator that is no more
  tracker_->setProxyCapture(true);
  network.ensureNetworkAggregator(false);
  dispatch_.runUntilIdle();
  request();
  dispatch_.advance(30.0);
  EXPECT_EQ(names_, std::vector<std::string>{"network_summary"});
  EXPECT_EQ(total_, 1);
}

TEST_F(NetworkObservationTest, DiagnosticsComeAndGoWithoutARestart) {
  auto& network = observation();
  network.installReplacement();
  network.ensureNetworkAggregator(true);
  network.enableDiagnostics(60, {"api.example"});
  request();
  dispatch_.advance(5.0);
  EXPECT_EQ(names_, std::vector<std::string>{"GET api.example/a"});
  network.disableDiagnostics();
  request();
  dispatch_.advance(25.0);
  EXPECT_EQ(names_.size(), 2U);
  EXPECT_EQ(total_, 2);
}

TEST_F(NetworkObservationTest, TheBackgroundAndTheEndTellAtOnce) {
  const auto proxy = tracker_->makeProxy(nullptr);
  auto& network = observation();
  request();
  network.didEnterBackground();
  EXPECT_TRUE(names_.empty());
  dispatch_.runUntilIdle();
  EXPECT_EQ(names_.size(), 1U);
  request();
  request();
  network.willTerminate();
  EXPECT_EQ(names_.size(), 2U);
  EXPECT_EQ(total_, 2);
}

TEST_F(NetworkObservationTest, ABoundaryBeforeTheAggregatorHasBegunHoldsToo) {
  const auto proxy = tracker_->makeProxy(nullptr);
  observation();
  request();
  boundaries_.bump();
  dispatch_.advance(60.0);
  EXPECT_TRUE(names_.empty());
}

TEST_F(NetworkObservationTest, ProxiesMayOutliveIt) {
  const auto proxy = tracker_->makeProxy(nullptr);
  observation();
  dispatch_.runUntilIdle();
  mayRecord_ = false;
  request();
  observation_.reset();
  mayRecord_ = true;
  request();
  tracker_->setProxyCapture(true);
  request();
  const auto late = tracker_->makeProxy(nullptr);
  EXPECT_TRUE(tracker_->buffer().drain().records.empty());
  EXPECT_EQ(dispatch_.dueCount(), 0U);
}

}  // namespace
}  // namespace zarn::network
