// Tells the server once that the app was installed.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "model/event.h"
#include "zarn/value.h"

namespace zarn::platform {
struct AppFacts;
class Defaults;
class Files;
}  // namespace zarn::platform

namespace zarn::links {

/// Any thread.
class InstallTracker {
 public:
  static constexpr const char* kEmittedKey = "zarn_install_emitted";
  /// Admits an event; see runtime::Admission.
  using Track =
      std::function<bool(model::EventType type, std::string_view name, const Properties&)>;
  /// The id of the click that led to the installation, where one is known.
  using ClickIdProvider = std::function<std::optional<std::string>()>;

  InstallTracker(platform::Defaults& defaults, platform::Files& files,
                 const platform::AppFacts& app, std::function<bool()> mayTell,
                 ClickIdProvider clickId, Track track);

  /// Whether the installation had not been reported when this object was made. Stays so.
  bool isFirstRun() const { return isFirstRun_; }

  /// Reports the installation unless that was done. It is written down before, so a kill in between
  /// loses the report and never doubles it. While user or server allow nothing to be told, and
  /// where it can't be written down, nothing happens and a later launch reports. Several calls
  /// report once, also of processes that start together.
  void setUp();

 private:
  bool claim();

  // Constant after construction.
  platform::Defaults& defaults_;
  platform::Files& files_;
  const platform::AppFacts& app_;
  const std::function<bool()> mayTell_;
  const ClickIdProvider clickId_;
  const Track track_;
  const bool isFirstRun_;
};

}  // namespace zarn::links
