#include "identity/sampler.h"

#include <algorithm>
#include <cmath>

#include "base/jitter.h"
#include "platform/defaults.h"
#include "platform/random.h"

namespace zarn::identity {
namespace {

constexpr const char* kVerdictKey = "zarn.replay.verdict";
constexpr const char* kRateKey = "zarn.replay.rolledAtRate";

}  // namespace

bool Sampler::verdict(double rate) {
  if (std::isnan(rate)) return false;
  rate = std::clamp(rate, 0.0, 1.0);
  base::MutexLock lock(lock_);
  if (const auto stored = defaults_.getBool(kVerdictKey)) {
    if (*stored || rate <= defaults_.getDouble(kRateKey).value_or(0)) return *stored;
  }
  const bool isIn = rate > base::unitInterval(random_.next());
  defaults_.set(kVerdictKey, isIn);
  defaults_.set(kRateKey, rate);
  return isIn;
}

}  // namespace zarn::identity
