#include "desktop/defaults.h"

#include <algorithm>
#include <thread>

#include "base/json.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/log.h"

namespace zarn::desktop {
namespace {

constexpr base::Duration kFirstRetry = std::chrono::milliseconds(20);
constexpr base::Duration kLastRetry = std::chrono::minutes(5);
constexpr base::Duration kLateWrite = std::chrono::milliseconds(20);
constexpr base::Duration kReportedRetry = std::chrono::seconds(1);
constexpr base::Duration kReadRetry = std::chrono::seconds(1);

/// Changes as values: a null takes the key away.
void apply(const Properties& changes, Properties& values) {
  for (const auto& [key, value] : changes) {
    if (value.isNull()) {
      values.erase(key);
    } else {
      values.set(key, value);
    }
  }
}

/// Later changes on top of earlier ones; a null stays.
Properties joined(Properties earlier, const Properties& later) {
  for (const auto& [key, value] : later) earlier.set(key, value);
  return earlier;
}

}  // namespace

FileDefaults::FileDefaults(std::string folder, platform::Files& files, base::SerialQueue& writer,
                           const platform::Clock& clock, platform::LogSink& log)
    : folder_(std::move(folder)),
      path_(folder_ + "/defaults.json"),
      files_(files),
      clock_(clock),
      log_(log),
      writer_(writer),
      counter_(folder_ + "/defaults.counter"),
      retryDelay_(kFirstRetry) {
  files_.createDirectories(folder_);
  base::MutexLock lock(mutex_);
  counter_.open();
}

FileDefaults::~FileDefaults() {
  scope_.close();
  flush(std::chrono::milliseconds(100));
}

std::optional<bool> FileDefaults::getBool(std::string_view key) {
  base::MutexLock lock(mutex_);
  const Value* value = fresh().find(key);
  return value ? value->asBool() : std::nullopt;
}

std::optional<double> FileDefaults::getDouble(std::string_view key) {
  base::MutexLock lock(mutex_);
  const Value* value = fresh().find(key);
  if (!value) return std::nullopt;
  if (const auto integer = value->asInt()) return static_cast<double>(*integer);
  return value->asDouble();
}

std::optional<std::string> FileDefaults::getString(std::string_view key) {
  base::MutexLock lock(mutex_);
  const Value* value = fresh().find(key);
  const auto text = value ? value->asString() : std::nullopt;
  if (!text) return std::nullopt;
  return std::string(*text);
}

void FileDefaults::set(std::string_view key, bool value) {
  change(key, value);
}

void FileDefaults::set(std::string_view key, double value) {
  change(key, value);
}

void FileDefaults::set(std::string_view key, std::string_view value) {
  change(key, value);
}

void FileDefaults::remove(std::string_view key) {
  change(key, nullptr);
}

const Properties& FileDefaults::fresh() {
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
  apply(writing_, values_);
  apply(changes_, values_);
  seen_ = count;
  return values_;
}

std::optional<Properties> FileDefaults::readFile() {
  const auto text = files_.read(path_);
  if (!text) {
    if (files_.exists(path_)) return std::nullopt;
    return Properties();
  }
  const auto parsed = base::parseJson(*text);
  const Properties* values = parsed ? parsed->asProperties() : nullptr;
  if (values) return *values;
  log_.debug("[Zarn] the defaults file is broken and counts as empty");
  return Properties();
}

void FileDefaults::change(std::string_view key, Value value) {
  {
    base::MutexLock lock(mutex_);
    fresh();
    changes_.set(key, value);
    Properties one;
    one.set(key, std::move(value));
    apply(one, values_);
    if (!finished_) {
      if (std::exchange(scheduled_, true)) return;
      writer_.async(base::weakly(scope_, [this] { writeOnQueue(); }));
      return;
    }
  }
  flush(kLateWrite);
}

void FileDefaults::writeOnQueue() {
  const Outcome outcome = writeNow();
  base::MutexLock lock(mutex_);
  scheduled_ = outcome != Outcome::done || !changes_.empty();
  if (!scheduled_) return;
  if (outcome == Outcome::done) {
    retryDelay_ = kFirstRetry;
  } else {
    retryDelay_ = std::min(2 * retryDelay_, kLastRetry);
    if (retryDelay_ >= kReportedRetry) log_.debug("[Zarn] the defaults can't be written now");
  }
  retry_ = writer_.asyncAfter(outcome == Outcome::done ? base::Duration::zero() : retryDelay_,
                              base::weakly(scope_, [this] { writeOnQueue(); }));
}

FileDefaults::Outcome FileDefaults::writeNow() {
  const std::string lockPath = folder_ + "/defaults.lock";
  files_.createDirectories(folder_);
  const auto fileLock = files_.tryLock(lockPath);
  if (!fileLock) return files_.exists(lockPath) ? Outcome::locked : Outcome::failed;

  Properties changes;
  {
    base::MutexLock lock(mutex_);
    if (changes_.empty()) return Outcome::done;
    writing_ = std::exchange(changes_, {});
    changes = writing_;
  }
  auto values = readFile();
  bool written = false;
  if (values) {
    apply(changes, *values);
    std::string text;
    base::JsonWriter(text).object(*values);
    written = files_.writeAtomically(path_, text);
  }
  base::MutexLock lock(mutex_);
  const Properties attempted = std::exchange(writing_, {});
  if (!written) {
    changes_ = joined(attempted, changes_);
    return Outcome::failed;
  }
  values_ = std::move(*values);
  apply(changes_, values_);
  seen_ = counter_.increment();
  return Outcome::done;
}

bool FileDefaults::flush(base::Duration patience) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (true) {
    {
      base::MutexLock lock(mutex_);
      if (changes_.empty() && writing_.empty()) return true;
    }
    const Outcome outcome = writeNow();
    if (outcome == Outcome::failed) return false;
    if (outcome == Outcome::done) continue;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

void FileDefaults::finish(base::Duration patience) {
  {
    base::MutexLock lock(mutex_);
    finished_ = true;
  }
  flush(patience);
}

}  // namespace zarn::desktop
