#include "server/store.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "collector/wire_samples.h"
#include "server/queries.h"

namespace zarn::collector {
namespace {

class StoreTest : public ::testing::Test {
 protected:
  StoreTest() {
    std::string name = (std::filesystem::temp_directory_path() / "zarn-store-XXXXXX").string();
    directory_ = mkdtemp(name.data());
  }
  ~StoreTest() override { std::filesystem::remove_all(directory_); }

  std::unique_ptr<Store> open() {
    std::string error;
    auto store = Store::open(directory_, error);
    error_ = error;
    return store;
  }
  static BatchRecord deliver(Store& store, const std::vector<std::string>& texts,
                             bool keep = true) {
    BatchRecord record;
    record.receivedMs = 1769851800000;
    for (const std::string& text : texts) {
      Delivered& event = record.events.emplace_back();
      event.raw = text;
      event.facts = checkEvent(text);
      event.keep = keep;
    }
    std::string error;
    EXPECT_TRUE(store.add(record, error)) << error;
    return record;
  }
  static Tally::Sums sumsIn(const Store& store) {
    Tally::Sums sums;
    store.withTally([&](const Tally& tally) { sums = tally.sums; });
    return sums;
  }

  std::string directory_;
  std::string error_;
};

TEST_F(StoreTest, TellsRepeatedEventsFromChangedOnes) {
  auto store = open();
  const std::vector<std::string> texts = {eventText(1), eventText(2), eventText(1)};
  const BatchRecord first = deliver(*store, texts);
  EXPECT_EQ(first.events[0].fate, Fate::stored);
  EXPECT_EQ(first.events[2].fate, Fate::duplicate);
  const std::vector<std::string> changed = {eventText(2, R"({"x":1})"), eventText(3)};
  const BatchRecord second = deliver(*store, changed);
  EXPECT_EQ(second.events[0].fate, Fate::conflict);
  EXPECT_EQ(second.events[1].seq, 3);
  deliver(*store, {eventText(4)}, false);

  const Tally::Sums sums = sumsIn(*store);
  EXPECT_EQ(sums.unique, 3);
  EXPECT_EQ(sums.duplicates, 2);
  EXPECT_EQ(sums.conflicts, 1);
  EXPECT_EQ(sums.withheld, 1);
  EXPECT_EQ(store->find(idOf(2)), 2);
  EXPECT_EQ(store->find(idOf(4)), 0);
}

TEST_F(StoreTest, EventsWithoutAnIdAreNeverDuplicates) {
  auto store = open();
  deliver(*store, {"17", "17", R"({"event_id":"odd"})", R"({"event_id":"odd"})"});
  EXPECT_EQ(sumsIn(*store).unique, 3);
  EXPECT_EQ(sumsIn(*store).invalid, 3);
}

TEST_F(StoreTest, RemembersEverythingAfterARestart) {
  std::string counts;
  {
    auto store = open();
    deliver(*store, {eventText(1), eventText(2), eventText(1), "17"});
    ExchangeRecord init;
    store->addExchange(init);
    store->withTally([&](const Tally& tally) { counts = countsJson(tally); });
  }
  auto store = open();
  store->withTally([&](const Tally& tally) {
    EXPECT_EQ(countsJson(tally), counts);
    EXPECT_EQ(tally.arrived.at(1769851800).events, 3);
  });
  const BatchRecord again = deliver(*store, {eventText(2), eventText(5)});
  EXPECT_EQ(again.id, 2);
  EXPECT_EQ(again.events[0].fate, Fate::duplicate);
  EXPECT_EQ(again.events[1].seq, 4);
}

TEST_F(StoreTest, ResetForgetsEverything) {
  auto store = open();
  deliver(*store, {eventText(1)});
  ASSERT_TRUE(store->reset());
  EXPECT_EQ(sumsIn(*store).batches, 0);
  EXPECT_EQ(deliver(*store, {eventText(1)}).events[0].fate, Fate::stored);
}

TEST_F(StoreTest, ADirectoryServesOneCollectorOnly) {
  auto store = open();
  EXPECT_EQ(open(), nullptr);
  EXPECT_EQ(error_, "another collector uses it");
  store.reset();
  EXPECT_NE(open(), nullptr);
}

TEST_F(StoreTest, AFileThatIsNoDatabaseIsRefused) {
  std::ofstream(directory_ + "/collector.db") << std::string(5000, 'x');
  EXPECT_EQ(open(), nullptr);
  EXPECT_EQ(error_, "file is not a database");
}

TEST_F(StoreTest, TakesOverWhatTheFirstVersionKept) {
  {
    auto store = open();
    deliver(*store, {eventText(1), eventText(2)});
    std::string error;
    store.reset();
    const auto old = Database::open(directory_ + "/collector.db", Database::Mode::write, error);
    ASSERT_TRUE(old->run(
        "DROP INDEX batches_by_installation; DROP INDEX events_by_batch;"
        "DROP TABLE exchanges; DROP TABLE installations; DROP TABLE changes; DROP TABLE requests;"
        "DROP TABLE contexts; ALTER TABLE events DROP COLUMN anonymous;"
        "ALTER TABLE batches DROP COLUMN policy_exchange;"
        "ALTER TABLE batches DROP COLUMN policy_revision;"
        "ALTER TABLE batches DROP COLUMN installation;"
        "CREATE TABLE calls(id INTEGER PRIMARY KEY, received_ms INTEGER NOT NULL,"
        " endpoint TEXT NOT NULL, status INTEGER NOT NULL, cause TEXT NOT NULL,"
        " request TEXT NOT NULL, response TEXT NOT NULL, problems TEXT NOT NULL);"
        "INSERT INTO calls VALUES(3, 5, 'init', 200, '', '{}', '{}', '');"
        "PRAGMA user_version = 1"))
        << old->message();
  }
  auto store = open();
  ASSERT_TRUE(store) << error_;
  EXPECT_EQ(sumsIn(*store).unique, 2);
  EXPECT_EQ(sumsIn(*store).calls, 1);
  EXPECT_EQ(deliver(*store, {eventText(3)}).events[0].fate, Fate::stored);
  ExchangeRecord next;
  ASSERT_TRUE(store->addExchange(next));
  EXPECT_EQ(next.id, 4);
}

TEST_F(StoreTest, SearchesByEveryFilter) {
  auto store = open();
  deliver(*store, {eventText(1, R"({"cup":"Blå 50%","n":1})"), eventText(2, R"({"n":2})"), "17"});
  Queries queries(store->file());
  std::string error;
  const auto found = [&](const EventFilter& filter) {
    return queries.count(filter, error).value_or(error);
  };
  EXPECT_EQ(found({}), R"({"count":3})");
  EXPECT_EQ(found({.name = "item 1"}), R"({"count":1})");
  EXPECT_EQ(found({.session = "S0"}), R"({"count":1})");
  EXPECT_EQ(found({.text = "BLå 50%"}), R"({"count":1})");
  EXPECT_EQ(found({.text = "50_"}), R"({"count":0})");
  EXPECT_EQ(found({.valid = false}), R"({"count":1})");
  EXPECT_EQ(found({.batch = 2}), R"({"count":0})");
  EXPECT_EQ(found({.properties = {{"n", "2"}}}), R"({"count":1})");
  EXPECT_EQ(found({.name = "x' OR '1'='1"}), R"({"count":0})");
  EXPECT_EQ(queries.countsBy("property:n", {}, error).value_or(error),
            R"({"field":"property:n","values":[{"value":null,"count":1},)"
            R"({"value":"1","count":1},{"value":"2","count":1}]})");
  EXPECT_FALSE(Queries::isField("raw"));
  EXPECT_FALSE(Queries::isField("property:a\"b"));
  EXPECT_EQ(queries.ids({}, error).value_or(error),
            R"({"ids":[")" + idOf(1) + R"(",")" + idOf(2) + R"("],"count":2})");
}

TEST(Timeline, FillsItsBuckets) {
  Tally tally;
  for (const int second : {100, 100, 104, 119}) tally.addEvent({}, second != 104, second);
  EXPECT_EQ(timelineJson(tally, {.until = 119, .span = 20, .bucket = 5}, 500),
            R"({"bucket":5,"from":"1970-01-01T00:01:40.000Z","until":"1970-01-01T00:02:00.000Z",)"
            R"("points":[{"t":100,"events":3,"invalid":1},{"t":105,"events":0,"invalid":0},)"
            R"({"t":110,"events":0,"invalid":0},{"t":115,"events":1,"invalid":0}]})");
  const std::string all = timelineJson(tally, {.span = 0}, 500);
  EXPECT_NE(all.find(R"("bucket":5)"), std::string::npos) << all;  // 401 s in at most 120
}

}  // namespace
}  // namespace zarn::collector
