#include "server/wire_check.h"

#include <algorithm>
#include <array>

#include "server/context_check.h"
#include "server/json.h"
#include "server/object_check.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr std::array<std::string_view, 27> kEventTypes = {"screen_view",
                                                          "tap",
                                                          "scroll",
                                                          "network",
                                                          "crash",
                                                          "custom",
                                                          "session_start",
                                                          "session_end",
                                                          "identify",
                                                          "group",
                                                          "lifecycle",
                                                          "navigation",
                                                          "gesture",
                                                          "push_open",
                                                          "push_received",
                                                          "push_dismissed",
                                                          "push_silent",
                                                          "push_action",
                                                          "push_permission",
                                                          "push_token_invalidated",
                                                          "deep_link",
                                                          "install",
                                                          "iap",
                                                          "user_property",
                                                          "screen_visit",
                                                          "goal",
                                                          "screen_transition"};

constexpr KeyRule kEventKeys[] = {
    {"event_id", Kind::text},           {"device_id", Kind::filledText},
    {"anonymous_id", Kind::filledText}, {"user_id", Kind::text, Need::optional},
    {"session_id", Kind::filledText},   {"fingerprint", Kind::text},
    {"event_type", Kind::text},         {"event_name", Kind::text},
    {"properties", Kind::object},       {"timestamp", Kind::text},
    {"context", Kind::object},
};

constexpr KeyRule kContextKeys[] = {
    {"platform", Kind::filledText},
    {"device_model", Kind::text},
    {"os_version", Kind::text},
    {"app_version", Kind::text},
    {"locale", Kind::text},
    {"timezone", Kind::text},
    {"screen_width", Kind::integer},
    {"screen_height", Kind::integer},
    {"connection_type", Kind::text, Need::optional},
    {"carrier", Kind::text, Need::optional},
    {"battery_level", Kind::number, Need::optional},
    {"is_charging", Kind::flag, Need::optional},
};

constexpr KeyRule kEnvelopeKeys[] = {
    {"project_id", Kind::filledText},
    {"api_key", Kind::filledText},
    {"platform", Kind::filledText},
    {"environment", Kind::filledText},
    {"sdk_version", Kind::filledText},
    {"app_version", Kind::text},
    {"bundle_id", Kind::text},
    {"release_id", Kind::text},
    {"context", Kind::object, Need::optional},
    {"batch", Kind::array},
    {"sent_at", Kind::text},
};

constexpr KeyRule kInitKeys[] = {
    {"project_id", Kind::filledText},
    {"api_key", Kind::filledText},
    {"platform", Kind::filledText},
    {"bundle_id", Kind::text},
    {"app_version", Kind::text},
    {"build", Kind::text, Need::optional},  // the init of a recovery has none
    {"environment", Kind::filledText},
    {"sdk_version", Kind::filledText},
};

void checkContext(const rapidjson::Value& context, std::vector<std::string>& problems) {
  ObjectCheck check(context, "context.", kContextKeys, problems);
  constexpr std::array<std::string_view, 5> connections = {"unknown", "offline", "wifi", "cellular",
                                                           "ethernet"};
  const std::string connection = check.text("connection_type");
  if (check.find("connection_type") != nullptr &&
      std::find(connections.begin(), connections.end(), connection) == connections.end()) {
    check.problem("connection_type", "is not a known one: " + quoted(connection));
  }
  for (const std::string_view key : {"screen_width", "screen_height"}) {
    const rapidjson::Value* size = check.find(key);
    if (size != nullptr && size->GetInt64() < 0) check.problem(key, "must not be negative");
  }
  const rapidjson::Value* level = check.find("battery_level");
  if (level != nullptr && (level->GetDouble() < 0 || level->GetDouble() > 1)) {
    check.problem("battery_level", "must be between 0 and 1");
  }
}

// Absent where an optional step on the way there is.
std::string launchOf(const rapidjson::Value& context) {
  const auto app = context.FindMember("app");
  if (app == context.MemberEnd() || !app->value.IsObject()) return {};
  const auto start = app->value.FindMember("start_time");
  if (start == app->value.MemberEnd() || !start->value.IsString()) return {};
  return std::string(textOf(start->value));
}

std::string wireTimeProblem(std::string_view text) {
  return "must look like 2026-01-31T09:30:00Z: " + quoted(text);
}

}  // namespace

bool isEventId(std::string_view text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    const char c = text[i];
    const bool hex = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
    if (dash ? c != '-' : !hex) return false;
  }
  return true;
}

