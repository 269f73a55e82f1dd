#include "links/link_resolver.h"

#include <memory>
#include <variant>

#include "base/json.h"
#include "base/members.h"
#include "links/link_parser.h"

namespace zarn::links {
namespace {

constexpr double kTimeout = 3;  // seconds
constexpr std::size_t kMaxAnswer = std::size_t{64} << 10;

std::optional<std::string> nonEmptyMember(const Properties& object, std::string_view key) {
  auto text = base::stringMember(object, key);
  if (text && text->empty()) text.reset();
  return text;
}

std::optional<double> numberMember(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  if (value == nullptr) return std::nullopt;
  if (const auto integer = value->asInt()) return static_cast<double>(*integer);
  return value->asDouble();
}

platform::HttpRequest makeResolveRequest(const model::Configuration& configuration,
                                         const std::optional<std::string>& clickId,
                                         const std::optional<std::string>& clipboardToken) {
  std::string body;
  base::JsonWriter json(body);
  json.beginObject()
      .member("project_id", configuration.projectId())
      .member("api_key", configuration.apiKey());
  if (clickId) json.member("zarn_click_id", *clickId);
  if (clipboardToken) json.member("clipboard_token", *clipboardToken);
  json.endObject();
  platform::HttpRequest request;
  request.method = "POST";
  request.url = model::endpointURL(configuration.apiHost(), "/api/sdk/link/resolve");
  request.headers = {{"Content-Type", "application/json"}};
  request.body = {std::make_shared<const std::string>(std::move(body))};
  request.timeout = base::seconds(kTimeout);
  request.maxResponseBytes = kMaxAnswer;
  return request;
}

}  // namespace

ResolveResult readResolveAnswer(const platform::HttpResult& result) {
  const auto* response = std::get_if<platform::HttpResponse>(&result);
  if (response == nullptr) return {};
  const auto parsed = base::parseJson(response->body);
  const Properties* object = parsed ? parsed->asProperties() : nullptr;
  if (object == nullptr || !base::isTrue(*object, "resolved")) return {};
  ResolveResult answer{.resolved = true,
                       .campaign = nonEmptyMember(*object, "campaign"),
                       .mediaSource = nonEmptyMember(*object, "media_source"),
                       .matchMethod = base::stringMember(*object, "match_method"),
                       .matchConfidence = numberMember(*object, "match_confidence")};
  const Value* member = object->find("link");
  if (const Properties* link = member != nullptr ? member->asProperties() : nullptr) {
    answer.linkId = nonEmptyMember(*link, "id");
    answer.targetPath = base::stringMember(*link, "target_path");
  }
  return answer;
}

ZarnDeepLink merged(ZarnDeepLink link, const ResolveResult& result) {
  if (result.linkId) link.linkId = result.linkId;
  link.campaign = result.campaign;
  link.mediaSource = result.mediaSource;
  link.targetPath = result.targetPath;
  link.matchMethod = result.matchMethod;
  link.matchConfidence = result.matchConfidence;
  return link;
}

void LinkResolver::resolve(const ZarnDeepLink& link,
                           const std::optional<std::string>& clipboardToken,
                           runtime::NetworkGuard::Token network, Completion completion) {
  const auto clickId = clickIdOf(link.parameters);
  if (!clickId && !clipboardToken) return;
  if (hooks_.isOptedOut()) {
    log_.debug({"[Zarn] tracking opted out — skipping link resolve"});
    return;
  }
  auto keep = base::weakly(scope_, [this, clickId = link.isDeferred ? clickId : std::nullopt] {
    if (clickId) hooks_.keepInstallClickId(*clickId);
  });
  guard_.startGuardedTask(makeResolveRequest(configuration_, clickId, clipboardToken), network,
                          [completion = std::move(completion),
                           keep = std::move(keep)](const platform::HttpResult& result) mutable {
                            const ResolveResult answer = readResolveAnswer(result);
                            if (answer.resolved) keep();
                            completion(answer);
                          });
}

}  // namespace zarn::links
