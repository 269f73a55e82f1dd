// ScreenshotCapture: one reference picture per screen and state, for the server that has none yet.
//
// An offer waits until the screen has come to rest, then asks the server, draws, covers what must
// not be seen, encodes and uploads. Whatever ends it before the upload has succeeded frees the
// screen's key, so that the next offer tries again.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/executor.h"
#include "base/mutex.h"
#include "base/weakly.h"
#include "capture/screenshot_claims.h"
#include "capture/screenshot_wire.h"
#include "model/configuration.h"
#include "model/remote_config.h"
#include "model/screen.h"
#include "platform/http.h"
#include "platform/log.h"
#include "platform/screen.h"
#include "runtime/network_guard.h"

namespace zarn::platform {
class ImageCodec;
class Windows;
struct Bitmap;
}  // namespace zarn::platform
namespace zarn::redaction {
class RedactionEngine;
}

namespace zarn::capture {

/// What it stands on.
struct ScreenshotParts {
  platform::Windows& windows;
  platform::ImageCodec& images;
  base::Executor& main;
  base::Executor& background;  // encodes, for tens of milliseconds
  runtime::NetworkGuard& guard;
  const redaction::RedactionEngine& redaction;
};

/// What it has of the rest of the library.
struct ScreenshotHooks {
  /// Any thread. Whether the user allows it and the client runs; asked anew at each step.
  std::function<bool()> mayCollect;
  /// Main thread. The state that a screen's view is in now.
  std::function<model::ScreenState(const platform::View&)> stateOf;
  /// Main thread. Takes personal data out of a text.
  std::function<std::string(std::string_view)> filter;
  /// Main thread. Whose device it is, as the picture is taken.
  std::function<ScreenshotIdentity()> identity;
};

/// A screen that may have no picture yet.
struct ScreenshotOffer {
  std::string_view name;          // may be empty
  std::string_view fallbackName;  // says nothing of what is shown
  std::string_view className;     // "manual" where the host tells of a screen
  model::ScreenState state = model::ScreenState::normal;
};

class ScreenshotCapture {
 public:
  ScreenshotCapture(const ScreenshotParts& parts, ScreenshotHooks hooks,
                    const model::Configuration& configuration, std::string bundleId,
                    platform::Log log);
  ~ScreenshotCapture();

  /// Main thread. Nothing happens before the settings have been told with an app id.
  void offer(const platform::Screen& screen, const ScreenshotOffer& offer);

  /// Any thread. Without a config its defaults hold.
  void update(std::optional<model::ScreenshotsConfig> config, std::optional<std::string> appId,
              std::optional<std::string> releaseId);
  /// Any thread: the user has opted out or is another one. What is under way comes to nothing; a
  /// request that is on its way is the guard's to cancel.
  void cancelAll();

 private:
  struct Settings;
  struct Attempt;
  struct Picture;

  std::shared_ptr<const Settings> settings() const;
  /// Whether the attempt may go on, by what holds now.
  bool admits(const Attempt& attempt) const;
  /// The view of its screen, while it is in sight.
  platform::View viewInSight(const Attempt& attempt) const;
  void settle(Attempt attempt);
  void ask(Attempt attempt);
  void answered(Attempt attempt, const platform::HttpResult& result);
  void take(Attempt attempt);
  bool draw(const platform::View& window, double maxWidth, platform::Bitmap& into) const;
  void upload(Attempt attempt, const Picture& picture);
  void uploaded(Attempt attempt, const platform::HttpResult& result);
  ScreenshotSubject subjectOf(const Attempt& attempt) const;
  platform::HttpRequest makeRequest(std::string_view path, std::string body) const;

  // Constant after construction.
  const ScreenshotParts parts_;
  const ScreenshotHooks hooks_;
  const model::Configuration configuration_;
  const std::string projectId_ = configuration_.projectId();
  const std::string bundleId_;
  const platform::Log log_;

  mutable base::Mutex lock_{base::LockRank::leaf};
  std::shared_ptr<const Settings> settings_ ZARN_GUARDED_BY(lock_);
  const std::shared_ptr<ScreenshotClaims> claims_;
  base::Scope scope_;
};

}  // namespace zarn::capture
