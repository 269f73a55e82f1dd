// StoreUpkeep: keeps the write-ahead log and the database file small, away from the threads that
// insert.
//
// A checkpoint inside a commit would make one insert in a few hundred wait for the disk. Instead
// the log is copied on a thread of the background executor through a handle of its own, while
// inserts go on appending. Once all of it is copied the log is begun anew, which costs a sync that
// the next insert would pay, so that is done here too, in a turn on the store's queue. A writer
// that never pauses never lets a copy catch up; then the log grows up to kMostLogFrames and is cut
// in a longer turn.
//
// Some time after rows were removed the log is copied as well, and a file that is nearly all free
// pages is rewritten.
#pragma once

#include <optional>
#include <string>

#include "base/executor.h"
#include "base/serial_queue.h"
#include "base/sqlite.h"
#include "base/thread_annotations.h"
#include "base/weakly.h"

namespace zarn::events {

class StoreUpkeep {
 public:
  /// Pages of 4 KiB; an insert appends about five.
  static constexpr int kLogFramesPerPass = 1000;
  static constexpr int kMostLogFrames = 8000;

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
  /// A pass soon, on the queue: where the disk is full, the log may be made reusable.
  void request();

 private:
  void pass();
  bool copyLog();
  bool settle() ZARN_REQUIRES(queue_);
  bool shrink() ZARN_REQUIRES(queue_);

  // Constant after construction.
  const std::string path_;
  const std::string vfs_;
  base::Executor& background_;
  base::SerialQueue& queue_;

  base::Sqlite& database_ ZARN_GUARDED_BY(queue_);
  bool isUnderWay_ ZARN_GUARDED_BY(queue_) = false;
  bool isTidyPosted_ ZARN_GUARDED_BY(queue_) = false;
  int framesAtLastPass_ ZARN_GUARDED_BY(queue_) = 0;

  // Of the pass, of which there is one at a time.
  std::optional<base::Sqlite> copier_;
  int copiedFrames_ = 0;

  base::Scope scope_;  // last, so that it closes first
};

}  // namespace zarn::events
