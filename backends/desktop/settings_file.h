// Settings in one JSON file, shared by all processes of an app.
//
//   reading    from memory; one load of a mapped counter tells whether another process has changed
//              the file since, and then it is read again
//   changing   in memory at once; the rest follows on the queue handed in
//   merging    under the file lock: read, merge what has changed here, write NAME.json.new, count.
//              Two processes never lose each other's keys. It waits for no disk, so that a commit
//              does it on the caller's thread, and what is merged outlives the process.
//   settling   sync NAME.json.new and let it take the place of NAME.json. A loss of power before
//              that may cut the new file short, but then the old one is there.
//
// A file that is no JSON object counts as absent, and a log line says so.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "base/work_item.h"
#include "desktop/shared_counter.h"
#include "zarn/value.h"

namespace zarn::platform {
class Clock;
class FileLock;
class Files;
class LogSink;
}  // namespace zarn::platform

namespace zarn::desktop {

/// Any thread.
class SettingsFile {
 public:
  /// Keeps its files, whose names begin with `name`, in `folder`, which it creates. `writer` runs
  /// what waits for the disk; it and the services must outlive this object.
  SettingsFile(std::string folder, std::string_view name, platform::Files& files,
               base::SerialQueue& writer, const platform::Clock& clock, platform::LogSink& log);
  ~SettingsFile();

  /// What `look` makes of the value; a default-made result when there is none.
  template <typename Look>
  auto read(std::string_view key, Look&& look) {
    base::MutexLock lock(mutex_);
    const Value* value = fresh().find(key);
    return value != nullptr ? look(*value) : decltype(look(*value))();
  }

  /// Whether there is a value under the key, of whatever kind; true as well while nobody can tell,
  /// because there is a file that has not been readable so far.
  bool mayHold(std::string_view key);

  /// A null takes the key away.
  void set(std::string_view key, Value value);
  /// Of several processes that do so, one has its way; which one is certain after a commit.
  void setIfAbsent(std::string_view key, Value value);

  /// Merges what has changed, waiting at most `patience` for another process. False when something
  /// is still only in memory.
  bool commit(base::Duration patience);
  /// Commits and settles, which waits for the disk.
  bool flush(base::Duration patience);

  /// For the end of the process: flushes, and from now on every change is committed by itself,
  /// since nothing runs on the queue any more.
  void finish(base::Duration patience);

 private:
  enum class Outcome { done, locked, failed };
  /// What is to be done to the values in the file.
  struct Changes {
    Properties additions;  // of what is absent
    Properties changes;    // a null removes
    bool empty() const { return additions.empty() && changes.empty(); }
    void applyTo(Properties& values) const;
    /// Later changes on top of these.
    void append(const Changes& later);
  };
  /// A file that could not be read: the count then, and when it is worth another try.
  struct FailedRead {
    std::uint64_t count;
    base::Duration retryAt;
  };

  /// The values, brought up to date first.
  const Properties& fresh() ZARN_REQUIRES(mutex_);
  /// Empty without a whole file; nothing when there is one that can't be read now.
  std::optional<Properties> readFile();
  void change(std::string_view key, Value value, bool onlyIfAbsent);
  void schedule(base::Duration delay) ZARN_REQUIRES(mutex_);
  void writeOnQueue();
  std::unique_ptr<platform::FileLock> tryLock();
  Outcome merge();
  Outcome settle();
  Outcome settleAt(std::uint64_t count);
  bool repeatWhileLocked(base::Duration patience, Outcome (SettingsFile::*step)());

  // Constant after construction.
  const std::string folder_;
  const std::string path_;
  const std::string newPath_;
  const std::string lockPath_;
  platform::Files& files_;
  const platform::Clock& clock_;
  platform::LogSink& log_;
  base::SerialQueue& writer_;

  base::Mutex mutex_{base::LockRank::leaf};
  SharedCounter counter_ ZARN_GUARDED_BY(mutex_);
  std::optional<std::uint64_t> seen_ ZARN_GUARDED_BY(mutex_);  // the count when values_ were read
  std::optional<FailedRead> failedRead_ ZARN_GUARDED_BY(mutex_);
  Properties values_ ZARN_GUARDED_BY(mutex_);
  Changes pending_ ZARN_GUARDED_BY(mutex_);  // not yet in the file
  Changes merging_ ZARN_GUARDED_BY(mutex_);  // on their way into it
  bool isUnsettled_ ZARN_GUARDED_BY(mutex_) = false;
  bool isFinished_ ZARN_GUARDED_BY(mutex_) = false;
  bool isScheduled_ ZARN_GUARDED_BY(mutex_) = false;
  base::Duration retryDelay_ ZARN_GUARDED_BY(mutex_);
  base::WorkItem retry_ ZARN_GUARDED_BY(mutex_);

  base::Scope scope_;
};

}  // namespace zarn::desktop
