// The kept events and calls as reports read them: newest first, parsed, and with whatever a client
// may have put into them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "server/connections.h"
#include "server/fault_rule.h"
#include "server/json.h"
#include "server/query_sql.h"
#include "server/reports.h"

namespace zarn::collector {

constexpr std::int64_t kAllRows = INT64_MAX;
/// How many rows a report's list shows, unless its documentation says otherwise.
constexpr std::int64_t kMostListed = 100;

/// Valid until the next one.
struct SentEvent {
  std::string_view id, type, name, device, session;
  std::int64_t ms;                     // its own time, or that of arrival where it has none
  const rapidjson::Value& properties;  // an object
};

/// A call about a link, an install or a push token.
struct SentCall {
  std::int64_t ms;
  std::int64_t status;  // 0: no answer was given
  std::string_view cause;
  const rapidjson::Value& request;   // an object
  const rapidjson::Value* response;  // an object; null: nothing that a client could read
};

/// `condition` is SQL about the table events. False, with the message noted, when the search
/// failed.
bool eachEvent(Connections::Lease& lease, const ReportScope& scope, std::string_view condition,
               std::int64_t limit, const std::function<void(const SentEvent&)>& read);
bool eachCall(Connections::Lease& lease, const ReportScope& scope, Endpoint endpoint,
              const std::function<void(const SentCall&)>& read);

/// The member of an object; null where there is none.
const rapidjson::Value* memberOf(const rapidjson::Value& object, std::string_view key);
/// Empty where the member is no text.
std::string_view textIn(const rapidjson::Value& object, std::string_view key);
/// 0 where the member is no whole number, or less than that.
std::int64_t countIn(const rapidjson::Value& object, std::string_view key);
/// Adds without running over.
void addTo(std::int64_t& sum, std::int64_t count);

/// Writes the member as it came, or null.
void writeSent(JsonOut& out, const rapidjson::Value& object, std::string_view key);
/// Opens an object with "event_id" and "time".
void openEvent(JsonOut& out, const SentEvent& event);

}  // namespace zarn::collector
