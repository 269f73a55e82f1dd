// Log lines on a descriptor, standard error in a running app. A line that can't be taken at once is
// dropped: a log must not hold up the host.
#pragma once

#include "platform/log.h"

namespace zarn::desktop {

class DescriptorLog final : public platform::LogSink {
 public:
  explicit DescriptorLog(int fd) : fd_(fd) {}
  /// Cut where a pipe would no longer take it in one piece; control characters become spaces.
  void write(std::string_view line) override;

 private:
  const int fd_;
};

}  // namespace zarn::desktop
