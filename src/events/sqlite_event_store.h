// SqliteEventStore: events on the disk until the server has acknowledged them.
//
//   SqliteEventStore store(path, {files, dispatch.pool(), model::readStoredEvent, report});
//
//   state     insert                              other operations
//   open      the row is there when it returns    take effect
//   closed    tries to open now and then          do nothing
//
// The store is closed when the file can't be used: no folder, no space, no right to write, or a
// file that is no database, which stays until it is deleted. Operations then do nothing, are
// counted in health(), and the event queue goes on in memory.
//
// All access goes through one serial queue, and an insert waits only for turns that are short:
// removals go in slices with a turn each, and the log is kept by StoreUpkeep. Only inserts that
// stay faster than the disk for thousands of events wait for it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/serial_queue.h"
#include "events/event_storage.h"
#include "platform/files.h"

namespace zarn::events {

class EventTable;
class StoreUpkeep;

/// Counts since construction.
struct StoreHealth {
  bool isOpen = false;
  std::uint64_t failedInserts = 0;   // events that are in memory only
  std::uint64_t failedRemovals = 0;  // transactions; their rows will be sent once more
  std::uint64_t corruptRows = 0;     // did not decode, and were removed
};

class SqliteEventStore final : public EventStorage {
 public:
  struct Services {
    platform::Files& files;
    base::Executor& background;  // for upkeep, which waits for the disk
    /// The event of a stored row, or nothing when the bytes are not one.
    std::function<std::optional<model::EncodedEvent>(std::string)> decode;
    /// One line at the first trouble, for the debug log. Called with locks held: it must not call
    /// back. May be empty.
    std::function<void(std::string_view)> report = {};
    /// How often the user's choice has had everything discarded so far, in any process. Rows from
    /// before the last time are removed when they are found. May be empty: never.
    std::function<std::int64_t()> discards = {};
  };

  /// Opens the database at `path`, creating it if need be; takes over legacy files beside it and
  /// makes rows pending that were in flight when the last process ended. With an empty path the
  /// store stays closed. `vfs` is SQLite's name of a file system, empty for its own choice.
  SqliteEventStore(std::string path, Services services, std::string vfs = {});
  /// Waits for upkeep that is under way.
  ~SqliteEventStore() override;

  void insert(const model::EncodedEvent& event) override;
  std::vector<model::EncodedEvent> fetchPending() override;
  void remove(std::span<const std::string> ids) override;
  /// Of many rows it may wait for the disk, so that the log can't outgrow its bound.
  void resolve(std::span<const std::string> ids) override;
  void removeAll() override;

  /// Takes over the rows of another store's file, whose owner is gone. True when they are safe here
  /// and the file may be deleted.
  bool adopt(const std::string& path);

  /// Does not wait.
  StoreHealth health() const;

 private:
  /// Rows removed in one turn: about 0.6 ms, which an insert may have to wait. Fewer would make the
  /// removal as a whole dearer, since each turn writes the pages of the indexes anew.
  static constexpr std::size_t kRowsPerTurn = 128;

  bool open() ZARN_REQUIRES(queue_);
  bool openForInsert() ZARN_REQUIRES(queue_);
  bool removeAllOwed() ZARN_REQUIRES(queue_);
  std::int64_t discards() const { return services_.discards ? services_.discards() : 0; }
  void takeOverLegacyFiles() ZARN_REQUIRES(queue_);
  void makeFilesPrivate();
  void removeSlice(std::span<const std::string> ids, bool clearMarks) ZARN_REQUIRES(queue_);
  void removeInSlices(std::span<const std::string> ids, bool isResolve);
  void removeCorrupt(std::span<const std::string> ids) ZARN_REQUIRES(queue_);
  void noteFailure(std::atomic<std::uint64_t>& count, std::string_view operation)
      ZARN_REQUIRES(queue_);
  void report(const std::string& what) ZARN_REQUIRES(queue_);

  // Constant after construction.
  const std::string path_;
  const Services services_;
  const std::string vfs_;

  base::SerialQueue queue_;
  std::unique_ptr<EventTable> table_ ZARN_GUARDED_BY(queue_);  // null while closed
  std::unique_ptr<StoreUpkeep> upkeep_ ZARN_GUARDED_BY(queue_);
  int insertsUntilRetry_ ZARN_GUARDED_BY(queue_) = 0;
  bool owesRemovalOfAll_ ZARN_GUARDED_BY(queue_) = false;  // removeAll has failed so far
  bool hasReported_ ZARN_GUARDED_BY(queue_) = false;

  std::atomic<bool> isOpen_ = false;
  std::atomic<std::uint64_t> failedInserts_ = 0;
  std::atomic<std::uint64_t> failedRemovals_ = 0;
  std::atomic<std::uint64_t> corruptRows_ = 0;
};

}  // namespace zarn::events
