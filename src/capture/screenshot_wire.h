// What screenshots and the server say to each other.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/configuration.h"
#include "platform/http.h"

namespace zarn::capture {

inline constexpr std::string_view kScreenshotCheckPath = "/api/sdk/screenshot/check";
inline constexpr std::string_view kScreenshotPath = "/api/sdk/screenshot";

/// Whose picture it is.
struct ScreenshotIdentity {
  std::string deviceId;
  std::string anonymousId;
  std::optional<std::string> userId;
  friend bool operator==(const ScreenshotIdentity&, const ScreenshotIdentity&) = default;
};

/// Which picture is meant.
struct ScreenshotSubject {
  std::string_view projectId;
  std::string_view appId;
  std::string_view key;
  std::string_view bundleId;  // may be empty
};

struct EncodedScreenshot {
  std::string_view jpeg;
  int width = 0;   // pixels
  int height = 0;  // pixels
};

std::string screenshotCheckBody(const ScreenshotSubject& subject);
std::string screenshotBody(const ScreenshotSubject& subject, const EncodedScreenshot& picture,
                           const std::optional<std::string>& releaseId,
                           const ScreenshotIdentity& identity);

/// Whether the server has the picture; nothing when it can't be told.
std::optional<bool> readScreenshotCheck(const platform::HttpResult& result);

bool isSuccess(int status);

}  // namespace zarn::capture
