#include "server/context_check.h"

#include <algorithm>
#include <initializer_list>

#include "server/object_check.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr KeyRule kParts[] = {
    {"device", Kind::object},
    {"os", Kind::object},
    {"browser", Kind::object, Need::optional},
    {"runtime", Kind::object},
    {"hardware", Kind::object},
    {"app", Kind::object},
    {"culture", Kind::object, Need::optional},
};

constexpr KeyRule kDevice[] = {
    {"family", Kind::text},
    {"model", Kind::text},
    {"brand", Kind::text},
    {"type", Kind::text},
    {"screen_width_px", Kind::integer},
    {"screen_height_px", Kind::integer},
    {"screen_density", Kind::number},
    {"orientation", Kind::text},
    {"device_hash", Kind::filledText, Need::optional},
    {"device_class", Kind::text},
    {"kernel_version", Kind::text, Need::optional},
    {"boot_time", Kind::filledText, Need::optional},
    {"is_simulator", Kind::flag},
};

constexpr KeyRule kOs[] = {
    {"name", Kind::filledText},
    {"version", Kind::text},
    {"build", Kind::text, Need::optional},
    {"is_rooted", Kind::flag, Need::optional},
};

constexpr KeyRule kBrowser[] = {{"name", Kind::text}, {"version", Kind::text}};

constexpr KeyRule kRuntime[] = {
    {"language", Kind::filledText}, {"languages", Kind::array}, {"timezone", Kind::text}};

constexpr KeyRule kHardware[] = {
    {"memory_gb", Kind::integer},
    {"cpu_cores", Kind::integer},
    {"max_touch_points", Kind::integer},
    {"connection_type", Kind::text, Need::optional},
    {"connection_downlink", Kind::number, Need::optional},
    {"free_memory", Kind::number, Need::optional},
    {"usable_memory", Kind::number, Need::optional},
    {"battery_level", Kind::number, Need::optional},
    {"battery_temperature", Kind::number, Need::optional},
    {"is_charging", Kind::flag, Need::optional},
    {"processor_count", Kind::integer},
    {"free_storage", Kind::number, Need::optional},
    {"storage_size", Kind::number, Need::optional},
    {"archs", Kind::array, Need::optional},
    {"brand", Kind::text},
    {"manufacturer", Kind::text},
    {"screen_dpi", Kind::integer, Need::optional},
    {"low_memory", Kind::flag, Need::optional},
    {"thermal_state", Kind::text, Need::optional},
    {"carrier", Kind::text, Need::optional},
};

constexpr KeyRule kApp[] = {
    {"version", Kind::text},
    {"build", Kind::text},
    {"bundle_id", Kind::text},
    {"name", Kind::text, Need::optional},
    {"build_type", Kind::text, Need::optional},
    {"start_time", Kind::text, Need::optional},
    {"in_foreground", Kind::flag, Need::optional},
};

constexpr KeyRule kCulture[] = {
    {"locale", Kind::text},
    {"calendar", Kind::text},
    {"uses_24h_format", Kind::flag},
    {"region", Kind::text, Need::optional},
};

void checkWord(ObjectCheck& check, std::string_view key,
               std::initializer_list<std::string_view> words) {
  if (check.find(key) == nullptr) return;
  const std::string word = check.text(key);
  if (std::find(words.begin(), words.end(), word) == words.end()) {
    check.problem(key, "is not a known one: " + quoted(word));
  }
}

void checkNotNegative(ObjectCheck& check, std::initializer_list<std::string_view> keys) {
  for (const std::string_view key : keys) {
    const rapidjson::Value* value = check.find(key);
    if (value != nullptr && value->GetDouble() < 0) check.problem(key, "must not be negative");
  }
}

void checkTexts(ObjectCheck& check, std::string_view key) {
  const rapidjson::Value* list = check.find(key);
  if (list == nullptr) return;
  const bool good =
      std::all_of(list->Begin(), list->End(), [](const auto& each) { return each.IsString(); });
  if (!good) check.problem(key, "must be a list of strings");
}

bool isHash(std::string_view text) {
  return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

// "2026-01-31T09:30:00Z", with or without a fraction of a second.
bool isTime(std::string text) {
  const std::size_t fraction = text.find('.');
  if (fraction != std::string::npos) {
    const std::size_t end = text.find_first_not_of("0123456789", fraction + 1);
    if (end == fraction + 1 || end == std::string::npos) return false;
    text.erase(fraction, end - fraction);
  }
  return parseWireTime(text).has_value();
}

void checkTime(ObjectCheck& check, std::string_view key) {
  if (check.find(key) != nullptr && !isTime(check.text(key))) {
    check.problem(key, "is no time in UTC: " + quoted(check.text(key)));
  }
}

void checkDevice(const rapidjson::Value& device, std::vector<std::string>& problems) {
  ObjectCheck check(device, "context.device.", kDevice, problems);
  checkWord(check, "orientation", {"portrait", "landscape"});
  checkWord(check, "device_class", {"low", "medium", "high"});
  checkTime(check, "boot_time");
  checkNotNegative(check, {"screen_width_px", "screen_height_px", "screen_density"});
  if (check.find("device_hash") != nullptr && !isHash(check.text("device_hash"))) {
    check.problem("device_hash", "must be 64 lower-case hexadecimal digits");
  }
}

void checkHardware(const rapidjson::Value& hardware, std::vector<std::string>& problems) {
  ObjectCheck check(hardware, "context.hardware.", kHardware, problems);
  checkWord(check, "connection_type", {"unknown", "offline", "wifi", "cellular", "ethernet"});
  checkWord(check, "thermal_state", {"nominal", "fair", "serious", "critical", "unknown"});
  checkNotNegative(check, {"memory_gb", "cpu_cores", "max_touch_points", "processor_count",
                           "free_memory", "usable_memory", "free_storage", "storage_size"});
  checkTexts(check, "archs");
  const rapidjson::Value* level = check.find("battery_level");
  if (level != nullptr && (level->GetDouble() < 0 || level->GetDouble() > 1)) {
    check.problem("battery_level", "must be between 0 and 1");
  }
}

}  // namespace

void checkEnrichedContext(const rapidjson::Value& context, std::vector<std::string>& problems) {
  const ObjectCheck parts(context, "context.", kParts, problems);
  const auto plain = [&](std::string_view name, std::span<const KeyRule> rules) {
    if (const rapidjson::Value* part = parts.find(name)) {
      ObjectCheck(*part, "context." + std::string(name) + ".", rules, problems);
    }
  };
  if (const rapidjson::Value* device = parts.find("device")) checkDevice(*device, problems);
  plain("os", kOs);
  plain("browser", kBrowser);
  if (const rapidjson::Value* runtime = parts.find("runtime")) {
    ObjectCheck check(*runtime, "context.runtime.", kRuntime, problems);
    checkTexts(check, "languages");
  }
  if (const rapidjson::Value* hardware = parts.find("hardware")) checkHardware(*hardware, problems);
  if (const rapidjson::Value* app = parts.find("app")) {
    ObjectCheck check(*app, "context.app.", kApp, problems);
    checkTime(check, "start_time");
  }
  plain("culture", kCulture);
}

}  // namespace zarn::collector
