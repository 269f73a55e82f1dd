// Where log lines go.
#pragma once

#include <string_view>

namespace zarn::platform {

/// Any thread; never fails; does not wait.
class LogSink {
 public:
  virtual ~LogSink() = default;
  /// One line, without the line break.
  virtual void write(std::string_view line) = 0;
};

}  // namespace zarn::platform
