// Defaults in one JSON file, shared by all processes of an app.
//
//   reading    from memory; one load of a mapped counter tells whether another process has changed
//              the file since, and then it is read again
//   changing   in memory at once; then, on the queue handed in, under the file lock: read, merge
//              what has changed here, write, count. Two processes never lose each other's keys.
//
// A file that is no JSON object counts as empty, and a log line says so.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "base/work_item.h"
#include "desktop/shared_counter.h"
#include "platform/defaults.h"

namespace zarn::platform {
class Clock;
class Files;
class LogSink;
}  // namespace zarn::platform

namespace zarn::desktop {

class FileDefaults final : public platform::Defaults {
 public:
  /// Keeps its files in `folder`, which it creates. `writer` runs what waits for the disk; it and
  /// the services must outlive this object.
  FileDefaults(std::string folder, platform::Files& files, base::SerialQueue& writer,
               const platform::Clock& clock, platform::LogSink& log);
  ~FileDefaults() override;

  std::optional<bool> getBool(std::string_view key) override;
  std::optional<double> getDouble(std::string_view key) override;
  std::optional<std::string> getString(std::string_view key) override;
  using Defaults::set;
  void set(std::string_view key, bool value) override;
  void set(std::string_view key, double value) override;
  void set(std::string_view key, std::string_view value) override;
  void remove(std::string_view key) override;

  /// Writes what has changed on the calling thread, waiting at most `patience` for another writer.
  /// False when something is still only in memory.
  bool flush(base::Duration patience);

  /// For the end of the process: flushes, and from now on so does every change by itself, since
  /// nothing runs on the queue any more.
  void finish(base::Duration patience);

 private:
  enum class Outcome { done, locked, failed };
  /// A file that could not be read: the count then, and when it is worth another try.
  struct FailedRead {
    std::uint64_t count;
    base::Duration retryAt;
  };

  /// The values, brought up to date first.
  const Properties& fresh() ZARN_REQUIRES(mutex_);
  /// Empty without a file or with a broken one; nothing when there is one that can't be read now.
  std::optional<Properties> readFile();
  void change(std::string_view key, Value value);
  void writeOnQueue();
  Outcome writeNow();

  const std::string folder_;
  const std::string path_;
  platform::Files& files_;
  const platform::Clock& clock_;
  platform::LogSink& log_;
  base::SerialQueue& writer_;

  base::Mutex mutex_{base::LockRank::leaf};
  SharedCounter counter_ ZARN_GUARDED_BY(mutex_);
  std::optional<std::uint64_t> seen_ ZARN_GUARDED_BY(mutex_);  // the count when values_ were read
  std::optional<FailedRead> failedRead_ ZARN_GUARDED_BY(mutex_);
  Properties values_ ZARN_GUARDED_BY(mutex_);
  Properties changes_ ZARN_GUARDED_BY(mutex_);  // not yet in the file; null removes
  Properties writing_ ZARN_GUARDED_BY(mutex_);  // on their way into it
  bool finished_ ZARN_GUARDED_BY(mutex_) = false;
  bool scheduled_ ZARN_GUARDED_BY(mutex_) = false;
  base::Duration retryDelay_ ZARN_GUARDED_BY(mutex_);
  base::WorkItem retry_ ZARN_GUARDED_BY(mutex_);

  base::Scope scope_;
};

}  // namespace zarn::desktop
