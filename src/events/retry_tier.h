// How long to wait after a number of failures in a row.
#pragma once

#include <string_view>

namespace zarn::events {

/// From this many failures in a row the server counts as gone, and the library goes into recovery.
inline constexpr int kCooldownFailures = 30;

/// "healthy", "rapid", "slow" or "cooldown".
constexpr std::string_view retryTier(int consecutiveFailures) {
  if (consecutiveFailures <= 0) return "healthy";
  if (consecutiveFailures <= 10) return "rapid";
  return consecutiveFailures < kCooldownFailures ? "slow" : "cooldown";
}

/// Seconds before jitter.
constexpr double retryDelay(int consecutiveFailures) {
  constexpr double kFirst[] = {0, 5, 10, 20, 30};
  if (consecutiveFailures <= 0) return 0;
  if (consecutiveFailures < 5) return kFirst[consecutiveFailures];
  return consecutiveFailures < kCooldownFailures ? 60 : 1800;
}

}  // namespace zarn::events
