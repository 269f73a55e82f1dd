// Which screen is seen, of those that a container holds.
#pragma once

#include "platform/screen.h"

namespace zarn::capture {

/// Follows what is topmost, selected or presented down to the last screen: `screen` itself when
/// nothing lies in or over it, no screen when it is none. Main thread.
platform::Screen visibleLeaf(const platform::Screen& screen);

}  // namespace zarn::capture
