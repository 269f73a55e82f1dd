#include "server/policy_keys.h"

#include <algorithm>
#include <array>

#include "server/json.h"
#include "server/object_check.h"

namespace zarn::collector {
namespace {

using enum PolicyType;

constexpr std::string_view kOn = "true";
constexpr std::string_view kOff = "false";
constexpr std::string_view kNoTexts = "[]";

constexpr PolicyKey kKeys[] = {
    {"core", "pageViews", flag, kOn, "screen views"},
    {"core", "sessions", flag, kOn, "start and end of sessions"},
    {"core", "errors", flag, kOn, "crashes"},
    {"engagement", "clicks", flag, kOn, "taps"},
    {"performance", "networkRequests", flag, kOn, "the app's own requests"},
    {"device", "hardwareInfo", flag, kOn, ""},
    {"device", "connectionInfo", flag, kOn, ""},
    {"device", "batteryInfo", flag, kOn, ""},
    {"device", "context", flag, kOn, "the context of batches"},
    {"device", "lifecycle", flag, kOn, "lifecycle events"},
    {"privacy", "userAgent", flag, kOn, ""},
    {"screenshots", "enabled", flag, kOn, ""},
    {"screenshots", "quality", integer, "40", "percent"},
    {"screenshots", "maxWidth", integer, "390", "points"},
    {"screenshots", "excludedScreens", texts, kNoTexts, ""},
    {"identity", "collectEmail", flag, kOn, "email"},
    {"identity", "collectPhone", flag, kOn, "phone"},
    {"identity", "collectName", flag, kOn, "name, first_name, last_name"},
    {"identity", "collectLocation", flag, kOn,
     "country, city, region, location, latitude, longitude, timezone, timezone_offset"},
    {"identity", "collectPushTokens", flag, kOn, ""},
    {"push", "enabled", flag, kOn, ""},
    {"push", "contentMode", text, R"("hash_only")", "hash_only, preview or full"},
    {"push", "titlePreviewChars", integer, "40", "above 0"},
    {"push", "bodyPreviewChars", integer, "80", "above 0"},
    {"replay", "enabled", flag, kOff, ""},
    {"replay", "sampleRate", number, "100", "0 to 100, percent"},
    {"replay", "maskInputs", flag, kOn, ""},
    {"replay", "maxDurationSec", number, "300", "10 to 3600"},
    {"replay", "captureOnCellular", flag, kOff, ""},
    {"replay", "frameCaptureEnabled", flag, kOn, ""},
    {"replay", "structuralEnabled", flag, kOff, ""},
    {"replay", "tileCaptureEnabled", flag, kOff, ""},
    {"replay", "ocrEnabled", flag, kOff, ""},
    {"replay", "captureMinIntervalMs", number, "800", "0 to 10000"},
    {"replay", "scrollEndMinIntervalSec", number, "0.5", "0 to 60"},
    {"replay", "scrollEndCaptureEnabled", flag, kOff, ""},
    {"replay", "postTapSettleMs", number, "500", "100 to 5000"},
    {"replay", "dirtyHeartbeatSec", number, "5", "1 to 60"},
    {"replay", "heicQuality", number, "0.15", "0.05 to 0.5"},
    {"replay", "captureScale", number, "0.85", "0.3 to 1"},
    {"replay", "pass2A11yEnabled", flag, kOn, ""},
    {"replay", "pass3LayerEnabled", flag, kOn, ""},
    {"replay", "pass4MirrorEnabled", flag, kOn, ""},
    {"replay", "windowEventInterceptorEnabled", flag, kOn, ""},
    {"replay", "frameUploadEnabled", flag, kOn, ""},
    {"replay", "buildHashDedupEnabled", flag, kOff, ""},
    {"replay", "maxConcurrentCaptures", number, "3", "whole, 1 to 8"},
    {"replay", "autoMaskCategories", texts, kNoTexts, "image, text, web, map"},
    {"replay", "maxConcurrentOcr", number, "null", ""},
    {"deeplink", "clipboardEnabled", flag, kOn, ""},
    {"deeplink", "autoOpen", flag, "null", "has no effect: only the app decides"},
    {"deeplink", "universalLinkHosts", texts, "null", "has no effect: only the app decides"},
    {"network", "diagnosticCapture", flag, kOff, ""},
    {"network", "sampleRate", number, "100", "0 to 100, percent of installations"},
    {"network", "hostAllowlist", texts, kNoTexts, ""},
    {"network", "maxEventsPerMin", number, "60", ""},
};

std::string_view word(PolicyType type) {
  constexpr std::array<std::string_view, 5> words = {"boolean", "integer", "number", "string",
                                                     "strings"};
  return words[static_cast<std::size_t>(type)];
}

std::string_view demand(PolicyType type) {
  constexpr std::array<std::string_view, 5> demands = {"true or false", "a whole number",
                                                       "a number", "a string", "a list of strings"};
  return demands[static_cast<std::size_t>(type)];
}

bool fits(const rapidjson::Value& value, PolicyType type) {
  switch (type) {
    case flag:
      return value.IsBool();
    case integer:
      return value.IsInt64();
    case number:
      return value.IsNumber();
    case text:
      return value.IsString();
    case texts:
      return value.IsArray() && std::all_of(value.Begin(), value.End(),
                                            [](const auto& each) { return each.IsString(); });
  }
  return false;
}

void checkSection(std::string_view section, const rapidjson::Value& values,
                  std::vector<std::string>& problems) {
  std::vector<std::string_view> seen;
  for (const auto& member : values.GetObject()) {
    const std::string_view key = textOf(member.name);
    const std::string path = std::string(section) + "." + std::string(key);
    const auto rule = std::find_if(std::begin(kKeys), std::end(kKeys), [&](const PolicyKey& each) {
      return each.section == section && each.key == key;
    });
    if (rule == std::end(kKeys)) {
      problems.push_back("unknown key " + quoted(path));
    } else if (std::find(seen.begin(), seen.end(), key) != seen.end()) {
      problems.push_back(path + " appears more than once");
    } else if (!member.value.IsNull() && !fits(member.value, rule->type)) {
      problems.push_back(path + " must be " + std::string(demand(rule->type)));
    }
    seen.push_back(key);
  }
}

}  // namespace

std::span<const PolicyKey> policyKeys() {
  return kKeys;
}

std::string policyKeysJson() {
  JsonOut out;
  out.array();
  for (const PolicyKey& each : kKeys) {
    out.object()
        .field("section", each.section)
        .field("key", each.key)
        .field("type", word(each.type))
        .key("default")
        .raw(each.byDefault)
        .field("note", each.note)
        .end();
  }
  return out.end().take();
}

std::vector<std::string> policyProblems(const rapidjson::Value& policy) {
  if (!policy.IsObject()) return {"a policy must be a JSON object"};
  std::vector<std::string> problems;
  std::vector<std::string_view> seen;
  for (const auto& member : policy.GetObject()) {
    const std::string_view section = textOf(member.name);
    const bool known = std::any_of(std::begin(kKeys), std::end(kKeys),
                                   [&](const PolicyKey& each) { return each.section == section; });
    if (!known) {
      problems.push_back("unknown section " + quoted(section));
    } else if (std::find(seen.begin(), seen.end(), section) != seen.end()) {
      problems.push_back(std::string(section) + " appears more than once");
    } else if (member.value.IsObject()) {
      checkSection(section, member.value, problems);
    } else if (!member.value.IsNull()) {
      problems.push_back(std::string(section) + " must be an object");
    }
    seen.push_back(section);
  }
  return problems;
}

}  // namespace zarn::collector
