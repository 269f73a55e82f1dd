#include "network/network_aggregator.h"

#include <gtest/gtest.h>

#include <chrono>

#include "base/value_access.h"
#include "network/network_record_buffer.h"
#include "support/manual_dispatch.h"

namespace zarn::network {
namespace {

using base::ValueAccess;

class NetworkAggregatorTest : public ::testing::Test {
 protected:
  struct Told {
    std::string name;
    Properties properties;
    std::int64_t integer(std::string_view key) const { return integerOf(properties, key); }
    std::vector<Properties> routes() const {
      std::vector<Properties> routes;
      for (const Value& route : *properties.find("routes")->asArray()) {
        routes.push_back(*route.asProperties());
      }
      return routes;
    }
  };

  static std::int64_t integerOf(const Properties& properties, std::string_view key) {
    const Value* value = properties.find(key);
    return value != nullptr ? value->asInt().value_or(-99) : -99;
  }
  static std::string opaqueOf(const Properties& properties, std::string_view key) {
    const Value* value = properties.find(key);
    const std::string* text = value != nullptr ? ValueAccess::opaqueText(*value) : nullptr;
    return text != nullptr ? *text : "no opaque value";
  }

  NetworkRecord record(std::string host, std::string path = "/", int status = 200,
                       int durationMs = 10) const {
    NetworkRecord made;
    made.host = std::move(host);
    made.rawPath = std::move(path);
    made.statusCode = static_cast<std::int16_t>(status);
    made.durationMs = durationMs;
    made.requestBytes = 1;
    made.responseBytes = 2'000'000'000;
    made.timestamp = clock_.now();
    return made;
  }
  void append(int times, const NetworkRecord& record) {
    for (int i = 0; i < times; ++i) buffer_.append(record);
  }
  void request(double afterSeconds) {
    clock_.advance(base::seconds(afterSeconds));
    buffer_.append(record("api.example"));
    aggregator_.tick();
  }
  std::size_t diagnosticsTold() const {
    std::size_t count = 0;
    for (const auto& event : told_) count += event.name != "network_summary" ? 1 : 0;
    return count;
  }

