#include "server/object_check.h"

#include <algorithm>

#include "server/json.h"

namespace zarn::collector {
namespace {

bool fits(const rapidjson::Value& value, Kind kind) {
  switch (kind) {
    case Kind::text:
      return value.IsString();
    case Kind::filledText:
      return value.IsString() && value.GetStringLength() > 0;
    case Kind::integer:
      return value.IsInt64();
    case Kind::number:
      return value.IsNumber();
    case Kind::flag:
      return value.IsBool();
    case Kind::object:
      return value.IsObject();
    case Kind::array:
      return value.IsArray();
  }
  return false;
}

std::string_view word(Kind kind) {
  switch (kind) {
    case Kind::text:
      return "a string";
    case Kind::filledText:
      return "a non-empty string";
    case Kind::integer:
      return "an integer";
    case Kind::number:
      return "a number";
    case Kind::flag:
      return "true or false";
    case Kind::object:
      return "an object";
    case Kind::array:
      return "an array";
  }
  return {};
}

}  // namespace

std::string quoted(std::string_view text) {
  constexpr std::size_t most = 60;
  if (text.size() <= most) return "\"" + std::string(text) + "\"";
  std::size_t cut = most;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return "\"" + std::string(text.substr(0, cut)) + "…\"";
}

ObjectCheck::ObjectCheck(const rapidjson::Value& object, std::string path,
                         std::span<const KeyRule> rules, std::vector<std::string>& problems)
    : path_(std::move(path)), problems_(problems) {
  found_.reserve(rules.size());
  for (const auto& member : object.GetObject()) {
    const std::string_view key = textOf(member.name);
    const auto rule = std::find_if(rules.begin(), rules.end(),
                                   [&](const KeyRule& each) { return each.key == key; });
    if (rule == rules.end()) {
      problems_.push_back("unknown key " + quoted(path_ + std::string(key)));
      continue;
    }
    if (std::any_of(found_.begin(), found_.end(),
                    [&](const Found& each) { return each.key == key; })) {
      problem(key, "appears more than once");
      continue;
    }
    const bool good = fits(member.value, rule->kind);
    if (!good) problem(key, "must be " + std::string(word(rule->kind)));
    found_.push_back({rule->key, good ? &member.value : nullptr});
  }
  for (const KeyRule& rule : rules) {
    if (rule.need == Need::optional) continue;
    if (std::none_of(found_.begin(), found_.end(),
                     [&](const Found& each) { return each.key == rule.key; })) {
      problem(rule.key, "is missing");
    }
  }
}

const rapidjson::Value* ObjectCheck::find(std::string_view key) const {
  for (const Found& each : found_) {
    if (each.key == key) return each.value;
  }
  return nullptr;
}

std::string ObjectCheck::text(std::string_view key) const {
  const rapidjson::Value* value = find(key);
  return value != nullptr && value->IsString() ? std::string(textOf(*value)) : std::string();
}

void ObjectCheck::problem(std::string_view key, std::string_view what) {
  problems_.push_back(path_ + std::string(key) + " " + std::string(what));
}

}  // namespace zarn::collector
