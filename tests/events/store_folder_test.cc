#include "events/store_folder.h"

#include <fstream>
#include <memory>

#include "events/own_store.h"
#include "events/store_fixture.h"

namespace zarn::events {
namespace {

using Ids = std::vector<std::string>;

class OwnStoreTest : public StoreFixture {
 protected:
  std::unique_ptr<OwnStore> start(const std::string& project = "shop") {
    return std::make_unique<OwnStore>(StoreIdentity{project, "live", "host"}, services());
  }
  bool has(const std::string& folder, const std::string& project) {
    return files_.exists(directory_.file(folder) + "/" + storeFileName({project, "live", "host"}));
  }
};

TEST_F(OwnStoreTest, EachClientOwnsAFolder) {
  auto first = StoreFolder::acquire(files_, directory_.path());
  auto second = StoreFolder::acquire(files_, directory_.path());
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->path(), directory_.file("Zarn"));
  EXPECT_EQ(second->path(), directory_.file("Zarn-2"));
  first.reset();
  EXPECT_EQ(StoreFolder::acquire(files_, directory_.path())->path(), directory_.file("Zarn"));
}

TEST_F(OwnStoreTest, WhereNothingCanBeLockedNoFurtherFolderIsMade) {
  struct Lockless final : desktop::PosixFiles {
    using PosixFiles::PosixFiles;
    std::unique_ptr<platform::FileLock> tryLock(const std::string& path) override {
      PosixFiles::tryLock(path);  // makes the file, as a refused lock does
      return nullptr;
    }
  } lockless({directory_.path(), "test"}, environment_, log_);
  for (int launch = 0; launch < 2; ++launch) {
    EXPECT_FALSE(StoreFolder::acquire(lockless, directory_.path()));
  }
  EXPECT_EQ(files_.list(directory_.path()), Ids{"Zarn"});
  EXPECT_EQ(files_.list(directory_.file("Zarn")), Ids{".lock"});
}

TEST_F(OwnStoreTest, AdoptsTheRowsOfOwnersThatAreGone) {
  auto first = start();
  auto second = start();
  auto otherProject = start("blog");
  insert(first->store(), {"A"});
  insert(second->store(), {"B"});
  insert(otherProject->store(), {"X"});
  insert(first->store(), {"C"});
  EXPECT_EQ(second->store().fetchPending().size(), 1u);  // was on its way when it ended
  second.reset();
  otherProject.reset();
  first.reset();
  first = start();
  EXPECT_EQ(idsOf(first->store().fetchPending()), (Ids{"A", "B", "C"}));
  EXPECT_FALSE(has("Zarn-2", "shop"));
  EXPECT_TRUE(has("Zarn-3", "blog"));
  auto blog = start("blog");
  EXPECT_EQ(idsOf(blog->store().fetchPending()), Ids{"X"});
}

TEST_F(OwnStoreTest, LeavesTheLivingAndTheUnreadableAlone) {
  auto first = start();
  auto second = start();
  insert(second->store(), {"B"});
  const std::string garbage(5000, 'g');
  files_.createDirectories(directory_.file("Zarn-7"));
  const std::string damaged =
      directory_.file("Zarn-7") + "/" + storeFileName({"shop", "live", "host"});
  std::ofstream(damaged) << garbage;
  first.reset();
  first = start();
  EXPECT_TRUE(first->store().fetchPending().empty());
  EXPECT_EQ(files_.read(damaged), garbage);
  EXPECT_EQ(idsOf(second->store().fetchPending()), Ids{"B"});
}

TEST_F(OwnStoreTest, DeletingCoversAllFoldersWithoutAnotherOwner) {
  auto first = start();
  auto alive = start("alive");
  auto gone = start("gone");
  for (OwnStore* own : {first.get(), alive.get(), gone.get()}) insert(own->store(), {"A"});
  gone.reset();
  std::ofstream(directory_.file("Zarn") + "/events.sqlite-wal") << "x";
  std::ofstream(directory_.file("Zarn") + "/notes.sqlite") << "x";
  first.reset();
  deleteAbandonedStoreFiles(files_);
  EXPECT_FALSE(has("Zarn", "shop"));
  EXPECT_FALSE(has("Zarn-3", "gone"));
  EXPECT_FALSE(files_.exists(directory_.file("Zarn") + "/events.sqlite-wal"));
  EXPECT_TRUE(files_.exists(directory_.file("Zarn") + "/notes.sqlite"));
  EXPECT_EQ(alive->store().fetchPending().size(), 1u);
  EXPECT_TRUE(start()->store().fetchPending().empty());
}

TEST_F(OwnStoreTest, DeletingLeavesNothingThatAStartWouldTakeOver) {
  const std::string legacy = directory_.file("Zarn/events");
  files_.createDirectories(legacy);
  std::ofstream(legacy + "/1.json") << "{\"id\":\"A\"}";
  std::ofstream(legacy + "/2.json") << "not an event";
  deleteAbandonedStoreFiles(files_);
  EXPECT_FALSE(files_.exists(legacy));
  EXPECT_TRUE(start()->store().fetchPending().empty());
}

TEST_F(OwnStoreTest, AFileInTheFoldersPlaceLeavesAClosedStore) {
  std::ofstream(directory_.file("Zarn")) << "x";
  auto own = start();
  insert(own->store(), numbered("E", 100));
  EXPECT_TRUE(own->store().fetchPending().empty());
  EXPECT_EQ(own->store().health().failedInserts, 100u);
}

}  // namespace
}  // namespace zarn::events
