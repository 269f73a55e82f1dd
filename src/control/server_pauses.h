// The pauses that the server has ordered, counted: an answer that was asked for before the last one
// must not lift it.
#pragma once

#include "base/generation.h"

namespace zarn::control {

struct ServerPause;
using ServerPauses = base::Generation<ServerPause>;

}  // namespace zarn::control
