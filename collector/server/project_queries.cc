#include "server/project_queries.h"
#include "server/page_json.h"

#include "server/page_json.h"
#include "server/query_sql.h"
#include "server/row_json.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

constexpr std::string_view kExchangeColumns =
    "SELECT id, received_ms, answered_ms, endpoint, project, environment, app, app_version,"
    " sdk_version, status, cause, revision, newest, paused, paused_reason, policy, batch, request,"
    " response, problems FROM exchanges";

void writeExchange(JsonOut& out, const Statement& row) {
  out.object().field("id", row.number(0));
  writeTime(out, "received_at", row, 1);
  writeTime(out, "answered_at", row, 2);
  constexpr std::string_view texts[] = {"endpoint", "project_id",  "environment",
                                        "app",      "app_version", "sdk_version"};
  int column = 3;
  for (const std::string_view key : texts) out.optional(key, row.text(column++));
  out.field("status", row.number(9)).optional("cause", row.text(10));
  writeNumber(out, "revision", row, 11);
  out.field("newest_revision", row.number(12)).key("paused");
  row.isNull(13) ? out.null() : out.value(row.number(13) != 0);
  out.optional("paused_reason", row.text(14)).key("policy").raw(row.text(15));
  writeNumber(out, "batch", row, 16);
  writeBody(out, "request", row.text(17));
  writeBody(out, "response", row.text(18));
  writeProblems(out, row.text(19));
  out.end();
}

// Only these endpoints tell of the settings. The first and the last answer that told an app of the
// newest policy and of the newest pause.
constexpr std::string_view kReached = R"sql(
  SELECT environment, app, max(received_ms), count(*),
    min(CASE WHEN policy != '' AND revision >= ?1 THEN answered_ms END),
    min(CASE WHEN paused IS NOT NULL AND revision >= ?2 THEN answered_ms END),
    max(CASE WHEN answered_ms IS NOT NULL THEN revision END)
  FROM exchanges WHERE project = ?3 AND endpoint IN ('batch', 'init', 'recovery', 'config')
  GROUP BY environment, app ORDER BY environment, app)sql";

}  // namespace

ProjectQueries::Result ProjectQueries::exchanges(const ExchangeFilter& filter, const Page& page,
                                                 std::string_view key, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where;
  const auto addText = [&](std::string_view condition, const std::string& text) {
    if (!text.empty()) where.add(condition, text);
  };
  addText("project = ?", filter.project);
  addText("environment = ?", filter.environment);
  addText("app = ?", filter.app);
  addText("endpoint = ?", filter.endpoint);
  if (!filter.withBatches) where.add("endpoint != 'batch'");
  where.addPage(page, "id");
  Statement query(*lease, std::string(kExchangeColumns) + where.sql() + orderSql(page, "id"));
  where.bindTo(query, 1);
  return pageJson(lease, query, key, page, writeExchange);
}

ProjectQueries::Result ProjectQueries::reached(const std::string& project,
                                               const ProjectSettings& settings,
                                               std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Statement query(*lease, kReached);
  query.bind(1, settings.policyRevision).bind(2, settings.pauseRevision).bind(3, project);
  JsonOut out;
  out.array();
  const bool good = lease.each(query, [&](const Statement& row) {
    out.object().field("environment", row.text(0)).field("app", row.text(1));
    writeTime(out, "last_exchange_at", row, 2);
    out.field("exchanges", row.number(3));
    out.field("reached", !row.isNull(4) && !row.isNull(5));
    writeTime(out, "policy_reached_at", row, 4);
    writeTime(out, "pause_reached_at", row, 5);
    writeNumber(out, "last_revision", row, 6);
    out.end();
  });
  if (!good) return std::nullopt;
  return out.end().take();
}

std::optional<std::vector<std::string>> ProjectQueries::seenProjects(std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Statement query(*lease,
                  "SELECT project FROM exchanges UNION SELECT project FROM batches"
                  " ORDER BY 1 LIMIT 1000");
  std::vector<std::string> names;
  const bool good = lease.each(query, [&](const Statement& row) {
    if (!row.text(0).empty()) names.emplace_back(row.text(0));
  });
  if (!good) return std::nullopt;
  return names;
}

}  // namespace zarn::collector
