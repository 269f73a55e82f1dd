// Which opt-outs, resets and pauses had come when something began. What is gathered over a while
// keeps this from its beginning: what began before a boundary is never told after it.
#pragma once

#include "base/generation.h"
#include "control/server_pauses.h"

namespace zarn::events {
class EventQueue;
}

namespace zarn::capture {

struct Boundaries {
  base::Generation<events::EventQueue>::Token discards;
  control::ServerPauses::Token pauses;
  friend bool operator==(const Boundaries&, const Boundaries&) = default;
};

}  // namespace zarn::capture
