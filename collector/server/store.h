// Keeps what arrives, and what was decided, in one SQLite file of the data directory. One
// transaction per batch; thread-safe. A crash of the machine may cost the last batches, a crash of
// the collector costs nothing.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/body_file.h"
#include "server/database.h"
#include "server/id_index.h"
#include "server/records.h"
#include "server/tally.h"

namespace zarn::collector {

class Store {
 public:
  /// Makes the directory where needed. Null, with a message, when it cannot be used or another
  /// collector uses it.
  static std::unique_ptr<Store> open(const std::string& directory, std::string& error);
  ~Store();

  /// Keeps the batch and what is to be kept of its events; fills in ids, places and fates. False,
  /// with nothing kept, when the disk does not take it.
  bool add(BatchRecord& batch, std::string& error);
  /// Keeps the exchange and fills in its id.
  bool addExchange(ExchangeRecord& exchange);
  /// The answer of an exchange has gone out only now.
  bool noteAnswered(std::int64_t exchange, std::int64_t ms);
  /// How many exchanges and answers have been noted since the store was opened.
  std::int64_t exchangesSeen() const;
  /// Waits for one more than that. False when time ran out or the store was stopped.
  bool waitForExchange(std::int64_t seen, int ms) const;
  /// Keeps a request as it came.
  bool addRequest(std::int64_t receivedMs, std::string_view refusal, std::string_view head,
                  std::string_view body);
  bool addChange(const std::string& project, const ProjectSettings& settings);
  /// Every change, in order, with its project.
  std::vector<std::pair<std::string, ProjectSettings>> changes() const;
  /// Keeps what a project answers, as JSON; empty text forgets it.
  bool setAnswers(const std::string& project, std::string_view json);
  /// Each project with its answers.
  std::vector<std::pair<std::string, std::string>> answers() const;
  /// Keeps the picture, in place of an earlier one of the same screen.
  bool addScreenshot(const Screenshot& screenshot, std::int64_t receivedMs);
  /// Whether there is one of this project, app and screen.
  bool hasScreenshot(const Screenshot& of) const;
  /// Forgets those of the project; the answer is how many, or nothing when that failed.
  std::optional<std::int64_t> removeScreenshots(const std::string& project);
  bool reset();

  /// The place of a kept event; 0 when it is not here.
  std::int64_t find(std::string_view eventId) const;
  /// Looks at the counts under the lock.
  void withTally(const std::function<void(const Tally&)>& look) const;
  /// Waits until the counts are as wanted. False when time ran out or the store was stopped.
  bool waitFor(const std::function<bool(const Tally::Sums&)>& wanted, int ms) const;
  void stop();

  const std::string& file() const { return file_; }
  const BodyFile& bodies() const { return *bodies_; }

 private:
  struct Statements;
  Store() = default;
  bool prepare(std::string& error);
  void load();
  bool insert(BatchRecord& batch);
  bool insertEvent(const BatchRecord& batch, std::int64_t position, Delivered& event);
  void forget(BatchRecord& batch);
  bool insertBatch(const BatchRecord& batch);
  void findPolicy(BatchRecord& batch);
  bool noteInstallation(BatchRecord& batch);
  bool noteContext(const BatchRecord& batch);

  // Constant after construction.
  std::string file_;
  int lockFile_ = -1;
  std::unique_ptr<BodyFile> bodies_;  // appended to under mutex_

  mutable std::mutex mutex_;
  mutable std::condition_variable grown_;
  // Guarded by mutex_.
  std::unique_ptr<Database> database_;
  std::unique_ptr<Statements> statements_;
  std::int64_t nextBatch_ = 1;
  std::int64_t nextSeq_ = 1;
  std::int64_t nextExchange_ = 1;
  std::int64_t exchangesSeen_ = 0;
  Tally tally_;
  IdIndex ids_;
  bool stopped_ = false;
};

}  // namespace zarn::collector
