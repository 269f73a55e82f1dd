#include "control/init_exchange.h"

#include <utility>

#include "base/json.h"
#include "base/members.h"
#include "model/wire.h"
#include "platform/device.h"

namespace zarn::control {
namespace {

std::string makeBody(const model::Configuration& configuration, const platform::AppFacts& app,
                     InitOccasion occasion) {
  std::string out;
  base::JsonWriter json(out);
  json.beginObject()
      .member("project_id", configuration.projectId())
      .member("api_key", configuration.apiKey())
      .member("platform", model::kWirePlatform)
      .member("bundle_id", app.bundleId)
      .member("app_version", app.version);
  if (occasion == InitOccasion::startUp) json.member("build", app.build);
  json.member("environment", configuration.environment())
      .member("sdk_version", model::kSdkVersion)
      .endObject();
  return out;
}

}  // namespace

platform::HttpRequest makeInitRequest(const model::Configuration& configuration,
                                      const platform::AppFacts& app, InitOccasion occasion) {
  platform::HttpRequest request;
  request.method = "POST";
  request.url = model::endpointURL(configuration.apiHost(), "/api/sdk/init");
  request.headers = {{"Content-Type", "application/json"}};
  request.body = {std::make_shared<const std::string>(makeBody(configuration, app, occasion))};
  request.timeout = base::seconds(occasion == InitOccasion::startUp ? 5 : 10);
  return request;
}

std::optional<InitAnswer> readInitAnswer(const platform::HttpResult& result) {
  const auto* response = std::get_if<platform::HttpResponse>(&result);
  if (response == nullptr || response->status < 200 || response->status > 299) return std::nullopt;
  const auto parsed = base::parseJson(response->body);
  const Properties* object = parsed ? parsed->asProperties() : nullptr;
  if (object == nullptr) return std::nullopt;
  InitAnswer answer;
  answer.paused = base::isTrue(*object, "paused");
  answer.pausedReason = base::stringMember(*object, "paused_reason");
  answer.releaseId = base::stringMember(*object, "release_id");
  answer.appId = base::stringMember(*object, "app_id");
  if (const Value* policy = object->find("data_collection")) {
    answer.dataCollection = model::decodeRemoteConfig(*policy);
  }
  return answer;
}

int statusOf(const platform::HttpResult& result) {
  const auto* response = std::get_if<platform::HttpResponse>(&result);
  return response != nullptr ? response->status : -1;
}

}  // namespace zarn::control
