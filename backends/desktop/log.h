// Log lines on a descriptor, standard error in a running app. A line that the descriptor can't take
// at once is dropped, and a later one tells how many: a log must not hold up the host.
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
  /// What a thread that writes takes over from others before it is done: it may have been put to
  /// sleep in the midst of its line, and is not to write for others without end.
  static constexpr std::size_t kLinesOfOthers = 256;

  explicit DescriptorLog(int fd) : fd_(fd) {}
  /// Cut where a pipe would no longer take it in one piece; control characters become spaces.
  void write(std::string_view line) override;
  void debug(std::string_view line) override;
  void setDebug(bool isOn) override;

 private:
  enum class Debug { unknown, off, on };

  /// False when another thread writes; the line is then left to it.
  bool begins(std::string_view line);
  /// What others have left meanwhile; ends the turn when there is nothing.
  std::vector<std::string> takeLinesOfOthers();
  void writeOrDrop(std::string_view line);
  bool writeNow(std::string_view line);

  const int fd_;
  std::atomic<unsigned> dropped_ = 0;
  std::atomic<Debug> debug_ = Debug::unknown;

  base::Mutex mutex_{base::LockRank::dispatch};  // others log under locks of their own
  bool isWriting_ ZARN_GUARDED_BY(mutex_) = false;
  std::vector<std::string> ofOthers_ ZARN_GUARDED_BY(mutex_);
  std::size_t takenOver_ ZARN_GUARDED_BY(mutex_) = 0;  // by the thread that writes
  std::vector<std::string> early_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::desktop
