#include "server/schema.h"

namespace zarn::collector {
namespace {

constexpr std::int64_t kVersion = 2;

// `seq` is the order of arrival. `event_id` is unique where it is not null; the store sees to that.
// Texts that are lists or objects are JSON.
constexpr const char* kTables = R"sql(
CREATE TABLE IF NOT EXISTS events(
  seq INTEGER PRIMARY KEY,
  event_id TEXT,
  batch INTEGER NOT NULL,
  position INTEGER NOT NULL,
  received_ms INTEGER NOT NULL,
  type TEXT NOT NULL,
  name TEXT NOT NULL,
  user TEXT,
  session TEXT NOT NULL,
  device TEXT NOT NULL,
  anonymous TEXT,
  timestamp INTEGER,
  problems TEXT,
  raw TEXT NOT NULL
);
CREATE INDEX IF NOT EXISTS events_by_name ON events(name);
CREATE INDEX IF NOT EXISTS events_by_type ON events(type);
CREATE INDEX IF NOT EXISTS events_by_attribution ON events(seq)
  WHERE instr(raw, '"attribution_push_id"') > 0;
CREATE INDEX IF NOT EXISTS events_by_session ON events(session);
CREATE INDEX IF NOT EXISTS events_by_user ON events(user) WHERE user IS NOT NULL;
CREATE INDEX IF NOT EXISTS events_by_batch ON events(batch);
CREATE INDEX IF NOT EXISTS events_by_problem ON events(seq) WHERE problems IS NOT NULL;
CREATE TABLE IF NOT EXISTS batches(
  id INTEGER PRIMARY KEY,
  received_ms INTEGER NOT NULL,
  bytes INTEGER NOT NULL,
  status INTEGER NOT NULL,
  cause TEXT NOT NULL,
  events INTEGER NOT NULL,
  stored INTEGER NOT NULL,
  duplicates INTEGER NOT NULL,
  conflicts INTEGER NOT NULL,
  withheld INTEGER NOT NULL,
  invalid INTEGER NOT NULL,
  accepted INTEGER NOT NULL,
  permanent INTEGER NOT NULL,
  transient INTEGER NOT NULL,
  project TEXT NOT NULL,
  environment TEXT NOT NULL,
  sdk_version TEXT NOT NULL,
  app_version TEXT NOT NULL,
  bundle_id TEXT NOT NULL,
  release_id TEXT NOT NULL,
  launch TEXT NOT NULL,
  sent_at TEXT NOT NULL,
  problems TEXT NOT NULL,
  envelope TEXT NOT NULL,
  items TEXT NOT NULL,
  response TEXT NOT NULL,
  policy_exchange INTEGER,
  policy_revision INTEGER,
  installation INTEGER
);
CREATE TABLE IF NOT EXISTS installations(
  id INTEGER PRIMARY KEY,
  project TEXT NOT NULL,
  environment TEXT NOT NULL,
  app TEXT NOT NULL,
  device TEXT NOT NULL,
  first_ms INTEGER NOT NULL,
  last_ms INTEGER NOT NULL,
  batches INTEGER NOT NULL,
  events INTEGER NOT NULL,
  app_version TEXT NOT NULL,
  sdk_version TEXT NOT NULL,
  UNIQUE(project, environment, app, device)
);
CREATE TABLE IF NOT EXISTS contexts(
  id INTEGER PRIMARY KEY,
  installation INTEGER NOT NULL,
  first_ms INTEGER NOT NULL,
  last_ms INTEGER NOT NULL,
  batches INTEGER NOT NULL,
  first_batch INTEGER NOT NULL,
  context TEXT NOT NULL
);
CREATE INDEX IF NOT EXISTS contexts_by_installation ON contexts(installation);
CREATE TABLE IF NOT EXISTS requests(
  id INTEGER PRIMARY KEY,
  received_ms INTEGER NOT NULL,
  refusal TEXT NOT NULL,
  head TEXT NOT NULL,
  body_at INTEGER NOT NULL,
  body_bytes INTEGER NOT NULL
);
CREATE TABLE IF NOT EXISTS changes(
  revision INTEGER PRIMARY KEY,
  changed_ms INTEGER NOT NULL,
  project TEXT NOT NULL,
  policy_revision INTEGER NOT NULL,
  pause_revision INTEGER NOT NULL,
  policy TEXT NOT NULL,
  paused TEXT,
  release_id TEXT NOT NULL,
  app_id TEXT NOT NULL,
  what TEXT NOT NULL
);
CREATE TABLE IF NOT EXISTS exchanges(
  id INTEGER PRIMARY KEY,
  received_ms INTEGER NOT NULL,
  answered_ms INTEGER,
  endpoint TEXT NOT NULL,
  project TEXT NOT NULL,
  environment TEXT NOT NULL,
  app TEXT NOT NULL,
  app_version TEXT NOT NULL,
  sdk_version TEXT NOT NULL,
  status INTEGER NOT NULL,
  cause TEXT NOT NULL,
  revision INTEGER,
  newest INTEGER NOT NULL,
  paused INTEGER,
  paused_reason TEXT NOT NULL,
  policy TEXT NOT NULL,
  batch INTEGER,
  request TEXT NOT NULL,
  response TEXT NOT NULL,
  problems TEXT NOT NULL
);
CREATE INDEX IF NOT EXISTS exchanges_by_app ON exchanges(project, environment, app, answered_ms);
CREATE INDEX IF NOT EXISTS exchanges_by_endpoint ON exchanges(endpoint);
CREATE TABLE IF NOT EXISTS answers(
  project TEXT PRIMARY KEY,
  json TEXT NOT NULL
);
CREATE TABLE IF NOT EXISTS screenshots(
  id INTEGER PRIMARY KEY,
  project TEXT NOT NULL,
  app TEXT NOT NULL,
  screen TEXT NOT NULL,
  received_ms INTEGER NOT NULL,
  bundle_id TEXT NOT NULL,
  platform TEXT NOT NULL,
  sdk_version TEXT NOT NULL,
  release_id TEXT NOT NULL,
  device TEXT NOT NULL,
  anonymous TEXT NOT NULL,
  user TEXT NOT NULL,
  width INTEGER NOT NULL,
  height INTEGER NOT NULL,
  uploads INTEGER NOT NULL,
  sha256 TEXT NOT NULL,
  jpeg BLOB NOT NULL,
  UNIQUE(project, app, screen)
);
CREATE INDEX IF NOT EXISTS screenshots_by_sha256 ON screenshots(sha256);
PRAGMA user_version = 2;
)sql";

// From version 1, which kept init and config requests with less of what they meant.
constexpr const char* kFromVersion1 = R"sql(
ALTER TABLE events ADD COLUMN anonymous TEXT;
ALTER TABLE batches ADD COLUMN policy_exchange INTEGER;
ALTER TABLE batches ADD COLUMN policy_revision INTEGER;
ALTER TABLE batches ADD COLUMN installation INTEGER;
INSERT INTO exchanges(id, received_ms, endpoint, project, environment, app, app_version,
                      sdk_version, status, cause, newest, paused_reason, policy, request, response,
                      problems)
  SELECT id, received_ms, endpoint, '', '', '', '', '', status, cause, 0, '', '', request, response,
         problems FROM calls;
DROP TABLE calls;
)sql";

constexpr const char* kLateIndexes =
    "CREATE INDEX IF NOT EXISTS batches_by_installation ON batches(installation)";

std::int64_t versionOf(Database& database) {
  Statement version(database, "PRAGMA user_version");
  return version.step() ? version.number(0) : -1;
}

}  // namespace

bool prepareSchema(Database& database, std::string& error) {
  const std::int64_t version = versionOf(database);
  if (version > kVersion) {
    error = "it was written by a newer collector";
    return false;
  }
  const bool good = version >= 0 && database.run("PRAGMA journal_mode = WAL") &&
                    database.run("PRAGMA synchronous = NORMAL") &&
                    database.run("PRAGMA cache_size = -65536") && database.run("BEGIN") &&
                    database.run(kTables) && (version != 1 || database.run(kFromVersion1)) &&
                    database.run(kLateIndexes) && database.run("COMMIT");
  if (!good) error = database.message();
  return good;
}

}  // namespace zarn::collector
