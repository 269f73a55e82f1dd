#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>

#include "base/sqlite.h"
#include "events/store_fixture.h"
#include "events/store_upkeep.h"
#include "support/faulty_vfs.h"

namespace zarn::events {
namespace {

using testing::FaultyVfs;
using Ids = std::vector<std::string>;

class StoreFaultsTest : public StoreFixture {
 protected:
  /// Opens a store, inserts 40 events and removes some; gives the ids that must be there.
  Ids use(const std::string& vfs) {
    auto store = open(vfs);
    Ids there;
    for (const std::string& id : numbered("E", 40)) {
      const auto failedBefore = store->health().failedInserts;
      store->insert(event(id, std::string(2000, ' ')));
      if (store->health().failedInserts == failedBefore) there.push_back(id);
      if (there.size() % 10 == 9) {
        const Ids oldest{there.front()};
        const auto before = store->health().failedRemovals;
        store->resolve(oldest);
        if (store->health().failedRemovals == before) there.erase(there.begin());
      }
      dispatch_.advance(1.0);
    }
    return there;
  }
  void expectSound() {
    auto database = base::Sqlite::open(path_);
    ASSERT_TRUE(database);
    std::string result;
    database->prepare("PRAGMA integrity_check;").forEachRow([&](const base::SqliteStatement& row) {
      result += row.text(0);
    });
    EXPECT_EQ(result, "ok");
  }
  void removeFiles() {
    for (const char* suffix : {"", "-wal", "-shm"}) files_.remove(path_ + suffix);
  }

