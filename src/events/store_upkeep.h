// StoreUpkeep: keeps the write-ahead log and the database file small, away from the threads that
// insert.
//
// A checkpoint inside a commit would make one insert in a few hundred wait for the disk. Instead
// the log is copied on a thread of the background executor through a handle of its own, while
// inserts go on appending. Once all of it is copied the log is begun anew, which costs a sync that
// the next insert would pay, so that is done here too, in a turn on the store's queue. A writer
// that never pauses never lets a copy catch up, and where descriptors have run out there is no
// copy; then the log grows up to kMostLogFrames and is begun anew in a longer turn. Whoever removes
// rows in bulk is asked to copy, and thereby to slow down, before that; whoever inserts, far beyond
// it.
//
// Appending to a file that grows costs an insert a third more than writing over what is there, so
// the log's file keeps its size while it is in use. When things have been quiet for a while it is
// cut, and a database that is nearly all free pages is rewritten.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/closure.h"
#include "base/executor.h"
#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/sqlite.h"
#include "base/thread_annotations.h"
#include "base/weakly.h"

namespace zarn::events {

class StoreUpkeep {
 public:
  /// Pages of 4 KiB; an insert appends about five. Fewer, longer passes disturb fewer inserts.
  static constexpr int kLogFramesPerPass = 4000;
  static constexpr int kMostLogFrames = 16000;
  static constexpr int kFramesToSlowRemovals = 8000;
  /// Only inserts that stay faster than the disk for long get there.
  static constexpr int kFramesToSlowInserts = 32000;

  /// `database` is used only on `queue`.
  StoreUpkeep(std::string path, std::string vfs, base::Executor& background,
              base::SerialQueue& queue, base::Sqlite& database);
  /// Waits for a pass that is under way, which takes turns on the queue: never destroyed on it.
  ~StoreUpkeep() = default;
  StoreUpkeep(const StoreUpkeep&) = delete;
  StoreUpkeep& operator=(const StoreUpkeep&) = delete;

  /// After a write, on the queue. Two comparisons, unless a pass is due.
  void wrote();
  /// After rows were removed, on the queue.
  void removedRows();
  /// On the queue: a pass for the caller to make itself, off the queue, where the log has grown too
  /// far ahead of upkeep for more of the same; mostly nothing. It waits for the disk, and does
  /// nothing once upkeep has ended.
  base::Closure reliefAfterRemoval() { return relief(kFramesToSlowRemovals); }
  base::Closure reliefAfterInsert() { return relief(kFramesToSlowInserts); }
  /// A pass soon, on the queue: where the disk is full, the log may be made reusable.
  void request();

 private:
  enum class Occasion : std::uint8_t { busy, quiet };

  base::Closure relief(int threshold);
  void postTidy();
  void tidy();
  void pass(Occasion occasion);
  std::optional<int> copyLog() ZARN_REQUIRES(passMutex_);
  bool beginLogAnew(Occasion occasion, std::optional<int> copiedFrames) ZARN_REQUIRES(queue_);
  bool isWorthShrinking() ZARN_REQUIRES(queue_);

  // Constant after construction.
  const std::string path_;
  const std::string vfs_;
  base::Executor& background_;
  base::SerialQueue& queue_;

  base::Sqlite& database_ ZARN_GUARDED_BY(queue_);
  bool isPassPosted_ ZARN_GUARDED_BY(queue_) = false;
  bool isTidyPosted_ ZARN_GUARDED_BY(queue_) = false;
  int framesAtLastPass_ ZARN_GUARDED_BY(queue_) = 0;

  base::Mutex passMutex_{base::LockRank::storeUpkeep};
  std::optional<base::Sqlite> copier_ ZARN_GUARDED_BY(passMutex_);

  base::Scope scope_;  // last, so that it closes first
};

}  // namespace zarn::events
