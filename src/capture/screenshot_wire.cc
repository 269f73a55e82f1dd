#include "capture/screenshot_wire.h"

#include "base/base64.h"
#include "base/json.h"
#include "base/members.h"
#include "model/wire.h"

namespace zarn::capture {
namespace {

void writeSubject(base::JsonWriter& json, const ScreenshotSubject& subject) {
  json.member("project_id", subject.projectId)
      .member("app_id", subject.appId)
      .member("screen_name", subject.key)
      .member("platform", model::kWirePlatform)
      .member("sdk_version", model::kSdkVersion)
      .member("bundle_id", subject.bundleId.empty() ? "unknown" : subject.bundleId);
}

}  // namespace

std::string screenshotCheckBody(const ScreenshotSubject& subject) {
  std::string body;
  base::JsonWriter json(body);
  json.beginObject();
  writeSubject(json, subject);
  json.endObject();
  return body;
}

std::string screenshotBody(const ScreenshotSubject& subject, const EncodedScreenshot& picture,
                           const std::optional<std::string>& releaseId,
                           const ScreenshotIdentity& identity) {
  std::string body;
  base::JsonWriter json(body);
  json.beginObject();
  writeSubject(json, subject);
  json.member("image_b64", base::base64(picture.jpeg));
  json.key("width").integer(picture.width);
  json.key("height").integer(picture.height);
  if (releaseId) json.member("release_id", *releaseId);
  json.member("device_id", identity.deviceId).member("anonymous_id", identity.anonymousId);
  if (identity.userId) json.member("user_id", *identity.userId);
  json.endObject();
  return body;
}

bool isSuccess(int status) {
  return status >= 200 && status <= 299;
}

std::optional<bool> readScreenshotCheck(const platform::HttpResult& result) {
  const auto* response = std::get_if<platform::HttpResponse>(&result);
  if (response == nullptr || !isSuccess(response->status)) return std::nullopt;
  const auto parsed = base::parseJson(response->body);
  const Properties* object = parsed ? parsed->asProperties() : nullptr;
  const Value* exists = object != nullptr ? object->find("exists") : nullptr;
  return exists != nullptr ? exists->asBool() : std::nullopt;
}

}  // namespace zarn::capture
