#include "server/installation_queries.h"

#include <algorithm>
#include <vector>

#include "server/row_json.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

constexpr std::size_t kMostShown = 500;

constexpr std::string_view kInstallations =
    "SELECT id, project, environment, app, device, first_ms, last_ms, batches, events, app_version,"
    " sdk_version, (SELECT count(*) FROM installations AS other WHERE other.project = it.project"
    " AND other.environment = it.environment AND other.app = it.app)"
    " FROM installations AS it";

// Leaves the object open.
void writeInstallation(JsonOut& out, const Statement& row) {
  out.object()
      .field("id", row.number(0))
      .field("project_id", row.text(1))
      .field("environment", row.text(2))
      .field("app", row.text(3))
      .field("device_id", row.text(4));
  writeTime(out, "first_seen", row, 5);
  writeTime(out, "last_seen", row, 6);
  out.field("batches", row.number(7))
      .field("events", row.number(8))
      .optional("app_version", row.text(9))
      .optional("sdk_version", row.text(10))
      .field("app_installations", row.number(11));
}

constexpr std::string_view kIdentityRows =
    "SELECT anonymous, user, timestamp, received_ms FROM events"
    " WHERE batch IN (SELECT id FROM batches WHERE installation = ?1) ORDER BY timestamp, seq";

constexpr std::string_view kSessions = R"sql(
  SELECT session, min(timestamp), max(timestamp), count(*), sum(type = 'session_start'),
    sum(type = 'session_end'), group_concat(DISTINCT user), min(batch), max(batch)
  FROM events WHERE batch IN (SELECT id FROM batches WHERE installation = ?1)
  GROUP BY session ORDER BY min(timestamp) DESC, min(seq) DESC LIMIT 500)sql";

constexpr std::string_view kContexts =
    "SELECT first_ms, last_ms, batches, first_batch, context FROM contexts WHERE installation = ?1"
    " ORDER BY id DESC LIMIT 500";

constexpr std::string_view kBatches =
    "SELECT id, received_ms, status, cause, events, stored, policy_exchange, policy_revision"
    " FROM batches WHERE installation = ?1 ORDER BY id DESC LIMIT 500";

// Events that happened one after the other with the same ids.
struct Stretch {
  std::string anonymous, user;
  std::int64_t from = 0, until = 0;  // seconds since 1970; 0: no event tells
  std::int64_t firstMs = 0, lastMs = 0;
  std::int64_t events = 0;
};

void add(std::vector<Stretch>& stretches, const Statement& row) {
  const std::int64_t second = row.number(2), ms = row.number(3);
  if (stretches.empty() || stretches.back().anonymous != row.text(0) ||
      stretches.back().user != row.text(1)) {
    stretches.push_back({std::string(row.text(0)), std::string(row.text(1)), second, second, ms});
  }
  Stretch& last = stretches.back();
  last.until = second;
  last.firstMs = std::min(last.firstMs, ms);
  last.lastMs = std::max(last.lastMs, ms);
  ++last.events;
}

void writeStretch(JsonOut& out, const Stretch& stretch) {
  const auto text = [&](std::string_view key, const std::string& value) {
    out.key(key);
    value.empty() ? out.null() : out.value(value);
  };
  const auto second = [&](std::string_view key, std::int64_t value) {
    out.key(key);
    value == 0 ? out.null() : out.value(value);
  };
  out.object();
  text("anonymous_id", stretch.anonymous);
  text("user_id", stretch.user);
  second("from", stretch.from);
  second("until", stretch.until);
  out.field("first_received_at", isoText(stretch.firstMs))
      .field("last_received_at", isoText(stretch.lastMs))
      .field("events", stretch.events)
      .end();
}

// Who used the installation, the newest first.
bool writeIdentities(JsonOut& out, Lease& lease, std::int64_t installation) {
  Statement query(*lease, kIdentityRows);
  query.bind(1, installation);
  std::vector<Stretch> stretches;
  if (!lease.each(query, [&](const Statement& row) { add(stretches, row); })) return false;
  out.key("identities").array();
  const std::size_t shown = std::min<std::size_t>(stretches.size(), kMostShown);
  for (std::size_t i = 0; i < shown; ++i) writeStretch(out, stretches[stretches.size() - 1 - i]);
  out.end();
  return true;
}

void writeSession(JsonOut& out, const Statement& row) {
  out.object().field("session_id", row.text(0));
  writeNumber(out, "from", row, 1);
  writeNumber(out, "until", row, 2);
  out.field("events", row.number(3))
      .field("starts", row.number(4))
      .field("ends", row.number(5))
      .optional("users", row.text(6))
      .field("first_batch", row.number(7))
      .field("last_batch", row.number(8))
      .end();
}

void writeContext(JsonOut& out, const Statement& row) {
  out.object();
  writeTime(out, "first_seen", row, 0);
  writeTime(out, "last_seen", row, 1);
  out.field("batches", row.number(2))
      .field("first_batch", row.number(3))
      .key("context")
      .raw(row.text(4))
      .end();
}

void writeBatch(JsonOut& out, const Statement& row) {
  out.object().field("id", row.number(0));
  writeTime(out, "received_at", row, 1);
  out.field("status", row.number(2))
      .optional("cause", row.text(3))
      .field("events", row.number(4))
      .field("stored", row.number(5));
  writeNumber(out, "policy_exchange", row, 6);
  writeNumber(out, "policy_revision", row, 7);
  out.end();
}

}  // namespace

InstallationQueries::Result InstallationQueries::list(const std::string& project,
                                                      std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Statement query(*lease, std::string(kInstallations) +
                              " WHERE ?1 = '' OR project = ?1 ORDER BY last_ms DESC, id DESC"
                              " LIMIT 500");
  query.bind(1, project);
  JsonOut out;
  out.object().key("installations").array();
  const bool good = lease.each(query, [&](const Statement& row) {
    writeInstallation(out, row);
    out.end();
  });
  if (!good) return std::nullopt;
  return out.end().end().take();
}

InstallationQueries::Result InstallationQueries::details(std::int64_t id, std::string& error) {
  Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  JsonOut out;
  bool found = false;
  Statement one(*lease, std::string(kInstallations) + " WHERE id = ?1");
  one.bind(1, id);
  if (!lease.each(one, [&](const Statement& row) {
        writeInstallation(out, row);
        found = true;
      })) {
    return std::nullopt;
  }
  if (!found) return std::string();
  if (!writeIdentities(out, lease, id)) return std::nullopt;
  const struct {
    std::string_view key, sql;
    void (*write)(JsonOut&, const Statement&);
  } parts[] = {{"sessions", kSessions, writeSession},
               {"contexts", kContexts, writeContext},
               {"recent_batches", kBatches, writeBatch}};
  for (const auto& part : parts) {
    Statement query(*lease, part.sql);
    query.bind(1, id);
    out.key(part.key).array();
    if (!lease.each(query, [&](const Statement& row) { part.write(out, row); }))
      return std::nullopt;
    out.end();
  }
  return out.end().take();
}

}  // namespace zarn::collector
