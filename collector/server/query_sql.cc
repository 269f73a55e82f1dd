#include "server/query_sql.h"

namespace zarn::collector {
namespace {

std::string likePattern(std::string_view text) {
  std::string pattern = "%";
  for (const char c : text) {
    if (c == '%' || c == '_' || c == '\\') pattern += '\\';
    pattern += c;
  }
  return pattern + '%';
}

}  // namespace

Where::Where(const EventFilter& filter) {
  const auto addText = [this](std::string_view condition, const std::string& text) {
    if (!text.empty()) add(condition, text);
  };
  addText("events.type = ?", filter.type);
  addText("events.name = ?", filter.name);
  addText("events.user = ?", filter.user);
  addText("events.session = ?", filter.session);
  addText("events.device = ?", filter.device);
  if (!filter.text.empty()) add("events.raw LIKE ? ESCAPE '\\'", likePattern(filter.text));
  if (filter.valid) {
    add(*filter.valid ? "events.problems IS NULL" : "events.problems IS NOT NULL");
  }
  if (filter.batch > 0) add("events.batch = ?", filter.batch);
  for (const auto& [key, value] : filter.properties) {
    const auto path = propertyPath(key);
    add("CAST(json_extract(events.raw, ?) AS TEXT) = ?", path.value_or("$.properties.\"\""));
    values_.push_back(value);
  }
}

void Where::add(std::string_view condition) {
  sql_ += sql_.empty() ? " WHERE " : " AND ";
  sql_ += condition;
}

void Where::add(std::string_view condition, std::string value) {
  add(condition);
  values_.push_back(std::move(value));
}

void Where::add(std::string_view condition, std::int64_t value) {
  add(condition);
  values_.push_back(value);
}

void Where::addPage(const Page& page, std::string_view column) {
  if (page.since > 0) add(std::string(column) + " > ?", page.since);
  if (page.before > 0) add(std::string(column) + " < ?", page.before);
}

void Where::bindTo(Statement& statement, int index) const {
  for (const auto& value : values_) {
    if (const auto* text = std::get_if<std::string>(&value)) {
      statement.bind(index++, std::string_view(*text));
    } else {
      statement.bind(index++, std::get<std::int64_t>(value));
    }
  }
}

std::optional<std::string> propertyPath(std::string_view key) {
  if (key.empty() || key.find('"') != std::string_view::npos) return std::nullopt;
  return "$.properties.\"" + std::string(key) + "\"";
}

std::string orderSql(const Page& page, std::string_view column) {
  return " ORDER BY " + std::string(column) + (page.ascending ? " ASC" : " DESC") + " LIMIT " +
         std::to_string(page.limit);
}

}  // namespace zarn::collector
