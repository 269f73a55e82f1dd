// What the library is doing and why nothing arrives: for a support screen or a log.
#pragma once

#include <optional>
#include <string>

#include "zarn/export.h"

ZARN_NAMESPACE_BEGIN

struct QueueHealth {
  int bufferedEventCount = 0;
  int bufferCap = 0;
  int consecutiveFailures = 0;
  bool isFlushing = false;
  std::string retryTier = "healthy";  // "healthy", "rapid", "slow", "cooldown"
};

/// A snapshot; each part is consistent in itself.
struct ZarnDiagnostics {
  bool initialised = false;
  bool paused = false;      // by the server
  std::string environment;  // empty before configure
  std::string apiHost;      // empty before configure
  QueueHealth queue;
  bool internalDevForced = false;
  bool replaySupported = false;
  std::optional<bool> replayEnabledByProject;  // absent until the server has been heard
  bool replayRecording = false;
  std::optional<double> replaySampleRatePercent;  // 0 to 100; absent until a policy is in force
  std::optional<double> replayMaxDurationSec;
  bool replayCaptureOnCellular = false;
  /// "opted_out", "awaiting_project_config", "unsupported_runtime", "disabled_by_project",
  /// "paused_by_server", "awaiting_release", "recording", "duration_capped", "sampled_out" or
  /// "awaiting_start".
  std::string replayStatus = "awaiting_project_config";
  bool deepLinkAutoOpen = false;
  bool clipboardMatchEnabled = false;
  std::optional<std::string> lastDeepLinkSource;
  std::string installValidationStatus = "not_run";

  /// One JSON object; the keys are the names of the fields, absent values are left out.
  ZARN_API std::string toJson() const;
};

ZARN_NAMESPACE_END
