#include "capture/screenshot_capture.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "capture/screenshot_key.h"
#include "platform/image_codec.h"
#include "platform/windows.h"
#include "redaction/cover.h"
#include "redaction/redaction_engine.h"

namespace zarn::capture {
namespace {

using platform::View;

constexpr double kRest = 1.5;  // seconds until a screen has come to rest
constexpr double kCheckTimeout = 10;
constexpr double kUploadTimeout = 60;
constexpr std::size_t kMaxAnswer = std::size_t{64} << 10;
constexpr std::int64_t kDefaultQuality = 40;    // percent
constexpr std::int64_t kDefaultMaxWidth = 390;  // points
constexpr std::int64_t kLeastMaxWidth = 32;
constexpr std::int64_t kMostMaxWidth = 1280;
constexpr std::int64_t kMostPixels = 4 << 20;
constexpr double kLeastAlpha = 0.1;
constexpr int kMostLevels = 200;

bool isPicture(const platform::Bitmap& bitmap) {
  if (bitmap.width <= 0 || bitmap.height <= 0 || !(bitmap.scale > 0)) return false;
  const std::int64_t pixels = std::int64_t{bitmap.width} * bitmap.height;
  return pixels <= kMostPixels && std::cmp_equal(bitmap.pixels.size(), pixels * 4);
}

/// Whether neither the view nor anything around it is hidden, and it has not been moved out of its
/// window.
bool isInSight(const View& view, const View& window) {
  View at = view;
  for (int level = 0; at; ++level, at = at.parent()) {
    const platform::ViewFacts facts = at.facts();
    if (level == kMostLevels || facts.isHidden || facts.alpha < kLeastAlpha) return false;
  }
  const base::Size size = window.facts().size;
  const base::Rect box = view.rectIn(window);
  return box.isEmpty() || box.intersects({0, 0, size.width, size.height});
}

/// Whether another screen lies over it, or over one that it is part of.
bool isCovered(const platform::Screen& screen) {
  platform::Screen at = screen;
  if (at.presented()) return true;
  for (int level = 0; level < kMostLevels; ++level) {
    const platform::Screen around = at.parent();
    if (!around) return false;
    const platform::Screen over = around.presented();
    if (over && over != at) return true;
    at = around;
  }
  return true;  // what lies around it is unknown
}

}  // namespace

struct ScreenshotCapture::Settings {
  std::optional<std::string> appId, releaseId;
  model::ScreenshotsConfig config;

  double quality() const {
    return static_cast<double>(
               std::clamp<std::int64_t>(config.quality.value_or(kDefaultQuality), 1, 100)) /
           100;
  }
  double maxWidth() const {
    return static_cast<double>(
        std::clamp(config.maxWidth.value_or(kDefaultMaxWidth), kLeastMaxWidth, kMostMaxWidth));
  }
  bool admits(const ScreenshotNames& names) const {
    return config.enabled.value_or(true) &&
           !(config.excludedScreens && isExcluded(*config.excludedScreens, names));
  }
};

/// One screen on its way to a picture. Whoever drops it frees its key.
struct ScreenshotCapture::Attempt {
  ScreenshotClaims::Claim claim;
  runtime::NetworkGuard::Token network;
  platform::WeakScreen screen;
  std::string appId, stem, name, className;
  model::ScreenState state = model::ScreenState::normal;

