// The JSON fields of a replay policy, for whatever record holds one.
#pragma once

#include "model/json_fields.h"
#include "model/replay_policy.h"

namespace zarn::model {

template <>
inline constexpr auto kFields<ReplayRemotePolicy> = fields(
    Field{"enabled", &ReplayRemotePolicy::enabled},
    Field{"sampleRate", &ReplayRemotePolicy::sampleRate},
    Field{"maskInputs", &ReplayRemotePolicy::maskInputs},
    Field{"maxDurationSec", &ReplayRemotePolicy::maxDurationSec},
    Field{"captureOnCellular", &ReplayRemotePolicy::captureOnCellular},
    Field{"frameCaptureEnabled", &ReplayRemotePolicy::frameCaptureEnabled},
    Field{"structuralEnabled", &ReplayRemotePolicy::structuralEnabled},
    Field{"tileCaptureEnabled", &ReplayRemotePolicy::tileCaptureEnabled},
    Field{"ocrEnabled", &ReplayRemotePolicy::ocrEnabled},
    Field{"captureMinIntervalMs", &ReplayRemotePolicy::captureMinIntervalMs},
    Field{"scrollEndMinIntervalSec", &ReplayRemotePolicy::scrollEndMinIntervalSec},
    Field{"scrollEndCaptureEnabled", &ReplayRemotePolicy::scrollEndCaptureEnabled},
    Field{"postTapSettleMs", &ReplayRemotePolicy::postTapSettleMs},
    Field{"dirtyHeartbeatSec", &ReplayRemotePolicy::dirtyHeartbeatSec},
    Field{"heicQuality", &ReplayRemotePolicy::heicQuality},
    Field{"captureScale", &ReplayRemotePolicy::captureScale},
    Field{"pass2A11yEnabled", &ReplayRemotePolicy::pass2A11yEnabled},
    Field{"pass3LayerEnabled", &ReplayRemotePolicy::pass3LayerEnabled},
    Field{"pass4MirrorEnabled", &ReplayRemotePolicy::pass4MirrorEnabled},
    Field{"windowEventInterceptorEnabled", &ReplayRemotePolicy::windowEventInterceptorEnabled},
    Field{"frameUploadEnabled", &ReplayRemotePolicy::frameUploadEnabled},
    Field{"buildHashDedupEnabled", &ReplayRemotePolicy::buildHashDedupEnabled},
    Field{"maxConcurrentCaptures", &ReplayRemotePolicy::maxConcurrentCaptures},
    Field{"autoMaskCategories", &ReplayRemotePolicy::autoMaskCategories});

}  // namespace zarn::model