bool isEventType(std::string_view text) {
  return std::find(kEventTypes.begin(), kEventTypes.end(), text) != kEventTypes.end();
}

EventFacts checkEvent(std::string_view raw) {
  EventFacts facts;
  rapidjson::Document event;
  std::string error;
  if (!parseJson(raw, event, error)) {
    facts.problems.push_back(error);
    return facts;
  }
  if (!event.IsObject()) {
    facts.problems.push_back("an event must be an object");
    return facts;
  }
  ObjectCheck check(event, "", kEventKeys, facts.problems);
  facts.id = check.text("event_id");
  facts.type = check.text("event_type");
  facts.name = check.text("event_name");
  facts.user = check.text("user_id");
  facts.session = check.text("session_id");
  facts.device = check.text("device_id");
  facts.anonymous = check.text("anonymous_id");
  if (check.find("event_id") != nullptr && !isEventId(facts.id)) {
    check.problem("event_id", "is no upper-case UUID: " + quoted(facts.id));
  }
  if (check.find("event_type") != nullptr && !isEventType(facts.type)) {
    check.problem("event_type", "is not a known one: " + quoted(facts.type));
  }
  if (check.find("timestamp") != nullptr) {
    const std::string text = check.text("timestamp");
    facts.timestamp = parseWireTime(text);
    if (!facts.timestamp) check.problem("timestamp", wireTimeProblem(text));
  }
  if (const rapidjson::Value* context = check.find("context")) {
    checkContext(*context, facts.problems);
  }
  return facts;
}

EnvelopeFacts checkEnvelope(std::string_view json) {
  EnvelopeFacts facts;
  rapidjson::Document body;
  std::string error;
  if (!parseJson(json, body, error)) {
    facts.problems.push_back(error);
    return facts;
  }
  ObjectCheck check(body, "", kEnvelopeKeys, facts.problems);
  facts.project = check.text("project_id");
  facts.environment = check.text("environment");
  facts.platform = check.text("platform");
  facts.sdkVersion = check.text("sdk_version");
  facts.appVersion = check.text("app_version");
  facts.bundleId = check.text("bundle_id");
  facts.releaseId = check.text("release_id");
  facts.sentAt = check.text("sent_at");
  if (const rapidjson::Value* context = check.find("context")) {
    checkEnrichedContext(*context, facts.problems);
    facts.context = jsonOf(*context);
    facts.launch = launchOf(*context);
  }
  if (check.find("sent_at") != nullptr && !parseWireTime(facts.sentAt)) {
    check.problem("sent_at", wireTimeProblem(facts.sentAt));
  }
  return facts;
}

bool checkInit(std::string_view json, CallerFacts& facts, std::string& error) {
  rapidjson::Document body;
  if (!parseJson(json, body, error)) return false;
  if (!body.IsObject()) {
    error = "the body must be a JSON object";
    return false;
  }
  ObjectCheck check(body, "", kInitKeys, facts.problems);
  facts.project = check.text("project_id");
  facts.environment = check.text("environment");
  facts.platform = check.text("platform");
  facts.sdkVersion = check.text("sdk_version");
  facts.appVersion = check.text("app_version");
  facts.bundleId = check.text("bundle_id");
  facts.isRecovery = !body.HasMember("build");
  return true;
}

CallerFacts checkConfig(const std::multimap<std::string, std::string>& query) {
  CallerFacts facts;
  const std::pair<std::string_view, std::string*> items[] = {{"project_id", &facts.project},
                                                             {"platform", &facts.platform},
                                                             {"bundle_id", &facts.bundleId},
                                                             {"environment", &facts.environment},
                                                             {"sdk_version", &facts.sdkVersion}};
  for (const auto& [name, target] : items) {
    const std::string key(name);
    const auto found = query.find(key);
    if (found != query.end()) *target = found->second;
    if (target->empty()) facts.problems.push_back(key + " is missing");
    if (query.count(key) > 1) facts.problems.push_back(key + " appears more than once");
  }
  for (const auto& [name, value] : query) {
    const auto isIt = [&key = name](const auto& item) { return item.first == key; };
    if (std::none_of(std::begin(items), std::end(items), isIt)) {
      facts.problems.push_back("unknown query item " + quoted(name));
    }
  }
  return facts;
}

std::string authorizationProblem(std::string_view header) {
  if (header.empty()) return "the Authorization header is missing";
  if (header.find(' ') == std::string_view::npos) return {};
  return "the Authorization header must be the bare key";
}

std::string appName(std::string_view bundleId) {
  return std::string(bundleId.empty() ? "unknown" : bundleId);
}

}  // namespace zarn::collector
