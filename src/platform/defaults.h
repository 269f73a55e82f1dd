// Small settings that outlive the process and are shared by all processes of one app.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zarn/value.h"

namespace zarn::platform {

/// Any thread. Reading answers from memory and costs nanoseconds, but for the first time and the
/// first after another process's change, when it reads a small file; while that can't be read, the
/// values known before stay, and it is tried again at most once a second. A change is in memory,
/// and seen by every reader of this process, when the call returns, and soon after it is in the
/// file. A value of another kind than asked for counts as absent.
class Defaults {
 public:
  virtual ~Defaults() = default;
  virtual std::optional<bool> getBool(std::string_view key) = 0;
  virtual std::optional<double> getDouble(std::string_view key) = 0;
  virtual std::optional<std::string> getString(std::string_view key) = 0;
  /// Whether there is a value of any kind, or may be, since the values could not be read so far.
  virtual bool mayHold(std::string_view key) = 0;
  virtual void set(std::string_view key, bool value) = 0;
  virtual void set(std::string_view key, double value) = 0;
  virtual void set(std::string_view key, std::string_view value) = 0;
  void set(std::string_view key, const char* value) { set(key, std::string_view(value)); }
  virtual void remove(std::string_view key) = 0;
  /// Whether what was changed outlives this process from now on, however it ends; only the loss of
  /// power in the next moments may still undo it. Does not wait for the disk, and some tens of
  /// milliseconds at most for another process that writes. After false it is in memory, and is
  /// tried again soon.
  virtual bool commit() = 0;
};

}  // namespace zarn::platform
