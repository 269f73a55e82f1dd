// Log lines on a descriptor, standard error in a running app. A line that can't be taken at once is
// dropped, and a later one tells how many: a log must not hold up the host.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "platform/log.h"

namespace zarn::desktop {

class DescriptorLog final : public platform::LogSink {
 public:
  /// What is kept of the debug lines that come before setDebug.
  static constexpr std::size_t kEarlyLines = 8;

  explicit DescriptorLog(int fd) : fd_(fd) {}
  /// Cut where a pipe would no longer take it in one piece; control characters become spaces.
  void write(std::string_view line) override;
  void debug(std::string_view line) override;
  void setDebug(bool isOn) override;

 private:
  enum class Debug { unknown, off, on };

  bool writeNow(std::string_view line);

  const int fd_;
  std::atomic_flag writing_;  // whoever finds it set drops its line
  std::atomic<unsigned> dropped_ = 0;
  std::atomic<Debug> debug_ = Debug::unknown;

  base::Mutex mutex_{base::LockRank::dispatch};  // others log under locks of their own
  std::vector<std::string> early_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::desktop
