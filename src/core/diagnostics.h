// What Zarn::diagnostics answers.
#pragma once

#include "zarn/diagnostics.h"

namespace zarn::core {

struct Pipeline;

/// Reads each part under its own lock, one at a time; no side effects.
ZarnDiagnostics diagnosticsOf(const Pipeline& pipeline);

}  // namespace zarn::core
