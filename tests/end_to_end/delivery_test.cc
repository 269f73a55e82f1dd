// Whole processes against a real collector: what was tracked arrives, whatever is killed.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <thread>

#include "base/json.h"
#include "support/child_process.h"
#include "support/collector_process.h"
#include "support/temp_directory.h"

namespace zarn {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ChildEnd;
using testing::ChildProcess;
using testing::CollectorProcess;

/// How often a process is killed: enough to meet every moment of an event's way.
int killCount() {
  const char* count = std::getenv("ZARN_KILLS");
  return count != nullptr ? std::atoi(count) : 200;
}

class DeliveryTest : public ::testing::Test {
 protected:
  ChildEnd launch(std::vector<std::string> arguments, milliseconds patience = seconds(30)) {
    arguments.insert(arguments.begin(), {collector_.address(), data_.path()});
    ChildProcess host(TRACKING_HOST_PROGRAM, {.arguments = std::move(arguments)});
    return host.wait(patience);
  }
  /// Launches until nothing comes any more. One launch on a busy machine may end too early to bring
  /// what it has.
  void drain() {
    collector_.request("DELETE", "/api/collector/faults");
    for (int inVain = 0; inVain < 2;) {
      const std::int64_t before = unique();
      const ChildEnd end = launch({"deliver"});
      ASSERT_TRUE(end.isClean()) << end;
      inVain = unique() == before ? inVain + 1 : 0;
    }
  }
  Properties counts() {
    return *base::parseJson(collector_.getJson("/api/collector/counts"))->asProperties();
  }
  /// Numbered events; each launch adds others of its own.
  std::int64_t unique() {
    const auto answer = base::parseJson(collector_.getJson("/api/collector/count?name=numbered"));
    return *answer->asProperties()->find("count")->asInt();
  }

  /// Numbers of each launch in the order of their arrival, each once.
  std::map<std::string, std::vector<std::int64_t>> arrived() {
    std::map<std::string, std::vector<std::int64_t>> numbers;
    std::int64_t since = 0;
    for (;;) {
      const auto page = base::parseJson(
          collector_.getJson("/api/collector/events?name=numbered&order=asc&limit=1000&since=" +
                             std::to_string(since)));
      const Array& items = *page->asProperties()->find("events")->asArray();
      if (items.empty()) return numbers;
      for (const Value& item : items) {
        const Properties& event = *item.asProperties();
        since = *event.find("seq")->asInt();
        const Properties& properties =
            *event.find("event")->asProperties()->find("properties")->asProperties();
        numbers[std::string(*properties.find("launch")->asString())].push_back(
            *properties.find("number")->asInt());
      }
    }
  }

  testing::TempDirectory data_;
  CollectorProcess collector_;
};

constexpr const char* kFaults[] = {R"({"kind":"status","status":500,"count":3})",
                                   R"({"kind":"status","status":429,"count":2})",
                                   R"({"endpoint":"batch","kind":"cut","keep":true,"count":2})",
                                   R"({"endpoint":"batch","kind":"cut","count":2})",
                                   R"({"endpoint":"batch","kind":"empty","keep":true,"count":2})",
                                   R"({"kind":"drop","count":3})",
                                   R"({"kind":"delay","delay_ms":15})"};

// What a killed process had tracked must arrive, each event once and in the order of its launch,
// with faults that keep events coming and going.
TEST_F(DeliveryTest, NothingIsLostWhenTheProcessIsKilled) {
  std::mt19937 random(20240501);
  std::map<std::string, std::int64_t> tracked;
  const int kills = killCount();
  for (int round = 0; round < kills; ++round) {
    if (round % 3 == 0) {
      collector_.request("DELETE", "/api/collector/faults");
      collector_.post("/api/collector/faults", kFaults[random() % std::size(kFaults)]);
    }
    const std::string launch = "L" + std::to_string(round);
    ChildProcess host(TRACKING_HOST_PROGRAM, {.arguments = {collector_.address(), data_.path(),
                                                            launch, "1000", "100", "5"}});
    ASSERT_EQ(host.readLine(seconds(10)), "ready");
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 25000));
    host.signal(SIGKILL);
    host.wait(seconds(10));
    const std::string& said = host.output();
    tracked[launch] = std::count(said.begin(), said.end(), '\n');
  }
  drain();

  auto numbers = arrived();
  for (const auto& [launch, count] : tracked) {
    SCOPED_TRACE(launch);
    std::vector<std::int64_t> expected(static_cast<std::size_t>(count));
    std::iota(expected.begin(), expected.end(), 1);
    auto& got = numbers[launch];
    // One more may have been stored whose track had not returned.
    if (got.size() == expected.size() + 1) expected.push_back(count + 1);
    EXPECT_EQ(got, expected);
  }
  EXPECT_EQ(*counts().find("invalid")->asInt(), 0);
}

TEST_F(DeliveryTest, MoreThanOneLaunchCanLoadArrivesOverSeveral) {
  collector_.post("/api/collector/faults", R"({"kind":"status","status":503})");
  EXPECT_TRUE(launch({"L", "1700", "0"}).isClean());
  EXPECT_EQ(unique(), 0);
  drain();
  std::vector<std::int64_t> expected(1700);
  std::iota(expected.begin(), expected.end(), 1);
  EXPECT_EQ(arrived()["L"], expected);
}

TEST_F(DeliveryTest, TwoProcessesOfOneAppShareNothingAndLoseNothing) {
  std::vector<std::unique_ptr<ChildProcess>> hosts;
  for (int i = 0; i < 3; ++i) {
    hosts.push_back(std::make_unique<ChildProcess>(
        TRACKING_HOST_PROGRAM,
        ChildProcess::Options{.arguments = {collector_.address(), data_.path(),
                                            "P" + std::to_string(i), "300", "50"}}));
  }
  for (auto& host : hosts) EXPECT_TRUE(host->wait(seconds(30)).isClean());
  drain();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(arrived()["P" + std::to_string(i)].size(), 300u);
}

class BrokenDiskTest : public DeliveryTest {
 protected:
  std::string databasePath() {
    for (const auto& entry : std::filesystem::directory_iterator(data_.path() + "/Zarn")) {
      if (entry.path().extension() == ".sqlite") return entry.path();
    }
    return "";
  }
};

TEST_F(BrokenDiskTest, GarbageInPlaceOfTheDatabaseLeavesTheHostRunningInMemory) {
  collector_.post("/api/collector/faults", R"({"kind":"status","status":503})");
  EXPECT_TRUE(launch({"lost", "10", "0"}).isClean());
  const std::string path = databasePath();
  ASSERT_FALSE(path.empty());
  for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(path + suffix);
  std::ofstream(path, std::ios::trunc) << std::string(8192, 'g');
  collector_.request("DELETE", "/api/collector/faults");
  EXPECT_TRUE(launch({"memory", "60", "20000"}).isClean());
  EXPECT_GE(arrived()["memory"].size(), 20u);
  EXPECT_EQ(arrived().count("lost"), 0u);
}

TEST_F(BrokenDiskTest, AFolderThatCannotBeUsedLeavesTheHostRunningInMemory) {
  std::ofstream(data_.path() + "/Zarn") << "a file where the folder should be";
  EXPECT_TRUE(launch({"memory", "60", "20000"}).isClean());
  EXPECT_GE(arrived()["memory"].size(), 20u);
}

}  // namespace
}  // namespace zarn
