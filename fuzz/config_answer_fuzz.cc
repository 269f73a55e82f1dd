// The server's policy: whatever it holds, what was read of it can be kept and read again, and what
// it says of replay is within its bounds.
#include <cstdlib>
#include <string>

#include "base/json.h"
#include "model/remote_config.h"
#include "model/replay_policy.h"

namespace {

bool isBounded(const zarn::model::ReplayRemotePolicy& policy) {
  const auto within = [](double value, double least, double most) {
    return value >= least && value <= most;
  };
  return within(policy.sampleRate, 0, 1) && within(policy.maxDurationSec, 10, 3600) &&
         within(policy.captureMinIntervalMs, 0, 10000) &&
         within(policy.scrollEndMinIntervalSec, 0, 60) &&
         within(policy.postTapSettleMs, 100, 5000) && within(policy.dirtyHeartbeatSec, 1, 60) &&
         within(policy.heicQuality, 0.05, 0.5) && within(policy.captureScale, 0.3, 1) &&
         within(policy.maxConcurrentCaptures, 1, 8) && policy.autoMaskCategories.size() <= 4;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  using namespace zarn;
  const auto json = base::parseJson({reinterpret_cast<const char*>(data), size});
  const auto response = json ? model::decodeConfigResponse(*json) : std::nullopt;
  if (!response) return 0;
  const std::string kept = model::encodeConfigResponse(*response);
  const auto again = model::decodeConfigResponse(base::parseJson(kept).value());
  if (!again || model::encodeConfigResponse(*again) != kept) std::abort();
  const auto policy = model::resolveReplayPolicy(response->dataCollection.replay);
  if (!policy) return 0;
  if (!isBounded(*policy)) std::abort();
  const auto decoded = model::decodeReplayPolicy(model::encodeReplayPolicy(*policy));
  if (decoded != policy) std::abort();
  return 0;
}
