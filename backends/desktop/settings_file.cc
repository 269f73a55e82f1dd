#include "desktop/settings_file.h"

#include <algorithm>
#include <memory>
#include <thread>
#include <utility>

#include "base/json.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/log.h"

namespace zarn::desktop {
namespace {

constexpr base::Duration kFirstRetry = std::chrono::milliseconds(20);
constexpr base::Duration kLastRetry = std::chrono::minutes(5);
constexpr base::Duration kLateCommit = std::chrono::milliseconds(20);
constexpr base::Duration kReportedRetry = std::chrono::seconds(1);
constexpr base::Duration kReadRetry = std::chrono::seconds(1);
constexpr base::Duration kLockRetry = std::chrono::microseconds(500);

/// Nothing when the text is no whole object.
std::optional<Properties> parseSettings(std::string_view text) {
  const auto parsed = base::parseJson(text);
  const Properties* values = parsed ? parsed->asProperties() : nullptr;
  return values != nullptr ? std::optional<Properties>(*values) : std::nullopt;
}

}  // namespace

void SettingsFile::Changes::applyTo(Properties& values) const {
  for (const auto& [key, value] : additions) {
    if (values.find(key) == nullptr) values.set(key, value);
  }
  for (const auto& [key, value] : changes) {
    if (value.isNull()) {
      values.erase(key);
    } else {
      values.set(key, value);
    }
  }
}

void SettingsFile::Changes::append(const Changes& later) {
  for (const auto& [key, value] : later.additions) additions.set(key, value);
  for (const auto& [key, value] : later.changes) changes.set(key, value);
}

SettingsFile::SettingsFile(std::string folder, std::string_view name, platform::Files& files,
                           base::SerialQueue& writer, const platform::Clock& clock,
                           platform::LogSink& log)
    : folder_(std::move(folder)),
      path_(folder_ + "/" + std::string(name) + ".json"),
      newPath_(path_ + ".new"),
      lockPath_(folder_ + "/" + std::string(name) + ".lock"),
      files_(files),
      clock_(clock),
      log_(log),
      writer_(writer),
      counter_(folder_ + "/" + std::string(name) + ".counter"),
      retryDelay_(kFirstRetry) {
  files_.createDirectories(folder_);
  base::MutexLock lock(mutex_);
  counter_.open();
  // A process that was killed could not settle what it had written.
  isUnsettled_ = files_.exists(newPath_);
  if (isUnsettled_) schedule(base::Duration::zero());
}

SettingsFile::~SettingsFile() {
  scope_.close();
  flush(std::chrono::milliseconds(100));
}

const Properties& SettingsFile::fresh() {
  // The count first: a change made after it is then seen the next time.
  const std::uint64_t count = counter_.value();
  if (seen_ == count) return values_;
  const base::Duration now = clock_.monotonic();
  if (failedRead_ && failedRead_->count == count && now < failedRead_->retryAt) return values_;
  // A file that can't be read just now must not look like settings that were never made.
  auto values = readFile();
  if (!values) {
    failedRead_ = {.count = count, .retryAt = now + kReadRetry};
    return values_;
  }
  failedRead_.reset();
  values_ = std::move(*values);
  merging_.applyTo(values_);
  pending_.applyTo(values_);
  seen_ = count;
  return values_;
}

std::optional<Properties> SettingsFile::readFile() {
  for (const std::string* path : {&newPath_, &path_}) {
    const auto text = files_.read(*path);
    if (!text) {
      if (files_.exists(*path)) return std::nullopt;
      continue;
    }
    if (auto values = parseSettings(*text)) return values;
    log_.debug("[Zarn] a file of settings is broken and counts as empty");
  }
  return Properties();
}

bool SettingsFile::mayHold(std::string_view key) {
  base::MutexLock lock(mutex_);
  if (fresh().find(key) != nullptr) return true;
  const bool isRemoved =
      pending_.changes.find(key) != nullptr || merging_.changes.find(key) != nullptr;
  return !seen_ && !isRemoved;
}

void SettingsFile::set(std::string_view key, Value value) {
  change(key, std::move(value), false);
}

void SettingsFile::setIfAbsent(std::string_view key, Value value) {
  change(key, std::move(value), true);
}

void SettingsFile::change(std::string_view key, Value value, bool onlyIfAbsent) {
  {
    base::MutexLock lock(mutex_);
    const Value* current = fresh().find(key);
    // While the file can't be read, nobody knows that it holds the value already.
    const bool isKnown = seen_ == counter_.value();
    const bool isSame = current != nullptr ? onlyIfAbsent || *current == value : value.isNull();
    if (isKnown && isSame) return;
    // What a change of ours has removed is absent already, whatever the file says.
    const bool isAddition = onlyIfAbsent && pending_.changes.find(key) == nullptr;
    Changes one;
    (isAddition ? one.additions : one.changes).set(key, std::move(value));
    one.applyTo(values_);
    pending_.append(one);
    if (!isFinished_) {
      if (!isScheduled_) schedule(base::Duration::zero());
      return;
    }
  }
  commit(kLateCommit);
}

void SettingsFile::schedule(base::Duration delay) {
  isScheduled_ = true;
  auto write = base::weakly(scope_, [this] { writeOnQueue(); });
  if (delay == base::Duration::zero()) {
    writer_.async(std::move(write));
  } else {
    retry_ = writer_.asyncAfter(delay, std::move(write));
  }
}

void SettingsFile::writeOnQueue() {
  Outcome outcome = merge();
  if (outcome == Outcome::done) outcome = settle();
  base::MutexLock lock(mutex_);
  isScheduled_ = false;
  if (outcome == Outcome::done) {
    retryDelay_ = kFirstRetry;
    if (!pending_.empty() || isUnsettled_) schedule(base::Duration::zero());
    return;
  }
  retryDelay_ = std::min(2 * retryDelay_, kLastRetry);
  if (retryDelay_ >= kReportedRetry) log_.debug("[Zarn] settings can't be written now");
  schedule(retryDelay_);
}

std::unique_ptr<platform::FileLock> SettingsFile::tryLock() {
  auto lock = files_.tryLock(lockPath_);
  if (lock || files_.exists(lockPath_)) return lock;
  files_.createDirectories(folder_);
  return files_.tryLock(lockPath_);
}

SettingsFile::Outcome SettingsFile::merge() {
  {
    base::MutexLock lock(mutex_);
    if (pending_.empty() && merging_.empty()) return Outcome::done;
  }
  const auto fileLock = tryLock();
  if (!fileLock) return files_.exists(lockPath_) ? Outcome::locked : Outcome::failed;
  Changes changes;
  {
    base::MutexLock lock(mutex_);
    if (pending_.empty()) return Outcome::done;
    merging_ = std::exchange(pending_, {});
    changes = merging_;
  }
  auto values = readFile();
  bool written = false;
  if (values) {
    changes.applyTo(*values);
    std::string text;
    base::JsonWriter(text).object(*values);
    written = files_.writeUnsynced(newPath_, text);
  }
  base::MutexLock lock(mutex_);
  merging_ = {};
  if (!written) {
    changes.append(pending_);
    pending_ = std::move(changes);
    return Outcome::failed;
  }
  values_ = std::move(*values);
  pending_.applyTo(values_);
  seen_ = counter_.increment();
  isUnsettled_ = true;
  return Outcome::done;
}

SettingsFile::Outcome SettingsFile::settle() {
  std::uint64_t count = 0;
  {
    base::MutexLock lock(mutex_);
    if (!std::exchange(isUnsettled_, false)) return Outcome::done;
    count = counter_.value();
  }
  const Outcome outcome = settleAt(count);
  if (outcome == Outcome::done) return outcome;
  base::MutexLock lock(mutex_);
  isUnsettled_ = true;
  return outcome;
}

SettingsFile::Outcome SettingsFile::settleAt(std::uint64_t count) {
  // Without the file lock, so that nobody's commit waits for the disk.
  if (!files_.sync(newPath_)) {
    return files_.exists(newPath_) ? Outcome::failed : Outcome::done;  // another process has
  }
  const auto fileLock = tryLock();
  if (!fileLock) return files_.exists(lockPath_) ? Outcome::locked : Outcome::failed;
  {
    // Whoever has merged since then settles what is there now.
    base::MutexLock lock(mutex_);
    if (counter_.value() != count) return Outcome::done;
  }
  // It may be of an earlier launch, cut short by a loss of power.
  const auto text = files_.read(newPath_);
  if (!text) return files_.exists(newPath_) ? Outcome::failed : Outcome::done;
  const bool isSettled =
      parseSettings(*text) ? files_.rename(newPath_, path_) : files_.remove(newPath_);
  return isSettled ? Outcome::done : Outcome::failed;
}

bool SettingsFile::repeatWhileLocked(base::Duration patience, Outcome (SettingsFile::*step)()) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (true) {
    const Outcome outcome = (this->*step)();
    if (outcome != Outcome::locked) return outcome == Outcome::done;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(kLockRetry);
  }
}

bool SettingsFile::commit(base::Duration patience) {
  return repeatWhileLocked(patience, &SettingsFile::merge);
}

bool SettingsFile::flush(base::Duration patience) {
  return commit(patience) && repeatWhileLocked(patience, &SettingsFile::settle);
}

void SettingsFile::finish(base::Duration patience) {
  {
    base::MutexLock lock(mutex_);
    isFinished_ = true;
  }
  flush(patience);
}

}  // namespace zarn::desktop
