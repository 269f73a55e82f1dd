// The variables that this process was started with.
#pragma once

#include "platform/environment.h"

namespace zarn::desktop {

class ProcessEnvironment final : public platform::Environment {
 public:
  std::optional<std::string> variable(const char* name) override;
};

}  // namespace zarn::desktop
