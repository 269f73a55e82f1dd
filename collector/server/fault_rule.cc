#include "server/fault_rule.h"

#include <charconv>
#include <cmath>

#include "server/json.h"
#include "server/object_check.h"

namespace zarn::collector {
namespace {

constexpr std::int64_t kLongestMs = 600'000;

template <class Enum>
struct Word {
  std::string_view text;
  Enum value;
};
constexpr Word<FaultKind> kKinds[] = {{"status", FaultKind::status},
                                      {"delay", FaultKind::delay},
                                      {"hang", FaultKind::hang},
                                      {"drop", FaultKind::drop},
                                      {"cut", FaultKind::cut},
                                      {"empty", FaultKind::empty},
                                      {"outcomes", FaultKind::outcomes},
                                      {"stale", FaultKind::stale},
                                      {"no_policy", FaultKind::noPolicy},
                                      {"garbled", FaultKind::garbled},
                                      {"mistyped", FaultKind::mistyped},
                                      {"body", FaultKind::body}};
constexpr Word<Endpoint> kEndpoints[] = {
    {"batch", Endpoint::batch},           {"init", Endpoint::init},
    {"recovery", Endpoint::recovery},     {"config", Endpoint::config},
    {"resolve", Endpoint::resolve},       {"validate", Endpoint::validate},
    {"register", Endpoint::registration}, {"screenshot_check", Endpoint::screenshotCheck},
    {"screenshot", Endpoint::screenshot}};
constexpr Word<Verdict> kVerdicts[] = {{"accept", Verdict::accept},
                                       {"permanent", Verdict::permanent},
                                       {"transient", Verdict::transient},
                                       {"omit", Verdict::omit}};
constexpr Word<bool> kFlags[] = {{"true", true}, {"false", false}};

template <class Enum, std::size_t n>
std::string readWord(std::string_view text, const Word<Enum> (&words)[n], Enum& value) {
  std::string known;
  for (const auto& word : words) {
    if (word.text == text) {
      value = word.value;
      return {};
    }
    known += (known.empty() ? "" : ", ") + std::string(word.text);
  }
  return "must be one of " + known;
}

template <class Number, class Target>
std::string readNumber(std::string_view text, Number least, Number most, Target& target) {
  Number value{};
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = failure == std::errc() && end == text.data() + text.size();
  if (!whole || !(value >= least && value <= most)) {
    JsonOut range;
    range.array().value(least).value(most).end();
    return "must be a number in " + range.take();
  }
  target = static_cast<Target>(value);
  return {};
}

std::string readText(std::string_view text, std::size_t most, std::string& target) {
  if (text.size() > most) return "must have at most " + std::to_string(most) + " characters";
  target = text;
  return {};
}

// Sets one field from its text; the answer is what is wrong, or nothing.
std::string setField(FaultRule& rule, std::string_view key, std::string_view text) {
  if (key == "kind") return readWord(text, kKinds, rule.kind);
  if (key == "outcome") return readWord(text, kVerdicts, rule.outcome);
  if (key == "keep") return readWord(text, kFlags, rule.keep);
  if (key == "endpoint") {
    if (text == "all") return {};
    return readWord(text, kEndpoints, rule.endpoint.emplace());
  }
  if (key == "status") return readNumber<std::int64_t>(text, 200, 599, rule.status);
  if (key == "delay_ms") return readNumber<std::int64_t>(text, 0, kLongestMs, rule.delayMs);
  if (key == "hang_ms") return readNumber<std::int64_t>(text, 1, kLongestMs, rule.hangMs);
  if (key == "count") return readNumber<std::int64_t>(text, 1, 1'000'000'000, rule.count);
  if (key == "every") return readNumber<std::int64_t>(text, 1, 1'000'000, rule.every);
  if (key == "share") return readNumber<double>(text, 0, 1, rule.share);
  if (key == "seed") return readNumber<std::int64_t>(text, 0, INT64_MAX, rule.seed);
  if (key == "revision") return readNumber<std::int64_t>(text, 0, INT64_MAX, rule.revision);
  if (key == "message") return readText(text, 500, rule.message);
  if (key == "project") return readText(text, 500, rule.project);
  if (key == "body") return readText(text, 65'536, rule.body);
  return "is no part of a fault";
}

bool isOfPolicy(FaultKind kind) {
  return kind == FaultKind::stale || kind == FaultKind::noPolicy;
}

// Looks at the rule once all its fields are set.
std::string finish(FaultRule& rule, bool hasKind, bool hasStatus) {
  if (!hasKind) return "kind is missing";
  if (rule.kind == FaultKind::body && !hasStatus) rule.status = 200;
  if (isOfPolicy(rule.kind) && rule.endpoint && !tellsPolicy(*rule.endpoint)) {
    return std::string(faultWord(rule.kind)) + " is for the endpoints init, recovery and config";
  }
  if (rule.kind == FaultKind::outcomes && rule.endpoint && rule.endpoint != Endpoint::batch) {
    return "outcomes are for the endpoint batch";
  }
  if (rule.kind == FaultKind::delay && rule.delayMs == 0) return "delay_ms is missing";
  return {};
}

std::optional<FaultRule> ruleFrom(const rapidjson::Value& object, std::string& error) {
  if (!object.IsObject()) {
    error = "a fault must be a JSON object";
    return std::nullopt;
  }
  FaultRule rule;
  for (const auto& member : object.GetObject()) {
    const std::string_view key = textOf(member.name);
    const rapidjson::Value& value = member.value;
    if (value.IsNull()) continue;
    std::string text;
    if (value.IsString()) text = textOf(value);
    if (value.IsBool()) text = value.GetBool() ? "true" : "false";
    if (value.IsInt64()) text = std::to_string(value.GetInt64());
    if (value.IsDouble()) text = JsonOut().value(value.GetDouble()).take();
    if (const std::string wrong = setField(rule, key, text); !wrong.empty()) {
      error = quoted(key) + " " + wrong;
      return std::nullopt;
    }
  }
  error = finish(rule, object.HasMember("kind"), object.HasMember("status"));
  if (!error.empty()) return std::nullopt;
  return rule;
}

// A well-mixed number of two, so that neighbouring requests are independent of each other.
std::uint64_t mixed(std::uint64_t seed, std::uint64_t n) {
  std::uint64_t x = seed * 0x9E3779B97F4A7C15u + n + 1;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
  return x ^ (x >> 31);
}

}  // namespace

bool tellsPolicy(Endpoint endpoint) {
  return endpoint == Endpoint::init || endpoint == Endpoint::recovery ||
         endpoint == Endpoint::config;
}

std::string_view endpointWord(Endpoint endpoint) {
  for (const auto& word : kEndpoints) {
    if (word.value == endpoint) return word.text;
  }
  return {};
}

std::string_view faultWord(FaultKind kind) {
  for (const auto& word : kKinds) {
    if (word.value == kind) return word.text;
  }
  return {};
}

std::optional<FaultRule> faultFromJson(std::string_view json, std::string& error) {
  rapidjson::Document object;
  if (!parseJson(json, object, error)) return std::nullopt;
  return ruleFrom(object, error);
}

std::optional<std::vector<FaultRule>> faultsFromJson(std::string_view json, std::string& error) {
  rapidjson::Document array;
  if (!parseJson(json, array, error)) return std::nullopt;
  if (!array.IsArray()) {
    error = "the body must be an array of faults";
    return std::nullopt;
  }
  std::vector<FaultRule> rules;
  for (const rapidjson::Value& object : array.GetArray()) {
    auto rule = ruleFrom(object, error);
    if (!rule) return std::nullopt;
    rules.push_back(std::move(*rule));
  }
  return rules;
}

std::optional<FaultRule> faultFromWords(std::string_view words, std::string& error) {
  FaultRule rule;
  bool hasKind = false;
  bool hasStatus = false;
  while (!words.empty()) {
    const std::string_view pair = words.substr(0, words.find(','));
    words.remove_prefix(std::min(words.size(), pair.size() + 1));
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos) {
      error = quoted(pair) + " is not key=value";
      return std::nullopt;
    }
    const std::string_view key = pair.substr(0, equals);
    hasKind = hasKind || key == "kind";
    hasStatus = hasStatus || key == "status";
    if (const std::string wrong = setField(rule, key, pair.substr(equals + 1)); !wrong.empty()) {
      error = quoted(key) + " " + wrong;
      return std::nullopt;
    }
  }
  error = finish(rule, hasKind, hasStatus);
  if (!error.empty()) return std::nullopt;
  return rule;
}

bool concerns(const FaultRule& rule, Endpoint endpoint, std::string_view project) {
  if (!rule.project.empty() && rule.project != project) return false;
  if (rule.kind == FaultKind::outcomes && endpoint != Endpoint::batch) return false;
  if (isOfPolicy(rule.kind) && !tellsPolicy(endpoint)) return false;
  const bool isInit = rule.endpoint == Endpoint::init && endpoint == Endpoint::recovery;
  return !rule.endpoint || rule.endpoint == endpoint || isInit;
}

bool strikes(const FaultRule& rule, std::uint64_t n) {
  if ((n + 1) % static_cast<std::uint64_t>(rule.every) != 0) return false;
  if (rule.share >= 1) return true;
  return static_cast<double>(mixed(rule.seed, n) >> 11) * 0x1p-53 < rule.share;
}

void writeFault(JsonOut& out, const FaultRule& rule) {
  out.field("id", rule.id)
      .field("endpoint", rule.endpoint ? endpointWord(*rule.endpoint) : "all")
      .field("kind", faultWord(rule.kind));
  out.optional("project", rule.project);
  if (rule.kind == FaultKind::status) out.field("status", rule.status);
  if (rule.kind == FaultKind::body) out.field("status", rule.status).field("body", rule.body);
  if (rule.kind == FaultKind::stale) out.field("revision", rule.revision);
  if (rule.delayMs > 0) out.field("delay_ms", rule.delayMs);
  if (rule.kind == FaultKind::hang) out.field("hang_ms", rule.hangMs);
  if (rule.count) out.field("count", *rule.count);
  if (rule.every != 1) out.field("every", rule.every);
  if (rule.share < 1) out.field("share", rule.share).field("seed", rule.seed);
  out.field("keep", rule.keep);
  if (rule.kind == FaultKind::outcomes) {
    out.field("outcome", verdictWord(rule.outcome)).field("message", rule.message);
  }
}

}  // namespace zarn::collector
