#include "server/screenshot_queries.h"

#include <array>

#include "server/json.h"
#include "server/query_sql.h"
#include "server/row_json.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

constexpr const char* kColumns =
    "SELECT screen, project, app, received_ms, width, height, length(jpeg), uploads, sha256,"
    " bundle_id, platform, sdk_version, release_id, device, anonymous, user FROM screenshots";

void writeScreenshot(JsonOut& out, const Statement& row) {
  const std::string_view state = screenKey(row.text(0)).state;
  out.object().field("screen_name", row.text(0)).key("state");
  state.empty() ? out.null() : out.value(state);
  out.field("project_id", row.text(1)).field("app_id", row.text(2));
  writeTime(out, "received_at", row, 3);
  out.field("width", row.number(4))
      .field("height", row.number(5))
      .field("bytes", row.number(6))
      .field("uploads", row.number(7))
      .field("sha256", row.text(8));
  int column = 9;
  for (const char* key : {"bundle_id", "platform", "sdk_version", "release_id", "device_id",
                          "anonymous_id", "user_id"}) {
    out.optional(key, row.text(column++));
  }
  out.end();
}

}  // namespace

ScreenKey screenKey(std::string_view key) {
  constexpr std::array<std::string_view, 5> states = {"loading", "empty", "error", "populated",
                                                      "normal"};
  for (const std::string_view state : states) {
    if (key.size() <= state.size() + 1 || !key.ends_with(state)) continue;
    const std::string_view rest = key.substr(0, key.size() - state.size());
    if (rest.back() == '_') return {rest.substr(0, rest.size() - 1), state};
  }
  return {key, {}};
}

Queries::Result ScreenshotQueries::list(const std::string& project, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where;
  if (!project.empty()) where.add("project = ?", project);
  Statement query(*lease, kColumns + where.sql() + " ORDER BY received_ms DESC, id DESC");
  where.bindTo(query, 1);
  JsonOut out;
  out.object().key("screenshots").array();
  if (!lease.each(query, [&](const Statement& row) { writeScreenshot(out, row); })) {
    return std::nullopt;
  }
  return out.end().end().take();
}

Queries::Result ScreenshotQueries::jpeg(std::string_view sha256, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Statement query(*lease, "SELECT jpeg FROM screenshots WHERE sha256 = ? LIMIT 1");
  query.bind(1, sha256);
  std::string jpeg;
  if (!lease.each(query, [&](const Statement& row) { jpeg = row.bytes(0); })) return std::nullopt;
  return jpeg;
}

}  // namespace zarn::collector