  ScreenshotNames names() const { return {stem, state, name, className}; }
};

struct ScreenshotCapture::Picture {
  std::shared_ptr<const Settings> settings;  // of the policy by which it was covered
  platform::Bitmap bitmap;
  ScreenshotIdentity identity;
};

ScreenshotCapture::ScreenshotCapture(const ScreenshotParts& parts, ScreenshotHooks hooks,
                                     const model::Configuration& configuration,
                                     std::string bundleId, platform::Log log)
    : parts_(parts),
      hooks_(std::move(hooks)),
      configuration_(configuration),
      bundleId_(std::move(bundleId)),
      log_(log),
      settings_(std::make_shared<Settings>()),
      claims_(std::make_shared<ScreenshotClaims>()) {}

ScreenshotCapture::~ScreenshotCapture() {
  scope_.close();
}

void ScreenshotCapture::update(std::optional<model::ScreenshotsConfig> config,
                               std::optional<std::string> appId,
                               std::optional<std::string> releaseId) {
  auto settings = std::make_shared<Settings>();
  settings->appId = std::move(appId);
  settings->releaseId = std::move(releaseId);
  if (config) settings->config = *std::move(config);
  const auto before = this->settings();
  // Another app or release has pictures of its own.
  if (before->appId != settings->appId || before->releaseId != settings->releaseId) {
    claims_->forgetKnown();
  }
  base::MutexLock lock(lock_);
  settings_ = std::move(settings);
}

void ScreenshotCapture::cancelAll() {
  claims_->voidAll();
}

std::shared_ptr<const ScreenshotCapture::Settings> ScreenshotCapture::settings() const {
  base::MutexLock lock(lock_);
  return settings_;
}

bool ScreenshotCapture::admits(const Attempt& attempt) const {
  if (attempt.claim.isVoid() || !hooks_.mayCollect()) return false;
  const auto now = settings();
  return now->appId == attempt.appId && now->admits(attempt.names());
}

void ScreenshotCapture::offer(const platform::Screen& screen, const ScreenshotOffer& offer) {
  const auto network =
      parts_.guard.current();  // before the look at the opt-out, which may come now
  if (!screen || !hooks_.mayCollect()) return;
  const auto now = settings();
  if (!now->appId) return;
  // The fallback is a digest, which the filter would take for something else.
  std::string stem = screenshotKeyStem(hooks_.filter(offer.name), offer.fallbackName);
  if (stem.empty()) return;
  if (!now->admits({stem, offer.state, offer.name, offer.className})) return;
  auto claim = claims_->claim(screenshotKey(stem, offer.state));
  if (!claim) return;
  parts_.main.postAfter(
      base::seconds(kRest),
      base::weakly(scope_, [this, attempt = Attempt{.claim = *std::move(claim),
                                                    .network = network,
                                                    .screen = screen.weak(),
                                                    .appId = *now->appId,
                                                    .stem = std::move(stem),
                                                    .name = std::string(offer.name),
                                                    .className = std::string(offer.className),
                                                    .state = offer.state}]() mutable {
        settle(std::move(attempt));
      }));
}

View ScreenshotCapture::viewInSight(const Attempt& attempt) const {
  const platform::Screen screen = attempt.screen.lock();
  if (!screen || isCovered(screen)) return {};
  const View view = screen.view();
  if (!view) return {};
  const View window = view.window();
  return window && isInSight(view, window) ? view : View();
}

void ScreenshotCapture::settle(Attempt attempt) {
  if (!admits(attempt)) return;
  const View view = viewInSight(attempt);
  if (!view) return;
  const model::ScreenState state = hooks_.stateOf(view);
  if (!mayFollow(attempt.state, state)) return;
  if (state != attempt.state) {
    auto claim = claims_->claim(screenshotKey(attempt.stem, state));
    if (!claim) return;
    attempt.claim = *std::move(claim);
    attempt.state = state;
  }
  ask(std::move(attempt));
}

void ScreenshotCapture::ask(Attempt attempt) {
  if (!admits(attempt)) return;
  if (!model::isUsableHost(configuration_.apiHost())) {
    log_.debug({"[Zarn] Invalid config URL: ", configuration_.apiHost(), kScreenshotCheckPath});
    return;
  }
  auto request = makeRequest(kScreenshotCheckPath, screenshotCheckBody(subjectOf(attempt)));
  request.timeout = base::seconds(kCheckTimeout);
  const auto network = attempt.network;
  parts_.guard.startGuardedTask(
      std::move(request), network,
      base::weakly(
          scope_, [this, attempt = std::move(attempt)](const platform::HttpResult& result) mutable {
            answered(std::move(attempt), result);
          }));
}

void ScreenshotCapture::answered(Attempt attempt, const platform::HttpResult& result) {
  const auto exists = readScreenshotCheck(result);
  if (!exists) return;
  if (*exists) return attempt.claim.settle();
  parts_.main.post(base::weakly(
      scope_, [this, attempt = std::move(attempt)]() mutable { take(std::move(attempt)); }));
}

void ScreenshotCapture::take(Attempt attempt) {
  if (!admits(attempt)) return;
  const View view = viewInSight(attempt);
  if (!view || hooks_.stateOf(view) != attempt.state) return;
  Picture picture{.settings = settings(), .bitmap = {}, .identity = hooks_.identity()};
  if (!draw(view.window(), picture.settings->maxWidth(), picture.bitmap)) return;
  // One user's picture must not go out under another's name.
  if (hooks_.identity() != picture.identity) return;
  parts_.background.post(base::weakly(
      scope_, [this, attempt = std::move(attempt), picture = std::move(picture)]() mutable {
        upload(std::move(attempt), picture);
      }));
}

/// Drawing may lay out anew, and a thing that moves is hidden where it was and where it is.
bool ScreenshotCapture::draw(const View& window, double maxWidth, platform::Bitmap& into) const {
  if (!window) return false;
  const base::Size size = window.facts().size;
  std::vector<base::Rect> rects;
  if (!parts_.redaction.collectRects(window, window, rects)) return false;
  if (!parts_.windows.draw(window, maxWidth, into) || !isPicture(into)) return false;
  if (!parts_.redaction.collectRects(window, window, rects)) return false;
  if (window.facts().size != size) return false;  // what the picture's scale refers to is unclear
  redaction::cover(into, rects);
  return true;
}

void ScreenshotCapture::upload(Attempt attempt, const Picture& picture) {
  if (!admits(attempt)) return;
  const auto jpeg = parts_.images.encodeJpeg(picture.bitmap, picture.settings->quality());
  if (!jpeg) return;
  auto request = makeRequest(
      kScreenshotPath,
      screenshotBody(
          subjectOf(attempt),
          {.jpeg = *jpeg, .width = picture.bitmap.width, .height = picture.bitmap.height},
          picture.settings->releaseId, picture.identity));
  request.timeout = base::seconds(kUploadTimeout);
  // A policy that has come since may mask more.
  if (!admits(attempt) || settings() != picture.settings) return;
  const auto network = attempt.network;
  parts_.guard.startGuardedTask(
      std::move(request), network,
      base::weakly(
          scope_, [this, attempt = std::move(attempt)](const platform::HttpResult& result) mutable {
            uploaded(std::move(attempt), result);
          }));
}

void ScreenshotCapture::uploaded(Attempt attempt, const platform::HttpResult& result) {
  const std::string& key = attempt.claim.key();
  const auto* response = std::get_if<platform::HttpResponse>(&result);
  if (response == nullptr) {
    log_.debug({"[Zarn] Screenshot upload failed for '", key,
                "': ", std::get<platform::HttpFailure>(result).description});
    return;
  }
  const std::string status = std::to_string(response->status);
  if (!isSuccess(response->status)) {
    log_.debug({"[Zarn] Screenshot upload failed for '", key, "', status: ", status});
    return;
  }
  log_.debug({"[Zarn] Screenshot uploaded for '", key, "', status: ", status});
  attempt.claim.settle();
}

ScreenshotSubject ScreenshotCapture::subjectOf(const Attempt& attempt) const {
  return {.projectId = projectId_,
          .appId = attempt.appId,
          .key = attempt.claim.key(),
          .bundleId = bundleId_};
}

platform::HttpRequest ScreenshotCapture::makeRequest(std::string_view path,
                                                     std::string body) const {
  platform::HttpRequest request;
  request.method = "POST";
  request.url = model::endpointURL(configuration_.apiHost(), path);
  request.headers = {{"Content-Type", "application/json"},
                     {"Authorization", "Bearer " + configuration_.apiKey()}};
  request.body = {std::make_shared<const std::string>(std::move(body))};
  request.maxResponseBytes = kMaxAnswer;
  return request;
}

}  // namespace zarn::capture
