// A test whose looks are all at what a collector of its own has recorded.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/json.h"
#include "support/collector_process.h"
#include "support/temp_directory.h"

namespace zarn::testing {

class CollectorTest : public ::testing::Test {
 protected:
  using milliseconds = std::chrono::milliseconds;

  Properties ask(const std::string& path) {
    return *base::parseJson(collector_.getJson("/api/collector/" + path))->asProperties();
  }
  std::int64_t count(const char* what) { return *ask("counts").find(what)->asInt(); }
  /// Whether there come to be as many "calls" or "batches".
  bool comes(const std::string& what, std::int64_t number,
             milliseconds patience = std::chrono::seconds(10)) {
    const auto answer = ask("wait?" + what + "=" + std::to_string(number) +
                            "&timeout_ms=" + std::to_string(patience.count()));
    return *answer.find("reached")->asBool();
  }
  /// Requests of every kind so far.
  std::size_t requests() { return ask("requests?limit=10000").find("requests")->asArray()->size(); }
  /// None comes for a while in which a launch would have made its first ones many times over.
  void expectSilence(std::size_t since) {
    EXPECT_FALSE(comes("calls", count("calls") + 1, milliseconds(150)));
    EXPECT_FALSE(comes("batches", count("batches") + 1, milliseconds(50)));
    EXPECT_EQ(requests(), since);
  }
  std::int64_t arrived(const std::string& name) {
    return *ask("count?name=" + name).find("count")->asInt();
  }
  /// The newest event of that name.
  Properties event(const std::string& name) {
    const auto page = ask("events?limit=1&name=" + name);
    const Array& events = *page.find("events")->asArray();
    if (events.empty()) return {};
    return *events.front().asProperties()->find("event")->asProperties();
  }
  std::string id(const Properties& event, std::string_view key) {
    const Value* value = event.find(key);
    return value != nullptr ? std::string(value->asString().value_or("")) : "";
  }
  void fault(const std::string& rule) { collector_.post("/api/collector/faults", rule); }
  void noFaults() { collector_.request("DELETE", "/api/collector/faults"); }

  TempDirectory data_;
  CollectorProcess collector_;
};

}  // namespace zarn::testing
