#include "events/sqlite_event_store.h"

#include <algorithm>
#include <utility>

#include "events/event_table.h"
#include "events/legacy_events.h"
#include "events/store_upkeep.h"

namespace zarn::events {
namespace {

/// A disk that was full at the start may have space later; trying costs some file operations.
constexpr int kInsertsBetweenRetries = 64;
/// Where the disk is full, the log that is there can be used again once it is copied.
constexpr std::uint64_t kFailuresBetweenRequests = 16;

std::string directoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

SqliteEventStore::SqliteEventStore(std::string path, Services services, std::string vfs)
    : path_(std::move(path)),
      services_(std::move(services)),
      vfs_(std::move(vfs)),
      queue_(services_.background, "io.zarn.eventstore.sqlite", base::LockRank::storeQueue) {
  queue_.sync([this] {
    queue_.assertCurrent();
    insertsUntilRetry_ = kInsertsBetweenRetries;
    open();
  });
}

SqliteEventStore::~SqliteEventStore() {
  // Upkeep may be waiting for a turn on the queue, so it ends outside of one.
  std::unique_ptr<StoreUpkeep> upkeep;
  queue_.sync([&] {
    queue_.assertCurrent();
    upkeep = std::move(upkeep_);
  });
  upkeep.reset();
}

bool SqliteEventStore::open() {
  if (path_.empty()) return false;
  std::string error;
  table_ = EventTable::open(path_, vfs_, error);
  isOpen_ = table_ != nullptr;
  if (!table_) {
    report("can't be opened: " + error);
    return false;
  }
  if (!table_->hasLog()) report("no write-ahead log here, so storing an event waits for the disk");
  makeFilesPrivate();
  takeOverLegacyFiles();
  owesRemovalOfAll_ = owesRemovalOfAll_ || table_->discards() < discards();
  table_->clearMarks();
  upkeep_ =
      std::make_unique<StoreUpkeep>(path_, vfs_, services_.background, queue_, table_->database());
  return true;
}

bool SqliteEventStore::openForInsert() {
  if (table_) return true;
  if (insertsUntilRetry_-- > 0) return false;
  insertsUntilRetry_ = kInsertsBetweenRetries;
  return open();
}

void SqliteEventStore::makeFilesPrivate() {
  for (const char* suffix : {"", "-wal", "-shm"}) services_.files.makePrivate(path_ + suffix);
}

void SqliteEventStore::takeOverLegacyFiles() {
  const std::string directory = directoryOf(path_) + "/" + kLegacyEventsFolder;
  const LegacyEvents found = readLegacyEvents(services_.files, directory, services_.decode);
  if (!found.events.empty()) {
    base::SqliteTransaction transaction(table_->database());
    bool stored = transaction.isOpen();
    for (const model::EncodedEvent& event : found.events) {
      stored = stored && table_->insertOld(event.id, *event.json, event.time);
    }
    if (!stored || !transaction.commit()) return;
  }
  // Those without an event as well: they could never be sent, only read again at each start.
  for (const std::string& path : found.files) services_.files.remove(path);
  services_.files.remove(directory);
}

void SqliteEventStore::insert(const model::EncodedEvent& event) {
  base::Closure relief;
  queue_.sync([&] {
    queue_.assertCurrent();
    // Rows that were to go must be gone first: no later launch may find them among newer ones.
    if (openForInsert() && removeAllOwed() && table_->insert(event.id, *event.json, event.time)) {
      upkeep_->wrote();
      relief = upkeep_->reliefAfterInsert();
      return;
    }
    noteFailure(failedInserts_, "insert");
    if (upkeep_ && failedInserts_ % kFailuresBetweenRequests == 1) upkeep_->request();
  });
  if (relief) relief();
}

std::vector<model::EncodedEvent> SqliteEventStore::fetchPending() {
  std::vector<model::EncodedEvent> events;
  queue_.sync([&] {
    queue_.assertCurrent();
    if (!table_ || !removeAllOwed()) return;
    std::vector<EventTable::Row> rows;
    table_->readPending(kFetchLimit, rows);
    std::vector<std::string> loaded;
    std::vector<std::string> corrupt;
    for (EventTable::Row& row : rows) {
      auto event = services_.decode(std::move(row.data));
      // Under another key the acknowledgement would never find the row.
      const bool isSound = event && event->id == row.id;
      (isSound ? loaded : corrupt).push_back(std::move(row.id));
      if (isSound) events.push_back(std::move(*event));
    }
    if (!loaded.empty()) table_->markLoaded(loaded);
    removeCorrupt(corrupt);
  });
  return events;
}

void SqliteEventStore::removeCorrupt(std::span<const std::string> ids) {
  if (ids.empty()) return;
  corruptRows_ += ids.size();
  if (!table_->remove(ids)) noteFailure(failedRemovals_, "removal");
}

void SqliteEventStore::remove(std::span<const std::string> ids) {
  if (!ids.empty()) removeInSlices(ids, false);
}

void SqliteEventStore::resolve(std::span<const std::string> ids) {
  removeInSlices(ids, true);
}

void SqliteEventStore::removeInSlices(std::span<const std::string> ids, bool isResolve) {
  for (bool isLast = false; !isLast;) {
    const auto slice = ids.first(std::min(ids.size(), kRowsPerTurn));
    ids = ids.subspan(slice.size());
    isLast = ids.empty();
    base::Closure relief;
    queue_.sync([&] {
      queue_.assertCurrent();
      removeSlice(slice, isResolve && isLast);
      if (isResolve && upkeep_) relief = upkeep_->reliefAfterRemoval();
    });
    if (relief) relief();
  }
}

void SqliteEventStore::removeSlice(std::span<const std::string> ids, bool clearMarks) {
  if (!table_) return;
  bool done = false;
  if (clearMarks) {
    base::SqliteTransaction transaction(table_->database());
    done =
        transaction.isOpen() && table_->remove(ids) && table_->clearMarks() && transaction.commit();
  } else {
    done = table_->remove(ids);
  }
  if (!done) return noteFailure(failedRemovals_, "removal");
  upkeep_->wrote();
  if (!ids.empty()) upkeep_->removedRows();
}

void SqliteEventStore::removeAll() {
  queue_.sync([this] {
    queue_.assertCurrent();
    owesRemovalOfAll_ = true;
    if (!removeAllOwed()) noteFailure(failedRemovals_, "removal");
  });
}

bool SqliteEventStore::removeAllOwed() {
  if (!owesRemovalOfAll_) return true;
  if (!table_ || !table_->removeAll(discards())) return false;
  owesRemovalOfAll_ = false;
  upkeep_->wrote();
  upkeep_->removedRows();
  return true;
}

bool SqliteEventStore::adopt(const std::string& path) {
  bool adopted = false;
  queue_.sync([&] {
    queue_.assertCurrent();
    adopted = table_ && table_->adopt(path, discards());
  });
  return adopted;
}

void SqliteEventStore::noteFailure(std::atomic<std::uint64_t>& count, std::string_view operation) {
  ++count;
  if (hasReported_) return;
  std::string what(operation);
  what.append(" failed");
  if (table_) what.append(": ").append(table_->lastError());
  report(what);
}

void SqliteEventStore::report(const std::string& what) {
  if (!std::exchange(hasReported_, true) && services_.report) {
    services_.report("[Zarn] Event store: " + what);
  }
}

StoreHealth SqliteEventStore::health() const {
  return {isOpen_, failedInserts_, failedRemovals_, corruptRows_};
}

}  // namespace zarn::events
