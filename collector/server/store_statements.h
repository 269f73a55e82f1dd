// The store's prepared statements.
#pragma once

#include "server/store.h"

namespace zarn::collector {

struct Store::Statements {
  explicit Statements(Database& database)
      : addEvent(database,
                 "INSERT INTO events(seq, event_id, batch, position, received_ms, type, name, user,"
                 " session, device, timestamp, problems, raw, anonymous)"
                 " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?)"),
        rawOf(database, "SELECT raw FROM events WHERE seq = ?"),
        addBatch(database,
                 "INSERT INTO batches(id, received_ms, bytes, status, cause, events, stored,"
                 " duplicates, conflicts, withheld, invalid, accepted, permanent, transient,"
                 " project, environment, sdk_version, app_version, bundle_id, release_id, launch,"
                 " sent_at, problems, envelope, items, response, policy_exchange, policy_revision,"
                 " installation)"
                 " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,nullif(?,0),?,"
                 "nullif(?,0))"),
        addExchange(database,
                    "INSERT INTO exchanges(id, received_ms, answered_ms, endpoint, project,"
                    " environment, app, app_version, sdk_version, status, cause, revision, newest,"
                    " paused, paused_reason, policy, batch, request, response, problems)"
                    " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,nullif(?,0),?,?,?)"),
        noteAnswered(database, "UPDATE exchanges SET answered_ms = ? WHERE id = ?"),
        lastPolicy(database,
                   "SELECT id, revision FROM exchanges WHERE project = ? AND environment = ?"
                   " AND app = ? AND answered_ms IS NOT NULL AND policy != ''"
                   " ORDER BY answered_ms DESC, id DESC LIMIT 1"),
        noteInstallation(database,
                         "INSERT INTO installations(project, environment, app, device, first_ms,"
                         " last_ms, batches, events, app_version, sdk_version)"
                         " VALUES(?1,?2,?3,?4,?5,?5,1,?6,?7,?8) ON CONFLICT DO UPDATE SET"
                         " last_ms = ?5, batches = batches + 1, events = events + ?6,"
                         " app_version = ?7, sdk_version = ?8 RETURNING id"),
        lastContext(database,
                    "SELECT id, context FROM contexts WHERE installation = ?"
                    " ORDER BY id DESC LIMIT 1"),
        addContext(database,
                   "INSERT INTO contexts(installation, first_ms, last_ms, batches, first_batch,"
                   " context) VALUES(?1,?2,?2,1,?3,?4)"),
        keepContext(database,
                    "UPDATE contexts SET last_ms = ?, batches = batches + 1 WHERE id = ?"),
        addRequest(database,
                   "INSERT INTO requests(received_ms, refusal, head, body_at, body_bytes)"
                   " VALUES(?,?,?,?,?)"),
        addChange(database,
                  "INSERT INTO changes(revision, changed_ms, project, policy_revision,"
                  " pause_revision, policy, paused, release_id, app_id, what)"
                  " VALUES(?,?,?,?,?,?,?,?,?,?)"),
        setAnswers(database, "INSERT OR REPLACE INTO answers(project, json) VALUES(?,?)"),
        removeAnswers(database, "DELETE FROM answers WHERE project = ?"),
        addScreenshot(database,
                      "REPLACE INTO screenshots(project, app, screen, received_ms, bundle_id,"
                      " platform, sdk_version, release_id, device, anonymous, user, width, height,"
                      " sha256, jpeg, uploads) VALUES(?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,"
                      "?14,?15, 1 + ifnull((SELECT uploads FROM screenshots"
                      " WHERE project = ?1 AND app = ?2 AND screen = ?3), 0))"),
        hasScreenshot(database,
                      "SELECT 1 FROM screenshots WHERE project = ? AND app = ? AND screen = ?"),
        removeScreenshots(database, "DELETE FROM screenshots WHERE project = ?") {}

  bool areGood() const {
    for (const Statement* each :
         {&addEvent, &rawOf, &addBatch, &addExchange, &noteAnswered, &lastPolicy, &addChange,
          &setAnswers, &addScreenshot, &hasScreenshot, &removeScreenshots}) {
      if (each->failed()) return false;
    }
    return true;
  }

  Statement addEvent;
  Statement rawOf;
  Statement addBatch;
  Statement addExchange;
  Statement noteAnswered;
  Statement lastPolicy;
  Statement noteInstallation;
  Statement lastContext;
  Statement addContext;
  Statement keepContext;
  Statement addRequest;
  Statement addChange;
  Statement setAnswers;
  Statement removeAnswers;
  Statement addScreenshot;
  Statement hasScreenshot;
  Statement removeScreenshots;
};

}  // namespace zarn::collector
