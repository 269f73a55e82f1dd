// Sampler: the lasting yes or no whether this installation is in the sample of session replays.
#pragma once

#include <atomic>

#include "base/mutex.h"

namespace zarn::platform {
class Defaults;
class Random;
}  // namespace zarn::platform

namespace zarn::identity {

/// Any thread.
class Sampler {
 public:
  Sampler(platform::Defaults& defaults, platform::Random& random)
      : defaults_(defaults), random_(random) {}

  /// While this is true and there is a session id, the id itself decides and not the verdict.
  std::atomic<bool> useSessionDeterministic = true;

  /// `rate` is 0 to 1; beyond counts as the nearer end, and what is no number as no. A yes stays; a
  /// no gets another chance when the rate is above the one it fell at.
  bool verdict(double rate);

 private:
  platform::Defaults& defaults_;
  platform::Random& random_;
  base::Mutex lock_{base::LockRank::sampler};  // one roll at a time
};

}  // namespace zarn::identity
