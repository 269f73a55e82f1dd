// Small complete fakes of the platform's services, for tests and for whole clients in tests.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/mutex.h"
#include "platform/crypto.h"
#include "platform/defaults.h"
#include "platform/device.h"
#include "platform/environment.h"
#include "platform/life_events.h"
#include "platform/log.h"
#include "platform/path_monitor.h"
#include "platform/random.h"
#include "platform/secure_store.h"

namespace zarn::testing {

/// A series that repeats from test to test. `next` gives the middle of the range unless it was told
/// otherwise, so that jitter is none.
class FakeRandom final : public platform::Random {
 public:
  /// Called once, before the next bytes are given: a place to let something come in between.
  std::function<void()> beforeFill;

  void fill(std::span<std::uint8_t> bytes) override {
    if (auto hook = std::exchange(beforeFill, nullptr)) hook();
    base::MutexLock lock(mutex_);
    for (auto& byte : bytes) {
      state_ = state_ * 6364136223846793005u + 1442695040888963407u;
      byte = static_cast<std::uint8_t>(state_ >> 56);
    }
  }
  std::uint64_t next() override { return nextNumber; }
  std::uint64_t nextNumber = std::uint64_t{1} << 63;

 private:
  base::Mutex mutex_{base::LockRank::leaf};
  std::uint64_t state_ ZARN_GUARDED_BY(mutex_) = 1;
};

class FakeDefaults final : public platform::Defaults {
  using Stored = std::variant<bool, double, std::string>;

 public:
  /// Called once, after the next Boolean has been read.
  std::function<void()> afterRead;

  std::optional<bool> getBool(std::string_view key) override {
    const auto value = get<bool>(key);
    if (auto hook = std::exchange(afterRead, nullptr)) hook();
    return value;
  }
  std::optional<double> getDouble(std::string_view key) override { return get<double>(key); }
  std::optional<std::string> getString(std::string_view key) override {
    return get<std::string>(key);
  }
  bool mayHold(std::string_view key) override {
    base::MutexLock lock(mutex_);
    return values_.find(std::string(key)) != values_.end();
  }
  using Defaults::set;
  void set(std::string_view key, bool value) override { put(key, value); }
  void set(std::string_view key, double value) override { put(key, value); }
  void set(std::string_view key, std::string_view value) override { put(key, std::string(value)); }
  void remove(std::string_view key) override {
    base::MutexLock lock(mutex_);
    values_.erase(std::string(key));
  }
  bool commit() override {
    base::MutexLock lock(mutex_);
    if (failCommits_) return false;
    committed_ = values_;
    return true;
  }

  void failCommits(bool fail) {
    base::MutexLock lock(mutex_);
    failCommits_ = fail;
  }
  /// Makes `other` what the next launch finds when this process is killed now: what no commit has
  /// saved is not there.
  void leaveTo(FakeDefaults& other) const {
    std::map<std::string, Stored> left;
    {
      base::MutexLock lock(mutex_);
      left = committed_;
    }
    base::MutexLock lock(other.mutex_);
    other.values_ = other.committed_ = std::move(left);
  }
  std::size_t size() const {
    base::MutexLock lock(mutex_);
    return values_.size();
  }

 private:
  template <typename T>
  std::optional<T> get(std::string_view key) {
    base::MutexLock lock(mutex_);
    const auto found = values_.find(std::string(key));
    if (found == values_.end()) return std::nullopt;
    const T* value = std::get_if<T>(&found->second);
    return value != nullptr ? std::optional<T>(*value) : std::nullopt;
  }
  void put(std::string_view key, Stored value) {
    base::MutexLock lock(mutex_);
    values_[std::string(key)] = std::move(value);
  }
  mutable base::Mutex mutex_{base::LockRank::leaf};  // as the real one
  std::map<std::string, Stored> values_ ZARN_GUARDED_BY(mutex_);
  std::map<std::string, Stored> committed_ ZARN_GUARDED_BY(mutex_);
  bool failCommits_ ZARN_GUARDED_BY(mutex_) = false;
};

class FakeSecureStore final : public platform::SecureStore {
 public:
  /// Called once, before the next secret is read.
  std::function<void()> beforeRead;

  std::optional<std::string> read(std::string_view account) override {
    if (auto hook = std::exchange(beforeRead, nullptr)) hook();
    base::MutexLock lock(mutex_);
    const auto found = values_.find(std::string(account));
    if (found == values_.end() || found->second.empty()) return std::nullopt;
    return found->second;
  }
  void write(std::string_view account, std::string_view value) override {
    base::MutexLock lock(mutex_);
    if (!failWrites_) values_[std::string(account)] = value;
  }
  std::string readOrWrite(std::string_view account, std::string_view value) override {
    base::MutexLock lock(mutex_);
    if (failWrites_) return std::string(value);
    return values_.emplace(account, value).first->second;
  }
  void failWrites(bool fail) {
    base::MutexLock lock(mutex_);
    failWrites_ = fail;
  }
  /// As for the defaults; here every write lasts.
  void leaveTo(FakeSecureStore& other) {
    std::map<std::string, std::string> left;
    {
      base::MutexLock lock(mutex_);
      left = values_;
    }
    base::MutexLock lock(other.mutex_);
    other.values_ = std::move(left);
  }

