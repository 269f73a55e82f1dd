// DeferredClipboardMatcher: looks once, on the first launch, for a click token that a web page has
// left on the clipboard. It reads the clipboard only when that probably holds a web address, since
// users are told of every reading.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "base/work_item.h"
#include "platform/log.h"

namespace zarn::platform {
class Clipboard;
class Clock;
class Defaults;
}  // namespace zarn::platform

namespace zarn::links {

/// All must be open.
struct ClipboardGates {
  bool customerEnabled = false;
  bool serverEnabled = false;
  bool isFirstRun = false;
  bool trackingEnabled = false;
  bool areOpen() const { return customerEnabled && serverEnabled && isFirstRun && trackingEnabled; }
};

/// Any thread.
class DeferredClipboardMatcher {
 public:
  enum class Outcome : std::uint8_t {
    notAttempted,
    noProbableWebURL,
    readNonZarnToken,
    readZarnToken,
    alreadyDone,
  };
  /// The whole text of the clipboard. On the matcher's queue.
  using Found = std::function<void(const std::string& token)>;

  static constexpr const char* kReadDoneKey = "zarn_clipboard_read_done";
  static constexpr double kDetectionTimeout = 1.0;  // seconds

  DeferredClipboardMatcher(base::Executor& pool, platform::Clipboard& clipboard,
                           platform::Defaults& defaults, const platform::Clock& clock,
                           std::function<bool()> isOptedOut, platform::Log log);

  /// Returns at once; `found` runs at most once. To be called once.
  void check(const ClipboardGates& gates, Found found);
  Outcome lastOutcome() const;

 private:
  void begin(const ClipboardGates& gates) ZARN_REQUIRES(queue_);
  void detected(bool probableUrl) ZARN_REQUIRES(queue_);
  void read(const std::string& text) ZARN_REQUIRES(queue_);
  /// `why` is the line for the debug log, if there is one.
  void end(Outcome outcome, const char* why = nullptr);

  // Constant after construction.
  platform::Clipboard& clipboard_;
  platform::Defaults& defaults_;
  const platform::Clock& clock_;
  const std::function<bool()> isOptedOut_;
  const platform::Log log_;

  mutable base::Mutex lock_{base::LockRank::leaf};
  Outcome lastOutcome_ ZARN_GUARDED_BY(lock_) = Outcome::notAttempted;

  base::SerialQueue queue_;
  Found found_ ZARN_GUARDED_BY(queue_);
  bool isDetecting_ ZARN_GUARDED_BY(queue_) = false;
  base::WorkItem timeout_ ZARN_GUARDED_BY(queue_);
  base::Scope scope_;
};

}  // namespace zarn::links