  testing::ManualClock clock_;
  base::Generation<events::EventQueue> boundaries_;
  std::vector<Told> told_;
  NetworkRecordBuffer buffer_;
  NetworkAggregator aggregator_{
      buffer_, clock_, OwnHosts{.domains = {"zarn.example"}, .selfHost = "collector.example"},
      NetworkEvents{.currentGeneration = [this] { return boundaries_.current(); },
                    .emit =
                        [this](std::string_view name, const Properties& properties,
                               NetworkEvents::Token generation) {
                          if (generation != boundaries_.current()) return;
                          told_.push_back({std::string(name), properties});
                        }},
      boundaries_.current()};
};

TEST_F(NetworkAggregatorTest, TellsAWindowOnEverySixthTick) {
  append(2, record("api.example", "/users/17", 200, 99));
  append(1, record("api.example", "/users/18", 200, 100));
  for (const int ms : {300, 1000, 2999, 3000, -1}) {
    append(1, record("api.example", "/users/19", 500, ms));
  }
  for (int tick = 1; tick <= 5; ++tick) {
    clock_.advance(base::seconds(5));
    aggregator_.tick();
  }
  EXPECT_TRUE(told_.empty());
  clock_.advance(base::seconds(4.6));
  aggregator_.tick();
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(told_[0].name, "network_summary");
  EXPECT_EQ(told_[0].integer("window_seconds"), 30);
  EXPECT_EQ(told_[0].integer("total_requests"), 8);
  EXPECT_EQ(told_[0].integer("dropped_records"), 0);
  EXPECT_EQ(told_[0].integer("dropped_routes"), 0);
  const auto routes = told_[0].routes();
  ASSERT_EQ(routes.size(), 2U);
  EXPECT_EQ(opaqueOf(routes[0], "host"), "api.example");
  EXPECT_EQ(opaqueOf(routes[0], "route"), "/users/:id");
  EXPECT_EQ(opaqueOf(routes[0], "status_bucket"), "5xx");
  EXPECT_EQ(integerOf(routes[0], "count"), 5);
  EXPECT_EQ(integerOf(routes[0], "request_bytes"), 5);
  EXPECT_EQ(integerOf(routes[0], "response_bytes"), 10'000'000'000);
  EXPECT_EQ(integerOf(routes[0], "lt_100ms"), 1);
  EXPECT_EQ(integerOf(routes[0], "lt_300ms"), 0);
  EXPECT_EQ(integerOf(routes[0], "lt_1s"), 1);
  EXPECT_EQ(integerOf(routes[0], "lt_3s"), 2);
  EXPECT_EQ(integerOf(routes[0], "gte_3s"), 1);
  EXPECT_EQ(integerOf(routes[1], "lt_100ms"), 2);
  EXPECT_EQ(integerOf(routes[1], "lt_300ms"), 1);
  // Nothing of it is told again, and an empty window not at all.
  for (int tick = 0; tick < 12; ++tick) aggregator_.tick();
  EXPECT_EQ(told_.size(), 1U);
}

TEST_F(NetworkAggregatorTest, KeepsTheTwentyMostUsedRoutes) {
  for (int i = 20; i >= 0; --i)
    append(1, record("api.example", "/" + std::string(1, char('a' + i))));
  append(1, record("api.example", "/u"));
  append(1, record("aaa.example", "/z", 404));
  append(1, record("aaa.example", "/z", 200));
  aggregator_.flush();
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(told_[0].integer("total_requests"), 24);
  EXPECT_EQ(told_[0].integer("dropped_routes"), 3);
  const auto routes = told_[0].routes();
  ASSERT_EQ(routes.size(), 20U);
  EXPECT_EQ(opaqueOf(routes[0], "route"), "/u");
  EXPECT_EQ(opaqueOf(routes[1], "status_bucket"), "2xx");
  EXPECT_EQ(opaqueOf(routes[2], "status_bucket"), "4xx");
  EXPECT_EQ(opaqueOf(routes[3], "route"), "/a");
  EXPECT_EQ(opaqueOf(routes[19], "route"), "/q");
}

TEST_F(NetworkAggregatorTest, TellsOfDropsAlone) {
  append(257, record("ingest.Zarn.example"));
  aggregator_.flush();
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(told_[0].integer("dropped_records"), 1);
  EXPECT_EQ(told_[0].integer("total_requests"), 0);
  EXPECT_TRUE(told_[0].routes().empty());
  aggregator_.flush();
  EXPECT_EQ(told_.size(), 1U);
}

TEST_F(NetworkAggregatorTest, LeavesOutItsOwnTrafficAndTrustsNoOddHost) {
  append(1, record("zarn.example"));
  append(1, record("Collector.Example."));
  append(1, record("x.collector.example"));
  append(1, record("ida@mail.example"));
  append(1, record(""));
  aggregator_.enableDiagnostics(60, {"mail.example", "ida@mail.example"});
  aggregator_.flush();
  ASSERT_EQ(told_.size(), 1U);
  const auto routes = told_[0].routes();
  ASSERT_EQ(routes.size(), 3U);
  EXPECT_EQ(opaqueOf(routes[0], "host"), "");
  EXPECT_EQ(routes[1].find("host")->asString(), "ida@mail.example");  // a text that is filtered
  EXPECT_EQ(opaqueOf(routes[2], "host"), "x.collector.example");
}

TEST_F(NetworkAggregatorTest, AClockThatWasSetBackGivesNoNegativeWindow) {
  append(1, record("api.example"));
  clock_.jumpWall(base::seconds(-3600));
  aggregator_.flush();
  EXPECT_EQ(told_.at(0).integer("window_seconds"), 0);
}

TEST_F(NetworkAggregatorTest, NothingFromBeforeABoundaryIsToldAfterIt) {
  append(1, record("before.example"));
  aggregator_.tick();  // in the window
  append(1, record("buffered.example"));
  boundaries_.bump();
  append(1, record("beside.example"));
  aggregator_.enableDiagnostics(60, {"buffered.example"});
  aggregator_.flush();
  EXPECT_TRUE(told_.empty());
  append(1, record("after.example"));
  clock_.advance(base::seconds(3));
  aggregator_.flush();
  ASSERT_EQ(told_.size(), 1U);
  EXPECT_EQ(told_[0].integer("total_requests"), 1);
  EXPECT_EQ(told_[0].integer("window_seconds"), 3);
  EXPECT_EQ(opaqueOf(told_[0].routes().at(0), "host"), "after.example");
}

TEST_F(NetworkAggregatorTest, TellsSingleRequestsToNamedHosts) {
  aggregator_.enableDiagnostics(60, {"API.example", "", "cdn.example"});
  auto named = record("api.example", "/orders/4711?x", 503, 1234);
  named.method = NetworkRecord::Method::del;
  named.dnsMs = 0;
  named.ttfbMs = 70;
  append(1, named);
  append(1, record("EU.api.example", "/"));
  append(1, record("notapi.example", "/"));
  aggregator_.flush();
  ASSERT_EQ(told_.size(), 3U);
  EXPECT_EQ(told_[0].name, "DELETE api.example/orders/:id");
  const Properties& properties = told_[0].properties;
  EXPECT_EQ(opaqueOf(properties, "url"), "api.example/orders/:id");
  EXPECT_EQ(opaqueOf(properties, "method"), "DELETE");
  EXPECT_EQ(told_[0].integer("status_code"), 503);
  EXPECT_EQ(told_[0].integer("duration"), 1234);
  EXPECT_EQ(told_[0].integer("dns_ms"), 0);
  EXPECT_EQ(told_[0].integer("ttfb_ms"), 70);
  EXPECT_EQ(properties.find("connect_ms"), nullptr);
  EXPECT_EQ(properties.find("diagnostic")->asBool(), true);
  EXPECT_EQ(told_[1].name, "GET EU.api.example/");
  EXPECT_EQ(told_[2].integer("total_requests"), 3);  // the summary counts them besides
}

TEST_F(NetworkAggregatorTest, BoundsTheRateOfSingleRequests) {
  aggregator_.enableDiagnostics(2, {"api.example"});
  for (int i = 0; i < 3; ++i) request(10);
  EXPECT_EQ(diagnosticsTold(), 2U);
  request(39);  // 59 seconds after the first
  EXPECT_EQ(diagnosticsTold(), 2U);
  request(1);
  EXPECT_EQ(diagnosticsTold(), 3U);
  clock_.jumpWall(-std::chrono::hours(24));
  request(1);
  request(1);
  request(1);
  EXPECT_EQ(diagnosticsTold(), 5U);
  aggregator_.disableDiagnostics();
  request(100);
  aggregator_.enableDiagnostics(0, {"api.example"});
  request(100);
  aggregator_.enableDiagnostics(60, {});
  request(100);
  EXPECT_EQ(diagnosticsTold(), 5U);
}

}  // namespace
}  // namespace zarn::network
