// The system's clipboard, as far as the first launch may look at it.
#pragma once

#include <functional>
#include <string>

#include "base/serial_queue.h"

namespace zarn::platform {

/// Any thread. Answers come on `queue`, never inside the call; not at all when the queue is gone.
class Clipboard {
 public:
  virtual ~Clipboard() = default;
  /// Whether the clipboard probably holds a web address, found out without reading it: no user is
  /// told of an access. May take long, or never answer.
  virtual void detectProbableWebUrl(base::SerialQueue& queue, std::function<void(bool)> answer) = 0;
  /// Its text, empty when there is none.
  virtual void readText(base::SerialQueue& queue, std::function<void(std::string)> answer) = 0;
};

}  // namespace zarn::platform
