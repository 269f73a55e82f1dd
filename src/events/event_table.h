// EventTable: the table of stored events in one database file. It holds the statements; it knows
// nothing of queues, slices or health, which are sqlite_event_store.h's.
//
//   column  meaning
//   id      the event's id
//   data    its JSON, UTF-8
//   time    seconds since 1970; the order of delivery
//   flag    0 pending, 1 loaded into memory and awaiting its outcome
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/sqlite.h"
#include "zarn/value.h"

namespace zarn::events {

/// One thread at a time. Functions give false when SQLite failed; lastError() has the words.
class EventTable {
 public:
  struct Row {
    std::string id;
    std::string data;
  };

  /// Opens the file, or creates it. Null when it can't be used as a database, with the reason in
  /// `error`.
  static std::unique_ptr<EventTable> open(const std::string& path, const std::string& vfs,
                                          std::string& error);

  /// Replaces a row of the same id; the row is pending. A time not above that of the newest row is
  /// raised to just above it, so that a clock set back can't reorder events.
  bool insert(std::string_view id, std::string_view data, Date time);
  /// As insert, but with the time as it is: for events from before this store's.
  bool insertOld(std::string_view id, std::string_view data, Date time);
  /// The oldest pending rows, oldest first. A row without id or data is passed over.
  bool readPending(std::size_t limit, std::vector<Row>& rows);
  /// Time is linear in the ids of one call, some 10 us each; no more than a thousand or so.
  bool markLoaded(std::span<const std::string> ids);
  bool clearMarks();
  bool remove(std::span<const std::string> ids);
  /// The count of discards that was noted with the last removal of all; 0 before any.
  std::int64_t discards();
  /// Notes the count in the same step.
  bool removeAll(std::int64_t discards);
  /// Copies the rows of another store's file, as pending and with their times, unless they are from
  /// before the last of so many discards. A row whose id is here already stays as it is. All or
  /// none; when it returns true they are safe on the disk.
  bool adopt(const std::string& path, std::int64_t discards);

  /// False where the file system can't do it: changes then wait for the disk, and are as safe.
  bool hasLog() const { return hasLog_; }
  base::Sqlite& database() { return database_; }
  std::string lastError() const { return database_.lastError(); }

 private:
  explicit EventTable(base::Sqlite database);
  bool create();
  bool startLog();
  bool prepareAll();
  bool insertAt(std::string_view id, std::string_view data, double time);
  void readNewestTime();
  std::int64_t adoptedDiscards();
  base::SqliteStatement prepareForIds(std::string_view before, std::size_t count);
  static void bindIds(base::SqliteStatement& statement, std::span<const std::string> ids);

  base::Sqlite database_;
  base::SqliteStatement insert_;
  base::SqliteStatement pending_;
  base::SqliteStatement clearMarks_;
  base::SqliteStatement removeOne_;
  base::SqliteStatement removeMany_;  // for removeManyCount_ ids, the count that came last
  std::size_t removeManyCount_ = 0;
  double newestTime_ = 0;
  bool hasLog_ = false;
};

}  // namespace zarn::events
