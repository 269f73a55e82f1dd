// Log lines: where they go, and the rule which of them print.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace zarn::platform {

/// Any thread; never fails; does not wait: a line that can't be taken at once is lost.
class LogSink {
 public:
  virtual ~LogSink() = default;
  /// One line, without the line break; seen by every host.
  virtual void write(std::string_view line) = 0;
  /// One line of a backend's own, for hosts that have asked for debug lines. A sink may keep lines
  /// until it is told.
  virtual void debug(std::string_view) {}
  /// Whether the host has asked for them; told once it is known. The last call counts.
  virtual void setDebug(bool) {}
};

/// Cheap to copy. A line costs nothing unless it prints.
///
///   log_.debug({"[Zarn] Queue restored: dropped ", std::to_string(count), " overflow events"});
class Log {
 public:
  Log(LogSink& sink, bool debug) : sink_(&sink), debug_(debug) {}

  bool prints() const { return debug_; }
  /// Prints only when the host has asked for debug lines.
  void debug(std::initializer_list<std::string_view> parts) const {
    if (debug_) always(parts);
  }
  void always(std::initializer_list<std::string_view> parts) const {
    std::string line;
    for (const auto part : parts) line += part;
    sink_->write(line);
  }

 private:
  LogSink* sink_;
  bool debug_;
};

}  // namespace zarn::platform
