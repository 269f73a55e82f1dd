#include "links/install_tracker.h"

#include <utility>

#include "base/text.h"
#include "base/value_access.h"
#include "model/wire.h"
#include "platform/defaults.h"
#include "platform/device.h"
#include "platform/files.h"

namespace zarn::links {
namespace {

/// As much of a text from a link as admission scrubs.
constexpr std::size_t kMostClickIdCharacters = 256;

/// Settings that can't be read may hold it.
bool wasEmitted(platform::Defaults& defaults) {
  const auto emitted = defaults.getBool(InstallTracker::kEmittedKey);
  return emitted ? *emitted : defaults.mayHold(InstallTracker::kEmittedKey);
}

std::string orUnknown(const std::string& text) {
  return text.empty() ? "unknown" : text;
}

}  // namespace

InstallTracker::InstallTracker(platform::Defaults& defaults, platform::Files& files,
                               const platform::AppFacts& app, std::function<bool()> mayTell,
                               ClickIdProvider clickId, Track track)
    : defaults_(defaults),
      files_(files),
      app_(app),
      mayTell_(std::move(mayTell)),
      clickId_(std::move(clickId)),
      track_(std::move(track)),
      isFirstRun_(!wasEmitted(defaults)) {}

void InstallTracker::setUp() {
  if (!mayTell_() || !claim()) return;
  Properties properties{{"app_version", orUnknown(app_.version)},
                        {"build_number", orUnknown(app_.build)},
                        {"platform", base::ValueAccess::opaque(std::string(model::kWirePlatform))}};
  if (const auto clickId = clickId_()) {
    properties.set("zarn_click_id", base::prefixOfCharacters(*clickId, kMostClickIdCharacters));
  }
  track_(model::EventType::install, "app_install", properties);
}

bool InstallTracker::claim() {
  if (wasEmitted(defaults_)) return false;
  const std::string folder = files_.dataDirectory() + "/Zarn";
  files_.createDirectories(folder);
  const auto lock = files_.tryLock(folder + "/install.lock");
  if (!lock || wasEmitted(defaults_)) return false;  // another one is at it, or has been
  defaults_.set(kEmittedKey, true);
  if (defaults_.commit()) return true;
  defaults_.remove(kEmittedKey);
  return false;
}

}  // namespace zarn::links
