// QtClipboard: the app's clipboard, read on the thread of the user interface.
#pragma once

#include "platform/clipboard.h"

namespace zarn::base {
class Executor;
}

namespace zarn::qt {

/// After the loop's end it counts as empty. The system tells the user of no access.
class QtClipboard final : public platform::Clipboard {
 public:
  explicit QtClipboard(base::Executor& main) : main_(main) {}

  void detectProbableWebUrl(base::SerialQueue& queue, std::function<void(bool)> answer) override;
  void readText(base::SerialQueue& queue, std::function<void(std::string)> answer) override;

 private:
  base::Executor& main_;
};

}  // namespace zarn::qt
