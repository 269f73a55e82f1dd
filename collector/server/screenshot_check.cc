#include "server/screenshot_check.h"

#include "server/base64.h"
#include "server/digest.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kLongestKey = 512;

// What it says of its size is told by the picture itself as well.
void checkSize(ObjectCheck& check, const JpegSize& size) {
  const std::pair<std::string_view, int> sides[] = {{"width", size.width}, {"height", size.height}};
  for (const auto& [key, pixels] : sides) {
    const rapidjson::Value* told = check.find(key);
    if (told != nullptr && told->GetInt64() != pixels) {
      check.problem(key, "is not the picture's own, " + std::to_string(pixels));
    }
  }
}

}  // namespace

std::string readScreenshot(ObjectCheck& check, bool withPicture, Screenshot& screenshot) {
  screenshot.project = check.text("project_id");
  screenshot.app = check.text("app_id");
  screenshot.screen = check.text("screen_name");
  screenshot.bundleId = check.text("bundle_id");
  screenshot.platform = check.text("platform");
  screenshot.sdkVersion = check.text("sdk_version");
  screenshot.releaseId = check.text("release_id");
  screenshot.device = check.text("device_id");
  screenshot.anonymous = check.text("anonymous_id");
  screenshot.user = check.text("user_id");
  const bool isLong = screenshot.screen.size() > kLongestKey;
  if (isLong) check.problem("screen_name", "has more than 512 bytes");
  if (!withPicture) return {};
  if (isLong || screenshot.project.empty() || screenshot.app.empty() || screenshot.screen.empty()) {
    return "the body does not say which screen it shows";
  }
  const std::string text = check.text(kPictureKey);
  auto jpeg = decodedBase64(text);
  const auto size = jpeg ? jpegSize(*jpeg) : std::nullopt;
  if (!text.empty() && !size) {
    check.problem(kPictureKey, jpeg ? "is no whole JPEG" : "is no base64");
  }
  if (!size) return "the picture cannot be read";
  checkSize(check, *size);
  screenshot.size = *size;
  screenshot.sha256 = sha256Hex(*jpeg);
  screenshot.jpeg = std::move(*jpeg);
  return {};
}

}  // namespace zarn::collector
