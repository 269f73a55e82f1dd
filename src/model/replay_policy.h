// ReplayRemotePolicy: what of sessions may be recorded, resolved from the server's sub-record so
// that every value is there and within its bounds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zarn/value.h"

namespace zarn::model {

struct ReplayConfig;

/// The values here are those of absent keys. A NaN equals nothing, as always.
struct ReplayRemotePolicy {
  bool enabled = false;
  double sampleRate = 1;  // 0 to 1
  bool maskInputs = true;
  double maxDurationSec = 300;  // 10 to 3600
  bool captureOnCellular = false;
  bool frameCaptureEnabled = true;
  bool structuralEnabled = false;
  bool tileCaptureEnabled = false;
  bool ocrEnabled = false;
  double captureMinIntervalMs = 800;     // 0 to 10000
  double scrollEndMinIntervalSec = 0.5;  // 0 to 60
  bool scrollEndCaptureEnabled = false;
  double postTapSettleMs = 500;  // 100 to 5000
  double dirtyHeartbeatSec = 5;  // 1 to 60
  double heicQuality = 0.15;     // 0.05 to 0.5
  double captureScale = 0.85;    // 0.3 to 1
  bool pass2A11yEnabled = true;
  bool pass3LayerEnabled = true;
  bool pass4MirrorEnabled = true;
  bool windowEventInterceptorEnabled = true;
  bool frameUploadEnabled = true;
  bool buildHashDedupEnabled = false;
  int maxConcurrentCaptures = 3;                // 1 to 8
  std::vector<std::string> autoMaskCategories;  // of "image", "text", "web", "map", in this order

  friend bool operator==(const ReplayRemotePolicy&, const ReplayRemotePolicy&) = default;
};

/// Nothing without a sub-record, which is not the same as a policy that is not enabled. A value out
/// of its bounds is moved to the nearest bound; one that makes no sense gives the default.
std::optional<ReplayRemotePolicy> resolveReplayPolicy(const std::optional<ReplayConfig>& config);

/// Under the names of the fields.
Properties encodeReplayPolicy(const ReplayRemotePolicy& policy);
/// Nothing unless every field is there with its type.
std::optional<ReplayRemotePolicy> decodeReplayPolicy(const Value& json);

/// 16 lower-case digits, the same for equal policies; "none" without one, "invalid" for one with a
/// number that is not finite.
std::string replayPolicyFingerprint(const std::optional<ReplayRemotePolicy>& policy);

/// Whether something may be captured or kept under `stored`, which is enabled, that may not be
/// under `next`, which is enabled too. How often and how well things are captured does not count.
bool narrows(const ReplayRemotePolicy& next, const ReplayRemotePolicy& stored);

}  // namespace zarn::model
