#include "server/parameters.h"

#include <algorithm>
#include <charconv>

#include "server/json.h"
#include "server/object_check.h"
#include "server/query_sql.h"

namespace zarn::collector {
namespace {

constexpr std::string_view kProperty = "property.";

}  // namespace

std::string Parameters::text(const std::string& name) {
  read_.push_back(name);
  return request_.parameter(name);
}

std::int64_t Parameters::number(const std::string& name, std::int64_t byDefault, std::int64_t least,
                                std::int64_t most) {
  const std::string given = text(name);
  if (given.empty()) return byDefault;
  std::int64_t value = 0;
  const char* end = given.data() + given.size();
  const auto [stop, failure] = std::from_chars(given.data(), end, value);
  if (failure == std::errc() && stop == end && value >= least && value <= most) return value;
  error_ = quoted(name) + " must be a whole number from " + std::to_string(least) + " to " +
           std::to_string(most);
  return byDefault;
}

std::optional<bool> Parameters::flag(const std::string& name) {
  const std::string given = text(name);
  if (given.empty()) return std::nullopt;
  if (given != "true" && given != "false") error_ = quoted(name) + " must be true or false";
  return given == "true";
}

EventFilter Parameters::filter() {
  EventFilter filter;
  filter.type = text("type");
  filter.name = text("name");
  filter.user = text("user");
  filter.session = text("session");
  filter.device = text("device");
  filter.text = text("text");
  filter.valid = flag("valid");
  filter.batch = number("batch", 0, 1, INT64_MAX);
  for (const auto& [name, value] : request_.parameters) {
    if (!name.starts_with(kProperty)) continue;
    read_.push_back(name);
    const std::string key = name.substr(kProperty.size());
    if (!propertyPath(key)) error_ = quoted(name) + " names no property";
    filter.properties.emplace_back(key, value);
  }
  return filter;
}

Page Parameters::page(bool ascendingByDefault) {
  Page page;
  page.since = number("since", 0, 0, INT64_MAX);
  page.before = number("before", 0, 1, INT64_MAX);
  page.limit = number("limit", page.limit, 1, Page::kMost);
  page.ascending = ascendingByDefault || !request_.parameter("since").empty();
  const std::string order = text("order");
  if (!order.empty()) page.ascending = order == "asc";
  if (!order.empty() && order != "asc" && order != "desc") {
    error_ = "\"order\" must be asc or desc";
  }
  return page;
}

std::string Parameters::error() {
  for (const auto& [name, value] : request_.parameters) {
    if (std::find(read_.begin(), read_.end(), name) == read_.end()) {
      return quoted(name) + " is no parameter of " + request_.path;
    }
  }
  return error_;
}

std::string lastPart(const Request& request) {
  return request.path.substr(request.path.rfind('/') + 1);
}

std::int64_t numberIn(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  return failure == std::errc() && end == text.data() + text.size() ? value : 0;
}

bool readReason(const Request& request, std::string& reason) {
  if (request.body.empty()) return true;
  rapidjson::Document body;
  std::string ignored;
  if (!parseJson(request.body, body, ignored) || !body.IsObject()) return false;
  for (const auto& member : std::as_const(body).GetObject()) {
    if (textOf(member.name) != "reason" || !member.value.IsString()) return false;
    reason = textOf(member.value);
  }
  return true;
}

}  // namespace zarn::collector
