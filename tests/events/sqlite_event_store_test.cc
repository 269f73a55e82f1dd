#include "events/sqlite_event_store.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "base/sqlite.h"
#include "desktop/dispatch.h"
#include "events/store_fixture.h"
#include "events/store_upkeep.h"

namespace zarn::events {
namespace {

using SqliteEventStoreTest = StoreFixture;
using Ids = std::vector<std::string>;

TEST_F(SqliteEventStoreTest, RowsOutliveTheStoreWithTheirOrderAndBytes) {
  insert(*open(), {"A", "B"});
  auto store = open();
  store->insert(event("C", "  "));
  const auto events = store->fetchPending();
  EXPECT_EQ(idsOf(events), (Ids{"A", "B", "C"}));
  EXPECT_EQ(*events[2].json, "{\"id\":\"C\"}  ");
  struct stat status {};
  for (const char* suffix : {"", "-wal", "-shm"}) {
    ASSERT_EQ(::stat((path_ + suffix).c_str(), &status), 0) << suffix;
    EXPECT_EQ(status.st_mode & 0777, 0600u) << suffix;
  }
}

TEST_F(SqliteEventStoreTest, AClockSetBackDoesNotReorder) {
  auto store = open();
  insert(*store, {"A"});
  clock_.jumpWall(base::seconds(-3600));
  insert(*store, {"B", "C"});
  reopen(store);
  clock_.jumpWall(base::seconds(-3600));
  insert(*store, {"D"});
  EXPECT_EQ(idsOf(store->fetchPending()), (Ids{"A", "B", "C", "D"}));
}

TEST_F(SqliteEventStoreTest, MarksHoldUntilResolvedReplacedOrReopened) {
  auto store = open();
  insert(*store, {"A", "B", "C"});
  EXPECT_EQ(store->fetchPending().size(), 3u);
  EXPECT_TRUE(store->fetchPending().empty());
  store->insert(event("A", " again"));
  EXPECT_EQ(*store->fetchPending().at(0).json, "{\"id\":\"A\"} again");
  store->resolve({});
  EXPECT_EQ(idsOf(store->fetchPending()), (Ids{"B", "C", "A"}));
  const Ids resolved{"B"};
  store->resolve(resolved);
  EXPECT_EQ(idsOf(store->fetchPending()), (Ids{"C", "A"}));
  store.reset();
  EXPECT_EQ(idsOf(open()->fetchPending()), (Ids{"C", "A"}));
}

TEST_F(SqliteEventStoreTest, LoadsTheOldest500AndMarksThose) {
  auto store = open();
  const Ids ids = numbered("E", 501);
  insert(*store, ids);
  EXPECT_EQ(idsOf(store->fetchPending()), Ids(ids.begin(), ids.end() - 1));
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"E500"});
}

TEST_F(SqliteEventStoreTest, RemovesListsOfAnyLength) {
  auto store = open();
  insert(*store, numbered("E", 100));
  insert(*store, {"kept"});
  const Ids one{"E99"};
  store->remove(one);
  store->remove({});
  store->resolve(numbered("E", 40000));  // more than SQLite takes in one statement
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"kept"});
  store->removeAll();
  reopen(store);
  EXPECT_TRUE(store->fetchPending().empty());
  EXPECT_EQ(store->health().failedRemovals, 0u);
}

TEST_F(SqliteEventStoreTest, ARemovalThatCouldNotBePreparedDoesNotSpoilTheNextOfItsSize) {
  auto store = open();
  insert(*store, {"A", "B", "C", "D", "E"});
  auto other = base::Sqlite::open(path_);
  ASSERT_TRUE(other->execute("ALTER TABLE events RENAME TO away;"));
  store->remove(Ids{"E"});  // from now on the handle knows
  store->remove(Ids{"A", "B"});
  EXPECT_EQ(store->health().failedRemovals, 2u);
  ASSERT_TRUE(other->execute("ALTER TABLE away RENAME TO events;"));
  store->remove(Ids{"C", "D"});
  EXPECT_EQ(store->health().failedRemovals, 2u);
  EXPECT_EQ(idsOf(store->fetchPending()), (Ids{"A", "B", "E"}));
}

TEST_F(SqliteEventStoreTest, RowsThatDoNotDecodeDisappear) {
  auto store = open();
  auto broken = event("broken");
  broken.json = std::make_shared<const std::string>("{\"id");
  store->insert(broken);
  auto foreign = event("foreign");
  foreign.json = event("other").json;
  store->insert(foreign);
  insert(*store, {"A"});
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"A"});
  EXPECT_EQ(store->health().corruptRows, 2u);
  reopen(store);
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"A"});
  EXPECT_EQ(store->health().corruptRows, 0u);
}

