#include "desktop/environment.h"

#include <cstdlib>

namespace zarn::desktop {

std::optional<std::string> ProcessEnvironment::variable(const char* name) {
  const char* value = std::getenv(name);
  if (!value) return std::nullopt;
  return value;
}

}  // namespace zarn::desktop