  FaultyVfs vfs_;
};

TEST_F(StoreFaultsTest, WhatIsNotCountedAsFailedIsThereWhateverFails) {
  for (const auto operation :
       {FaultyVfs::Operation::open, FaultyVfs::Operation::write, FaultyVfs::Operation::sync}) {
    for (const bool forever : {false, true}) {
      for (int countdown = 1; countdown < 400; countdown += 1 + countdown / 8) {
        SCOPED_TRACE(std::to_string(static_cast<int>(operation)) + " " + std::to_string(countdown) +
                     (forever ? " forever" : " once"));
        removeFiles();
        vfs_.fail(operation, {countdown, forever, forever ? SQLITE_FULL : SQLITE_IOERR});
        const Ids there = use(vfs_.name());
        vfs_.heal();
        const Ids found = idsOf(open(vfs_.name())->fetchPending());
        // A write that reported a failure may have happened all the same.
        EXPECT_TRUE(std::includes(found.begin(), found.end(), there.begin(), there.end(),
                                  [](const std::string& a, const std::string& b) {
                                    return std::stoi(a.substr(1)) < std::stoi(b.substr(1));
                                  }));
        expectSound();
      }
    }
  }
}

// What was discarded while the disk was full must not come back beside what is kept later.
TEST_F(StoreFaultsTest, ARemovalOfAllThatFailedIsMadeUpForBeforeTheNextInsert) {
  auto store = open(vfs_.name());
  insert(*store, {"A", "B"});
  vfs_.fail(FaultyVfs::Operation::write, {.countdown = 1, .forever = true, .code = SQLITE_FULL});
  store->removeAll();
  EXPECT_EQ(store->health().failedRemovals, 1u);
  insert(*store, {"C"});
  vfs_.heal();
  insert(*store, {"D"});
  store.reset();
  EXPECT_EQ(idsOf(open(vfs_.name())->fetchPending()), Ids{"D"});
}

TEST_F(StoreFaultsTest, APowerCutLosesOnlyTheNewestRows) {
  const std::string filler(60'000, ' ');
  std::size_t mostSafe = 0;
  for (int count = 0; count < 420; count += 49) {
    SCOPED_TRACE(count);
    removeFiles();
    auto store = open(vfs_.name());
    const Ids ids = numbered("E", count);
    std::size_t safe = 0;  // rows there when a pass of upkeep came to its end
    for (std::size_t i = 0; i < ids.size(); ++i) {
      store->insert(event(ids[i], filler));
      const int before = vfs_.syncs();
      dispatch_.runUntilIdle();
      if (vfs_.syncs() > before) safe = i + 1;
    }
    vfs_.cutPower();
    store.reset();
    vfs_.restart();
    const Ids found = idsOf(open(vfs_.name())->fetchPending());
    EXPECT_GE(found.size(), safe);
    ASSERT_LE(found.size(), ids.size());
    EXPECT_TRUE(std::equal(found.begin(), found.end(), ids.begin()));
    expectSound();
    mostSafe = std::max(mostSafe, safe);
  }
  EXPECT_GT(mostSafe, 100u);
}

TEST_F(StoreFaultsTest, AdoptedRowsSurviveAPowerCut) {
  const std::string abandoned = directory_.file("abandoned.sqlite");
  const auto openAbandoned = [&] {
    return std::make_unique<SqliteEventStore>(abandoned, services(), vfs_.name());
  };
  insert(*openAbandoned(), {"A", "B"});  // synced as it closes
  auto store = open(vfs_.name());
  insert(*store, {"C"});
  ASSERT_TRUE(store->adopt(abandoned));
  files_.remove(abandoned);
  vfs_.cutPower();
  store.reset();
  vfs_.restart();
  EXPECT_EQ(idsOf(open(vfs_.name())->fetchPending()), (Ids{"A", "B", "C"}));
}

TEST_F(StoreFaultsTest, AdoptionThatFailsAnywhereLeavesTheRowsWhereTheyWere) {
  const std::string abandoned = directory_.file("abandoned.sqlite");
  insert(*std::make_unique<SqliteEventStore>(abandoned, services()), {"A", "B"});
  auto store = open(vfs_.name());
  bool adopted = false;
  int countdown = 1;
  for (; !adopted; ++countdown) {
    ASSERT_LT(countdown, 200);
    vfs_.fail(FaultyVfs::Operation::write, {countdown, true, SQLITE_FULL});
    adopted = store->adopt(abandoned);
    vfs_.heal();
    if (adopted) break;
    EXPECT_EQ(idsOf(SqliteEventStore(abandoned, services()).fetchPending()), (Ids{"A", "B"}));
  }
  EXPECT_GT(countdown, 3);
  EXPECT_EQ(idsOf(store->fetchPending()), (Ids{"A", "B"}));
}

TEST_F(StoreFaultsTest, AReadOnlyPlaceMakesNoTroubleAndIsTriedAgain) {
  vfs_.makeReadOnly();
  auto store = open(vfs_.name());
  insert(*store, {"A"});
  EXPECT_TRUE(store->fetchPending().empty());
  EXPECT_FALSE(store->health().isOpen);
  EXPECT_EQ(reports_.size(), 1u);
  vfs_.heal();
  insert(*store, numbered("E", 100));
  EXPECT_TRUE(store->health().isOpen);
  EXPECT_EQ(idsOf(store->fetchPending()).back(), "E99");
}

TEST_F(StoreFaultsTest, TheLogIsBoundedEvenWhereItsCopierCannotOpen) {
  auto store = open(vfs_.name());
  insert(*store, {"first"});
  vfs_.fail(FaultyVfs::Operation::open, {.forever = true, .code = SQLITE_CANTOPEN});
  const std::string filler(100'000, ' ');
  for (const std::string& id : numbered("E", 900)) {
    store->insert(event(id, filler));
    dispatch_.runUntilIdle();
  }
  EXPECT_LE(std::filesystem::file_size(path_ + "-wal"),
            4120u * (StoreUpkeep::kMostLogFrames + StoreUpkeep::kLogFramesPerPass));
  EXPECT_EQ(store->health().failedInserts, 0u);
}

TEST_F(StoreFaultsTest, WorksWithoutAWriteAheadLogAndSaysSo) {
  auto store = open("unix-dotfile");  // it shares no memory, without which SQLite refuses the log
  const Ids ids = numbered("E", 40);
  for (const std::string& id : ids) store->insert(event(id, std::string(40'000, ' ')));
  ASSERT_EQ(reports_.size(), 1u);
  EXPECT_NE(reports_[0].find("write-ahead log"), std::string::npos);
  EXPECT_EQ(idsOf(store->fetchPending()), ids);
  store->resolve(ids);
  dispatch_.advance(10.0);
  EXPECT_LT(std::filesystem::file_size(path_), 100'000u);
}

TEST_F(StoreFaultsTest, InsertsDoNotWaitForTheDisk) {
  auto store = open(vfs_.name());
  insert(*store, {"first"});
  int syncsOfInserts = 0;
  for (const std::string& id : numbered("E", 2500)) {
    const int before = vfs_.syncs();
    insert(*store, {id});
    syncsOfInserts += vfs_.syncs() - before;
    dispatch_.runUntilIdle();
  }
  EXPECT_EQ(syncsOfInserts, 0);
  EXPECT_GT(vfs_.syncs(), 2);  // upkeep had its turns
}

}  // namespace
}  // namespace zarn::events
