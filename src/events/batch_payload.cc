#include "events/batch_payload.h"

#include "base/iso8601.h"
#include "base/json.h"
#include "model/wire.h"

namespace zarn::events {
namespace {

std::string head(const BatchEnvelope& envelope) {
  std::string out;
  base::JsonWriter json(out);
  json.beginObject()
      .member("project_id", envelope.projectId)
      .member("api_key", envelope.apiKey)
      .member("platform", model::kWirePlatform)
      .member("environment", envelope.environment)
      .member("sdk_version", model::kSdkVersion)
      .member("app_version", envelope.appVersion)
      .member("bundle_id", envelope.bundleId)
      .member("release_id", envelope.releaseId);
  if (envelope.context) json.key("context").raw(*envelope.context);
  json.key("batch").beginArray();
  return out;
}

}  // namespace

std::vector<std::shared_ptr<const std::string>> encodeBatch(
    const BatchEnvelope& envelope, const std::vector<model::EncodedEvent>& batch, Date sentAt) {
  // Never destroyed: a batch may be sent while the process ends.
  static const auto& comma =
      *new std::shared_ptr<const std::string>(std::make_shared<const std::string>(","));
  std::vector<std::shared_ptr<const std::string>> pieces;
  pieces.reserve(2 * batch.size() + 2);
  pieces.push_back(std::make_shared<const std::string>(head(envelope)));
  for (std::size_t i = 0; i < batch.size(); ++i) {
    if (i > 0) pieces.push_back(comma);
    pieces.push_back(batch[i].json);
  }
  pieces.push_back(std::make_shared<const std::string>("],\"sent_at\":\"" +
                                                       base::iso8601Seconds(sentAt).str() + "\"}"));
  return pieces;
}

}  // namespace zarn::events
