// Conversion values: what an event is worth, that the value only rises, and that the window in
// which it may rise ends once and for all.
//
//   window                       update(fine, lockWindow)
//   open, fine below the stored  false: nothing. true: stored, and closed
//   open, otherwise              stored; with lockWindow also closed
//   closed                       refused
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "base/weakly.h"
#include "zarn/skan.h"

namespace zarn::platform {
class AdNetwork;
class Clock;
class Defaults;
}  // namespace zarn::platform

namespace zarn::links {

/// 0 to 63.
int fineValue(const ZarnSKAN::CvSchema& schema, std::optional<double> revenue);

/// Any thread.
class Skan {
 public:
  static constexpr const char* kCurrentFineKey = "zarn_skan_current_fine";
  static constexpr const char* kWindowClosedKey = "zarn_skan_window_closed";
  using DebugLine = std::function<void(std::string_view line)>;

  /// `expectedEndpoint`: where the reports of the ad network are to go.
  Skan(platform::Defaults& defaults, platform::AdNetwork& adNetwork, const platform::Clock& clock,
       std::string expectedEndpoint, bool internalDevForced, DebugLine debugLine);

  // As those of ZarnSKAN.
  void acceptSchema(const ZarnSKAN::CvSchema& schema);
  bool updateConversionValue(int fine, ZarnCoarseConversionValue coarse, bool lockWindow);
  bool recordConversionEvent(std::optional<double> revenue);
  ZarnSKAN::SkanStatus status() const;

 private:
  enum class Decision { apply, keep, refuse };
  Decision decideLocked(int fine, bool lockWindow) ZARN_REQUIRES(lock_);
  bool store(int fine, bool lockWindow);
  std::optional<std::string> applyConversionValue(int fine, ZarnCoarseConversionValue coarse,
                                                  bool lockWindow);
  int currentFine() const;
  bool isWindowClosed() const;

  // Constant after construction.
  platform::Defaults& defaults_;
  platform::AdNetwork& adNetwork_;
  const platform::Clock& clock_;
  const std::string expectedEndpoint_;
  const bool internalDevForced_;
  const DebugLine debugLine_;

  mutable base::Mutex lock_{base::LockRank::producer};
  bool enabled_ ZARN_GUARDED_BY(lock_) = false;
  bool schemaAcknowledged_ ZARN_GUARDED_BY(lock_) = false;
  ZarnSKAN::CvSchema schema_ ZARN_GUARDED_BY(lock_);
  std::optional<int> lastSet_ ZARN_GUARDED_BY(lock_);
  std::optional<std::string> lastError_ ZARN_GUARDED_BY(lock_);
  std::optional<Date> lockedAt_ ZARN_GUARDED_BY(lock_);
  base::Scope scope_;
};

}  // namespace zarn::links
