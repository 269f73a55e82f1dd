#include "events/event_table.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace zarn::events {
namespace {

constexpr const char* kStartLog = "PRAGMA journal_mode=WAL;";
constexpr const char* kCreateTable =
    "    CREATE TABLE IF NOT EXISTS events (\n"
    "        id TEXT PRIMARY KEY,\n"
    "        data BLOB NOT NULL,\n"
    "        time REAL NOT NULL,\n"
    "        flag INTEGER NOT NULL DEFAULT 0\n"
    "    );";
constexpr const char* kCreateTimeIndex =
    "CREATE INDEX IF NOT EXISTS idx_events_time ON events(time);";
constexpr const char* kCreateFlagIndex =
    "CREATE INDEX IF NOT EXISTS idx_events_flag ON events(flag);";
constexpr const char* kCreateDiscards =
    "CREATE TABLE IF NOT EXISTS discards (count INTEGER NOT NULL);";
constexpr const char* kInsert =
    "INSERT OR REPLACE INTO events (id, data, time, flag) VALUES (?, ?, ?, 0);";
constexpr const char* kSelectPending =
    "    SELECT id, data FROM events\n"
    "    WHERE flag = 0\n"
    "    ORDER BY time ASC\n"
    "    LIMIT ?;";
constexpr const char* kMark = "UPDATE events SET flag = 1 WHERE id IN (";
constexpr const char* kClearMarks = "UPDATE events SET flag = 0 WHERE flag = 1;";
constexpr const char* kRemove = "DELETE FROM events WHERE id IN (";
constexpr const char* kRemoveAll = "DELETE FROM events;";
constexpr const char* kDiscards = "SELECT IFNULL(MAX(count), 0) FROM main.discards;";
constexpr const char* kForgetDiscards = "DELETE FROM discards;";
constexpr const char* kNoteDiscards = "INSERT INTO discards (count) VALUES (?);";
constexpr const char* kNewestTime = "SELECT MAX(time) FROM events;";
constexpr const char* kAttach = "ATTACH DATABASE ? AS adopted;";
constexpr const char* kHasAdoptedTable =
    "SELECT COUNT(*) FROM adopted.sqlite_master WHERE type = 'table' AND name = 'events';";
constexpr const char* kHasAdoptedDiscards =
    "SELECT COUNT(*) FROM adopted.sqlite_master WHERE type = 'table' AND name = 'discards';";
constexpr const char* kAdoptedDiscards = "SELECT IFNULL(MAX(count), 0) FROM adopted.discards;";
constexpr const char* kDetach = "DETACH DATABASE adopted;";
constexpr const char* kAdopt =
    "INSERT OR IGNORE INTO main.events (id, data, time, flag)"
    " SELECT id, data, time, 0 FROM adopted.events WHERE id IS NOT NULL ORDER BY time ASC;";

double secondsOf(Date time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

}  // namespace

EventTable::EventTable(base::Sqlite database) : database_(std::move(database)) {}

std::unique_ptr<EventTable> EventTable::open(const std::string& path, const std::string& vfs,
                                             std::string& error) {
  auto database = base::Sqlite::open(path, {.create = true, .vfs = vfs});
  if (!database) {
    error = "the file can't be opened";
    return nullptr;
  }
  std::unique_ptr<EventTable> table(new EventTable(std::move(*database)));
  if (!table->create()) {
    error = table->lastError();
    return nullptr;
  }
  return table;
}

bool EventTable::create() {
  // What fails here shows at the latest when the statements are prepared.
  hasLog_ = startLog();
  database_.execute("PRAGMA synchronous=NORMAL;");
  database_.execute("PRAGMA temp_store=MEMORY;");
  database_.stopAutomaticCheckpoints();
  database_.execute(kCreateTable);
  database_.execute(kCreateTimeIndex);
  database_.execute(kCreateFlagIndex);
  database_.execute(kCreateDiscards);
  if (!prepareAll()) return false;
  readNewestTime();
  return true;
}

/// SQLite answers with the mode that it has now.
bool EventTable::startLog() {
  bool started = false;
  database_.prepare(kStartLog).forEachRow(
      [&](const base::SqliteStatement& row) { started = row.text(0) == "wal"; });
  return started;
}

/// Stops at the first failure, so that its words are the last ones.
bool EventTable::prepareAll() {
  return (insert_ = database_.prepare(kInsert)) && (pending_ = database_.prepare(kSelectPending)) &&
         (clearMarks_ = database_.prepare(kClearMarks)) && (removeOne_ = prepareForIds(kRemove, 1));
}

void EventTable::readNewestTime() {
  database_.prepare(kNewestTime).forEachRow([this](const base::SqliteStatement& row) {
    // A damaged row must not push every later one to infinity.
    if (std::isfinite(row.real(0))) newestTime_ = std::max(newestTime_, row.real(0));
  });
}

bool EventTable::insert(std::string_view id, std::string_view data, Date time) {
  const double above = std::nextafter(newestTime_, std::numeric_limits<double>::infinity());
  const double at = std::max(secondsOf(time), above);
  if (!insertAt(id, data, at)) return false;
  newestTime_ = at;
  return true;
}

bool EventTable::insertOld(std::string_view id, std::string_view data, Date time) {
  const double at = secondsOf(time);
  if (!insertAt(id, data, at)) return false;
  newestTime_ = std::max(newestTime_, at);
  return true;
}

bool EventTable::insertAt(std::string_view id, std::string_view data, double time) {
  return insert_.bindText(1, id).bindBlob(2, data).bindReal(3, time).run();
}

bool EventTable::readPending(std::size_t limit, std::vector<Row>& rows) {
  pending_.bindInteger(1, static_cast<std::int64_t>(limit));
  return pending_.forEachRow([&](const base::SqliteStatement& row) {
    if (row.isNull(0) || row.blob(1).empty()) return;
    rows.push_back({std::string(row.text(0)), std::string(row.blob(1))});
  });
}

bool EventTable::markLoaded(std::span<const std::string> ids) {
  base::SqliteStatement mark = prepareForIds(kMark, ids.size());
  bindIds(mark, ids);
  return mark.run();
}

bool EventTable::clearMarks() {
  return clearMarks_.run();
}

bool EventTable::remove(std::span<const std::string> ids) {
  if (ids.empty()) return true;
  if (ids.size() > 1 && ids.size() != removeManyCount_) {
    removeMany_ = prepareForIds(kRemove, ids.size());
    removeManyCount_ = removeMany_ ? ids.size() : 0;
  }
  base::SqliteStatement& statement = ids.size() == 1 ? removeOne_ : removeMany_;
  bindIds(statement, ids);
  return statement.run();
}

std::int64_t EventTable::discards() {
  return database_.queryInteger(kDiscards).value_or(0);
}

bool EventTable::removeAll(std::int64_t discards) {
  base::SqliteTransaction transaction(database_);
  return transaction.isOpen() && database_.execute(kRemoveAll) &&
         database_.execute(kForgetDiscards) &&
         database_.prepare(kNoteDiscards).bindInteger(1, discards).run() && transaction.commit();
}

bool EventTable::adopt(const std::string& path, std::int64_t discards) {
  if (!database_.prepare(kAttach).bindText(1, path).run()) return false;
  // A process that ended while it created its file left no table.
  const auto tables = database_.queryInteger(kHasAdoptedTable);
  const bool isOutdated = adoptedDiscards() < discards;
  bool copied = tables == 0 || isOutdated;
  if (tables == 1 && !isOutdated) {
    base::SqliteTransaction transaction(database_);
    copied = transaction.isOpen() && database_.execute(kAdopt) && transaction.commit();
  }
  database_.execute(kDetach);
  readNewestTime();
  // A commit alone is not on the disk yet, and the caller is about to remove the only other copy.
  return copied && database_.checkpoint(base::Sqlite::Checkpoint::full).has_value();
}

std::int64_t EventTable::adoptedDiscards() {
  if (database_.queryInteger(kHasAdoptedDiscards).value_or(0) == 0) return 0;
  return database_.queryInteger(kAdoptedDiscards).value_or(0);
}

base::SqliteStatement EventTable::prepareForIds(std::string_view before, std::size_t count) {
  std::string sql(before);
  for (std::size_t i = 0; i < count; ++i) sql += i == 0 ? "?" : ",?";
  sql += ");";
  return database_.prepare(sql);
}

void EventTable::bindIds(base::SqliteStatement& statement, std::span<const std::string> ids) {
  int parameter = 0;
  for (const std::string& id : ids) statement.bindText(++parameter, id);
}

}  // namespace zarn::events