TEST_F(SqliteEventStoreTest, TakesOverFilesOfOlderReleasesOnce) {
  const std::string legacy = directory_.file("events");
  std::filesystem::create_directory(legacy);
  std::ofstream(legacy + "/1.json") << "{\"id\":\"A\"}";
  std::ofstream(legacy + "/2.json") << "{\"id\":\"B\"}";
  std::ofstream(legacy + "/3.json") << "not an event";
  auto store = open();
  insert(*store, {"C"});
  EXPECT_EQ(idsOf(store->fetchPending()), (Ids{"A", "B", "C"}));
  EXPECT_FALSE(files_.exists(legacy));  // nor would the third be one at the next start
  reopen(store);
  EXPECT_EQ(store->fetchPending().size(), 3u);
}

TEST_F(SqliteEventStoreTest, GarbageInTheFilesPlaceStaysUntilItIsDeleted) {
  const std::string garbage(10000, 'g');
  std::ofstream(path_) << garbage;
  auto store = open();
  insert(*store, numbered("E", 200));
  const Ids ids{"E1"};
  store->remove(ids);
  store->resolve(ids);
  store->removeAll();
  EXPECT_TRUE(store->fetchPending().empty());
  EXPECT_FALSE(store->health().isOpen);
  EXPECT_EQ(store->health().failedInserts, 200u);
  EXPECT_EQ(reports_.size(), 1u);
  EXPECT_EQ(files_.read(path_), garbage);

  files_.remove(path_);
  insert(*store, numbered("F", 200));
  EXPECT_TRUE(store->health().isOpen) << "tried again now and then";
  EXPECT_FALSE(store->fetchPending().empty());
}

TEST_F(SqliteEventStoreTest, RowsFromBeforeADiscardElsewhereAreNeitherFoundNorAdopted) {
  const std::string abandoned = directory_.file("abandoned.sqlite");
  {
    SqliteEventStore other(abandoned, services());
    insert(other, {"A", "B"});
    insert(*open(), {"C"});
  }
  ++discards_;
  auto store = open();
  EXPECT_TRUE(store->fetchPending().empty());
  EXPECT_TRUE(store->adopt(abandoned)) << "it may go";
  EXPECT_TRUE(store->fetchPending().empty());
  insert(*store, {"D"});
  reopen(store);
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"D"}) << "of after it";

  ++discards_;
  store->removeAll();
  insert(*store, {"E"});
  reopen(store);
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"E"});
}

TEST_F(SqliteEventStoreTest, LogAndFileBecomeSmallAgain) {
  const auto sizeOf = [&](const char* suffix) {
    return std::filesystem::file_size(path_ + suffix);
  };
  auto store = open();
  const std::string filler(3000, ' ');
  const Ids ids = numbered("E", 2000);
  for (const std::string& id : ids) {
    store->insert(event(id, filler));
    dispatch_.runUntilIdle();
  }
  constexpr std::uintmax_t kPage = 4120;
  EXPECT_LE(sizeOf("-wal"), kPage * (StoreUpkeep::kLogFramesPerPass + 100));
  EXPECT_GT(sizeOf(""), 6'000'000u);
  store->resolve(ids);
  dispatch_.advance(10.0);
  EXPECT_LT(sizeOf(""), 100'000u);
  insert(*store, {"A"});
  EXPECT_EQ(idsOf(store->fetchPending()), Ids{"A"});
}

TEST_F(SqliteEventStoreTest, TheLogIsBoundedEvenWhereUpkeepNeverRuns) {
  auto store = open();
  const std::string filler(400'000, ' ');
  for (const std::string& id : numbered("E", 500)) store->insert(event(id, filler));
  EXPECT_LE(std::filesystem::file_size(path_ + "-wal"),
            4120u * (StoreUpkeep::kFramesToSlowInserts + 200));
  EXPECT_EQ(store->health().failedInserts, 0u);
}

TEST_F(SqliteEventStoreTest, AFileLeftNearlyEmptyIsRewrittenAfterAWhile) {
  auto store = open();
  const Ids ids = numbered("E", 300);
  for (const std::string& id : ids) store->insert(event(id, std::string(3000, ' ')));
  reopen(store);
  store->resolve(ids);
  dispatch_.runUntilIdle();
  EXPECT_GT(std::filesystem::file_size(path_), 1'000'000u);
  dispatch_.advance(5.0);
  EXPECT_LT(std::filesystem::file_size(path_), 100'000u);
}

TEST_F(SqliteEventStoreTest, InsertsResolvesAndUpkeepRunBesideEachOther) {
  desktop::ThreadDispatch threads;
  auto its = services();
  SqliteEventStore store(path_, {its.files, threads.pool(), its.decode});
  const std::string filler(700, ' ');
  const Date now = clock_.now();
  const Ids removed = numbered("R", 600);
  for (const std::string& id : removed) store.insert(makeEvent(id, now, filler));
  std::vector<std::thread> hosts;
  for (const char* prefix : {"A", "B"}) {
    hosts.emplace_back([&store, &filler, now, prefix] {
      for (const std::string& id : numbered(prefix, 200)) store.insert(makeEvent(id, now, filler));
    });
  }
  store.resolve(removed);
  for (std::thread& host : hosts) host.join();
  EXPECT_EQ(store.fetchPending().size(), 400u);
  EXPECT_EQ(store.health().failedInserts, 0u);
}

}  // namespace
}  // namespace zarn::events
