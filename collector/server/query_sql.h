// Builds a WHERE clause with its bindings, never with text of a request inside the SQL.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <variant>

#include "server/queries.h"

namespace zarn::collector {

class Where {
 public:
  Where() = default;
  explicit Where(const EventFilter& filter);

  /// `condition` has one question mark for the value.
  void add(std::string_view condition, std::string value);
  void add(std::string_view condition, std::int64_t value);
  void add(std::string_view condition);
  /// The page's limits on the column that tells the order of arrival.
  void addPage(const Page& page, std::string_view column);

  const std::string& sql() const { return sql_; }
  void bindTo(Statement& statement, int firstIndex) const;

 private:
  std::string sql_;
  std::deque<std::variant<std::int64_t, std::string>> values_;
};

/// The path of a top-level property; nothing for a key that no path can name.
std::optional<std::string> propertyPath(std::string_view key);
/// `ORDER BY column ... LIMIT n` of a page.
std::string orderSql(const Page& page, std::string_view column);

}  // namespace zarn::collector
