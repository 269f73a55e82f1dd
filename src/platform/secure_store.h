// A few short secrets that outlive the app's other data where the platform can do that.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zarn::platform {

/// Any thread. Accounts are names such as "zarn_anonymous_id". An empty secret is none. Failures
/// are silent: a read that fails gives nothing, a write that fails is tried again while the process
/// lives, which sees what it wrote.
class SecureStore {
 public:
  virtual ~SecureStore() = default;
  virtual std::optional<std::string> read(std::string_view account) = 0;
  /// Outlives this process, however it ends, once the call returns; the loss of power only soon
  /// after. Never waits for the disk.
  virtual void write(std::string_view account, std::string_view value) = 0;
  /// What is stored; when there is nothing, `value`, which is then stored as by `write`. Processes
  /// that do so at the same time get the same answer.
  virtual std::string readOrWrite(std::string_view account, std::string_view value) = 0;
};

}  // namespace zarn::platform
