// The properties of events about screens and taps, as they go on the wire.
#pragma once

#include <vector>

#include "capture/screen_seen.h"
#include "zarn/value.h"

namespace zarn::capture {

struct ScreenVisit;
struct Tap;
struct Transition;

/// A screen has come into sight.
Properties appearanceProperties(const ScreenSeen& screen,
                                const std::vector<model::NameCandidate>& candidates);
Properties tabSwitchProperties(const std::string& className);
Properties stateChangeProperties(const ScreenSeen& screen);
/// `properties`: the host's own.
Properties manualScreenProperties(const Properties& properties);

Properties visitProperties(const ScreenVisit& visit);
Properties transitionProperties(const Transition& transition, Date now);
Properties tapProperties(const Tap& tap);

}  // namespace zarn::capture
