#include "server/report_rows.h"

#include "server/time_text.h"

namespace zarn::collector {
namespace {

using Lease = Connections::Lease;

// Parses what was kept; anything but an object becomes an empty one.
const rapidjson::Value& parsed(std::string_view json, rapidjson::Document& document) {
  std::string ignored;
  if (!parseJson(json, document, ignored) || !document.IsObject()) document.SetObject();
  return document;
}

void addTimes(Where& where, const ReportScope& scope) {
  if (scope.fromMs > 0) where.add("received_ms >= ?", scope.fromMs);
  if (scope.untilMs > 0) where.add("received_ms < ?", scope.untilMs);
}

std::string newest(std::string_view column, std::int64_t limit) {
  return " ORDER BY " + std::string(column) + " DESC LIMIT " + std::to_string(limit);
}

}  // namespace

bool eachEvent(Lease& lease, const ReportScope& scope, std::string_view condition,
               std::int64_t limit, const std::function<void(const SentEvent&)>& read) {
  Where where;
  where.add(condition);
  addTimes(where, scope);
  if (!scope.project.empty()) {
    where.add("(SELECT project FROM batches WHERE id = events.batch) = ?", scope.project);
  }
  Statement query(*lease,
                  "SELECT event_id, type, name, device, received_ms, timestamp, raw, session FROM"
                  " events" +
                      where.sql() + newest("seq", limit));
  where.bindTo(query, 1);
  return lease.each(query, [&](const Statement& row) {
    rapidjson::Document document;
    const rapidjson::Value& event = parsed(row.text(6), document);
    const rapidjson::Value* properties = memberOf(event, "properties");
    const rapidjson::Value none(rapidjson::kObjectType);
    const bool isObject = properties != nullptr && properties->IsObject();
    const std::int64_t ms = row.isNull(5) ? row.number(4) : row.number(5) * 1000;
    read({row.text(0), row.text(1), row.text(2), row.text(3), row.text(7), ms,
          isObject ? *properties : none});
  });
}

bool eachCall(Lease& lease, const ReportScope& scope, Endpoint endpoint,
              const std::function<void(const SentCall&)>& read) {
  Where where;
  where.add("endpoint = ?", std::string(endpointWord(endpoint)));
  where.add("cause != 'refused'");
  addTimes(where, scope);
  if (!scope.project.empty()) where.add("project = ?", scope.project);
  Statement query(*lease, "SELECT received_ms, status, cause, request, response FROM exchanges" +
                              where.sql() + newest("id", kMostListed));
  where.bindTo(query, 1);
  return lease.each(query, [&](const Statement& row) {
    rapidjson::Document request, response;
    std::string ignored;
    const bool isReadable = row.number(1) != 0 && row.text(2) != faultWord(FaultKind::cut) &&
                            parseJson(row.text(4), response, ignored) && response.IsObject();
    read({row.number(0), row.number(1), row.text(2), parsed(row.text(3), request),
          isReadable ? &response : nullptr});
  });
}

const rapidjson::Value* memberOf(const rapidjson::Value& object, std::string_view key) {
  const rapidjson::Value name(rapidjson::StringRef(key.data(), key.size()));
  const auto found = object.FindMember(name);
  return found == object.MemberEnd() ? nullptr : &found->value;
}

std::string_view textIn(const rapidjson::Value& object, std::string_view key) {
  const rapidjson::Value* value = memberOf(object, key);
  return value != nullptr && value->IsString() ? textOf(*value) : std::string_view();
}

std::int64_t countIn(const rapidjson::Value& object, std::string_view key) {
  const rapidjson::Value* value = memberOf(object, key);
  return value != nullptr && value->IsInt64() && value->GetInt64() > 0 ? value->GetInt64() : 0;
}

void addTo(std::int64_t& sum, std::int64_t count) {
  sum = count > INT64_MAX - sum ? INT64_MAX : sum + count;
}

void writeSent(JsonOut& out, const rapidjson::Value& object, std::string_view key) {
  const rapidjson::Value* value = memberOf(object, key);
  out.key(key);
  value == nullptr ? out.null() : out.raw(jsonOf(*value));
}

void openEvent(JsonOut& out, const SentEvent& event) {
  out.object().field("event_id", event.id).field("time", isoText(event.ms));
}

}  // namespace zarn::collector
