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

/// What a screen without a name of its own is called.
inline std::string fallbackName(const model::ScreenObservation& observation) {
  return "Screen_" + model::screenFingerprint(observation.structureHash);
}

}  // namespace zarn::capture
