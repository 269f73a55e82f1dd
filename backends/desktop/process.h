// The end of the process: threads of ours must be gone before OpenSSL and others take their state
// away, or one exit in three crashes.
//
//   onProcessExit([http](base::Duration left) { http->stop(left); });
#pragma once

#include "base/closure.h"
#include "base/executor.h"

namespace zarn::desktop {

/// What all exit functions together may take.
inline constexpr base::Duration kExitBudget = base::seconds(0.2);

/// Runs `stop` when the process returns from main or calls exit, on the thread that exits, newest
/// first, before the handlers of OpenSSL. It should wake and end its threads and must return within
/// `left`, which keeps something for the functions behind it. The calling thread may be one of
/// ours. Destructors of the host's statics may still use the library afterwards, so `stop` must
/// leave everything in a state that can be called. Not run in a forked child, nor on _exit,
/// quick_exit or a signal.
void onProcessExit(base::UniqueFunction<void(base::Duration left)> stop);

}  // namespace zarn::desktop
