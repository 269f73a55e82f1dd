// The process environment.
#pragma once

#include <optional>
#include <string>

namespace zarn::platform {

class Environment {
 public:
  virtual ~Environment() = default;
  virtual std::optional<std::string> variable(const char* name) = 0;
};

}  // namespace zarn::platform
