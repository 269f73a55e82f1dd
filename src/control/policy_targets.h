// What a received policy acts on, as closures: the control room knows no producer. An empty one has
// nothing to act on yet. They run with the epoch's lock held: they may change state and post, but
// neither wait nor call a host.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/remote_config.h"

namespace zarn::control {

struct NetworkDiagnostics {
  double maxEventsPerMin = 60;
  std::vector<std::string> hostAllowlist;
};

struct NetworkTargets {
  std::function<void(bool)> setProxyCapture;
  std::function<void(bool)> setSwizzleCapture;
  std::function<void()> installReplacement;
  std::function<bool()> proxyInUse;
  /// By force: also where no request can come yet.
  std::function<void(bool force)> ensureAggregator;
  std::function<void()> stopAggregator;
  std::function<void()> disableDiagnostics;
  std::function<void(const NetworkDiagnostics&)> enableDiagnostics;
};

/// How much of a push message may leave the device.
enum class PushContentMode : std::uint8_t { hashOnly, preview, full };
std::string_view name(PushContentMode mode);

struct PushLimits {
  PushContentMode mode = PushContentMode::hashOnly;
  std::optional<std::int64_t> titlePreviewChars;  // absent: as before; above 0
  std::optional<std::int64_t> bodyPreviewChars;
};

struct PushTargets {
  std::function<void()> clearAttribution;
  /// Empty while pushes are not tracked.
  std::function<void(const PushLimits&)> setLimits;
};

struct PolicyTargets {
  /// Makes the record the one that every gate reads.
  std::function<void(std::shared_ptr<const model::RemoteDataCollectionConfig>)> publish;
  /// Gathers the enriched context again, so that the new gates act on it.
  std::function<void()> collectContext;
  NetworkTargets network;
  PushTargets push;
  std::function<void(const std::optional<model::ScreenshotsConfig>&)> setScreenshots;
};

}  // namespace zarn::control