 private:
  base::Mutex mutex_{base::LockRank::dispatch};
  std::map<std::string, std::string> values_ ZARN_GUARDED_BY(mutex_);
  bool failWrites_ ZARN_GUARDED_BY(mutex_) = false;
};

class FakeLog final : public platform::LogSink {
 public:
  void write(std::string_view line) override {
    base::MutexLock lock(mutex_);
    lines_.emplace_back(line);
  }
  void setDebug(bool isOn) override {
    base::MutexLock lock(mutex_);
    debug_ = isOn;
  }
  /// What the client has told; nothing before it.
  std::optional<bool> debugAsTold() const {
    base::MutexLock lock(mutex_);
    return debug_;
  }
  int count(std::string_view line) const {
    base::MutexLock lock(mutex_);
    return static_cast<int>(std::count(lines_.begin(), lines_.end(), line));
  }
  std::vector<std::string> lines() const {
    base::MutexLock lock(mutex_);
    return lines_;
  }

 private:
  mutable base::Mutex mutex_{base::LockRank::dispatch};
  std::vector<std::string> lines_ ZARN_GUARDED_BY(mutex_);
  std::optional<bool> debug_ ZARN_GUARDED_BY(mutex_);
};

class FakeEnvironment final : public platform::Environment {
 public:
  std::optional<std::string> variable(const char* name) override {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  }
  std::map<std::string, std::string> variables;
};

class FakeDevice final : public platform::Device {
 public:
  const platform::DeviceFacts& device() override { return deviceFacts; }
  const platform::AppFacts& app() override { return appFacts; }
  platform::LocaleFacts locale() override { return localeFacts; }
  platform::Battery battery() override {
    ++batteryReads;
    return batteryState;
  }
  platform::Orientation orientation() override { return orientationState; }
  platform::Storage storage() override { return storageState; }
  std::optional<std::uint64_t> freeMemory() override { return freeBytes; }
  std::optional<std::string> thermalState() override { return thermalWord; }
  std::optional<bool> inForeground() override { return isInForeground; }
  platform::DeviceFacts deviceFacts{.machine = "x86_64",
                                    .osName = "Linux",
                                    .osVersion = "6.1",
                                    .screenWidth = 1280,
                                    .screenHeight = 800};
  platform::AppFacts appFacts{
      .bundleId = "com.example.shop", .name = "Shop", .version = "2.4.1", .build = "241"};
  platform::LocaleFacts localeFacts{.locale = "en_GB",
                                    .timezone = "Europe/Oslo",
                                    .languages = {"en-GB"},
                                    .calendar = "gregorian",
                                    .region = "GB",
                                    .uses24hFormat = true};
  platform::Battery batteryState;
  platform::Orientation orientationState = platform::Orientation::unknown;
  platform::Storage storageState;
  std::optional<std::uint64_t> freeBytes;
  std::optional<std::string> thermalWord;
  std::optional<bool> isInForeground;
  std::atomic<int> batteryReads = 0;
};

/// Reports a path when the test says so.
class FakePathMonitor final : public platform::PathMonitor {
 public:
  void start(base::SerialQueue& queue,
             std::function<void(platform::NetworkPath)> changed) override {
    queue_ = queue.poster();
    changed_ = std::move(changed);
  }
  void stop() override { queue_.reset(); }
  void report(platform::NetworkPath path) {
    if (queue_) queue_->async([changed = changed_, path] { changed(path); });
  }

 private:
  std::optional<base::SerialQueue::Poster> queue_;
  std::function<void(platform::NetworkPath)> changed_;
};

/// Tells an event when the test says so, on the test's thread.
class FakeLifeEvents final : public platform::LifeEvents {
 public:
  void start(std::function<void(platform::LifeEvent)> happened) override {
    happened_ = std::move(happened);
  }
  void stop() override { happened_ = nullptr; }
  void tell(platform::LifeEvent event) {
    if (happened_) happened_(event);
  }

 private:
  std::function<void(platform::LifeEvent)> happened_;
};

class FakeCrypto final : public platform::Crypto {
 public:
  platform::Sha256Digest sha256(std::string_view bytes) override {
    platform::Sha256Digest digest{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
      digest[i % 32] ^= static_cast<std::uint8_t>(bytes[i]);
    return digest;
  }
};

}  // namespace zarn::testing
