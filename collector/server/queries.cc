#include "server/queries.h"
#include "server/page_json.h"

#include "server/page_json.h"
#include "server/query_sql.h"
#include "server/row_json.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

constexpr std::string_view kEventColumns =
    "SELECT seq, event_id, batch, position, received_ms, type, name, user, session, device,"
    " timestamp, problems, raw FROM events";

constexpr std::string_view kBatchColumns =
    "SELECT id, received_ms, status, cause, bytes, events, stored, duplicates, conflicts, withheld,"
    " invalid, accepted, permanent, transient, project, environment, sdk_version, app_version,"
    " bundle_id, release_id, launch, sent_at, problems, policy_revision, policy_exchange";

constexpr std::string_view kProperty = "property:";

void writeEvent(JsonOut& out, const Statement& row) {
  out.object()
      .field("seq", row.number(0))
      .optional("event_id", row.text(1))
      .field("batch", row.number(2))
      .field("position", row.number(3))
      .field("received_at", isoText(row.number(4)))
      .field("event_type", row.text(5))
      .field("event_name", row.text(6))
      .optional("user_id", row.text(7))
      .field("session_id", row.text(8))
      .field("device_id", row.text(9))
      .field("valid", row.isNull(11));
  if (!row.isNull(10)) out.field("timestamp", row.number(10));
  writeProblems(out, row.text(11));
  out.key("event").raw(row.text(12)).end();
}

// Leaves the object open, for what only the view of a single batch has.
void writeBatch(JsonOut& out, const Statement& row) {
  constexpr std::string_view counts[] = {"bytes",     "events",   "stored",  "duplicates",
                                         "conflicts", "withheld", "invalid", "accepted",
                                         "permanent", "transient"};
  constexpr std::string_view texts[] = {"project_id", "environment", "sdk_version", "app_version",
                                        "bundle_id",  "release_id",  "launch",      "sent_at"};
  out.object()
      .field("id", row.number(0))
      .field("received_at", isoText(row.number(1)))
      .field("status", row.number(2))
      .optional("cause", row.text(3));
  int column = 4;
  for (const std::string_view key : counts) out.field(key, row.number(column++));
  for (const std::string_view key : texts) out.optional(key, row.text(column++));
  writeProblems(out, row.text(column));
  writeNumber(out, "policy_exchange", row, column + 2);
  out.key("policy_revision");
  row.isNull(column + 2) ? out.null() : out.value(row.number(column + 1));
}

std::optional<std::string> pathOf(const std::string& field) {
  if (!field.starts_with(kProperty)) return std::nullopt;
  return propertyPath(field.substr(kProperty.size()));
}

std::optional<std::string> columnOf(const std::string& field) {
  for (const char* plain : {"type", "name", "user", "session", "device", "batch"}) {
    if (field == plain) return "events." + field;
  }
  if (field == "launch") return "(SELECT launch FROM batches WHERE id = events.batch)";
  if (pathOf(field)) return "CAST(json_extract(events.raw, ?) AS TEXT)";
  return std::nullopt;
}

}  // namespace

Queries::Result Queries::events(const EventFilter& filter, const Page& page, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where(filter);
  where.addPage(page, "events.seq");
  Statement query(*lease, std::string(kEventColumns) + where.sql() + orderSql(page, "events.seq"));
  where.bindTo(query, 1);
  return pageJson(lease, query, "events", page, writeEvent);
}

Queries::Result Queries::event(std::int64_t seq, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Statement query(*lease, std::string(kEventColumns) + " WHERE seq = ?");
  query.bind(1, seq);
  JsonOut out;
  bool found = false;
  const bool good = lease.each(query, [&](const Statement& row) {
    writeEvent(out, row);
    found = true;
  });
  if (!good) return std::nullopt;
  return found ? out.take() : std::string();
}

bool Queries::isField(const std::string& field) {
  return columnOf(field).has_value();
}

Queries::Result Queries::ids(const EventFilter& filter, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where(filter);
  where.add("events.event_id IS NOT NULL");
  Statement query(*lease, "SELECT event_id FROM events" + where.sql() + " ORDER BY seq");
  where.bindTo(query, 1);
  JsonOut out;
  out.object().key("ids").array();
  std::int64_t shown = 0;
  const bool good = lease.each(query, [&](const Statement& row) {
    out.value(row.text(0));
    ++shown;
  });
  if (!good) return std::nullopt;
  return out.end().field("count", shown).end().take();
}

Queries::Result Queries::count(const EventFilter& filter, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  const Where where(filter);
  Statement query(*lease, "SELECT count(*) FROM events" + where.sql());
  where.bindTo(query, 1);
  std::int64_t found = 0;
  if (!lease.each(query, [&](const Statement& row) { found = row.number(0); })) return std::nullopt;
  return JsonOut().object().field("count", found).end().take();
}

Queries::Result Queries::countsBy(const std::string& field, const EventFilter& filter,
                                  std::string& error) {
  const auto column = columnOf(field);
  const auto path = pathOf(field);
  if (!column) return std::nullopt;
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  const Where where(filter);
  Statement query(*lease, "SELECT " + *column + " AS v, count(*) FROM events" + where.sql() +
                              " GROUP BY v ORDER BY 2 DESC, v LIMIT 10000");
  int index = 1;
  if (path) query.bind(index++, std::string_view(*path));
  where.bindTo(query, index);
  JsonOut out;
  out.object().field("field", field).key("values").array();
  const bool good = lease.each(query, [&](const Statement& row) {
    out.object().key("value");
    row.isNull(0) ? out.null() : out.value(row.text(0));
    out.field("count", row.number(1)).end();
  });
  if (!good) return std::nullopt;
  return out.end().end().take();
}

Queries::Result Queries::batches(const Page& page, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Where where;
  where.addPage(page, "id");
  Statement query(
      *lease, std::string(kBatchColumns) + " FROM batches" + where.sql() + orderSql(page, "id"));
  where.bindTo(query, 1);
  return pageJson(lease, query, "batches", page, [](JsonOut& out, const Statement& row) {
    writeBatch(out, row);
    out.end();
  });
}

Queries::Result Queries::batch(std::int64_t id, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Statement query(*lease, std::string(kBatchColumns) +
                              ", envelope, items, response FROM batches"
                              " WHERE id = ?");
  query.bind(1, id);
  std::string found;
  const bool good = lease.each(query, [&](const Statement& row) {
    constexpr int envelope = 25, items = 26, response = 27;
    JsonOut out;
    writeBatch(out, row);
    out.key("envelope").raw(row.text(envelope)).key("items").raw(row.text(items));
    writeBody(out, "response", row.text(response));
    found = out.end().take();
  });
  if (!good) return std::nullopt;
  return found;
}

}  // namespace zarn::collector
