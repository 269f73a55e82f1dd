// A screen as events tell of it.
#pragma once

#include <string>

#include "model/screen.h"

namespace zarn::capture {

struct ScreenSeen {
  std::string name;       // free of personal data
  std::string className;  // "manual" where the host has named the screen
  model::ScreenObservation observation;
};

}  // namespace zarn::capture
