// What a turn on an idle serial queue costs.
#pragma once

namespace zarn::bench {

/// A sync on an idle queue against a bare mutex locked and unlocked; the median of many rounds that
/// measure one right after the other.
double syncIdleOverMutex();

}  // namespace zarn::bench
