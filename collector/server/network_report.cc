// The network part of Reports.
#include <array>
#include <map>

#include "server/frequencies.h"
#include "server/report_rows.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostHosts = 2'000;
constexpr std::size_t kMostRoutes = 20'000;  // of all hosts together
constexpr std::size_t kMostShown = 100;
constexpr std::int64_t kMostDiagnostics = 50;

constexpr std::array<std::string_view, 5> kSlots = {"lt_100ms", "lt_300ms", "lt_1s", "lt_3s",
                                                    "gte_3s"};
constexpr std::array<std::string_view, 6> kStatuses = {"2xx", "3xx",   "4xx",
                                                       "5xx", "error", "other"};

struct Traffic {
  std::int64_t count = 0, errors = 0, requestBytes = 0, responseBytes = 0;
  std::array<std::int64_t, kSlots.size()> latency{};
};

struct RouteTraffic {
  Traffic sum;
  std::array<std::int64_t, kStatuses.size()> statuses{};
};

struct HostTraffic {
  Traffic sum;
  std::map<std::string, RouteTraffic, std::less<>> routes;
};

struct Totals {
  std::int64_t requests = 0, droppedRecords = 0, droppedRoutes = 0, summaries = 0;
  std::size_t routes = 0;
  std::map<std::string, HostTraffic, std::less<>> hosts;
};

void add(Traffic& sum, const Traffic& more) {
  addTo(sum.count, more.count);
  addTo(sum.errors, more.errors);
  addTo(sum.requestBytes, more.requestBytes);
  addTo(sum.responseBytes, more.responseBytes);
  for (std::size_t i = 0; i < kSlots.size(); ++i) addTo(sum.latency[i], more.latency[i]);
}

void addRoute(Totals& totals, const rapidjson::Value& route) {
  if (!route.IsObject()) return;
  const std::string_view status = textIn(route, "status_bucket");
  const auto known = std::find(kStatuses.begin(), kStatuses.end() - 1, status);
  Traffic traffic;
  traffic.count = countIn(route, "count");
  if (status == "4xx" || status == "5xx" || status == "error") traffic.errors = traffic.count;
  traffic.requestBytes = countIn(route, "request_bytes");
  traffic.responseBytes = countIn(route, "response_bytes");
  for (std::size_t i = 0; i < kSlots.size(); ++i) traffic.latency[i] = countIn(route, kSlots[i]);

  HostTraffic* host = entryOf(totals.hosts, textIn(route, "host"), kMostHosts);
  if (host == nullptr) return;
  add(host->sum, traffic);
  const std::size_t others = totals.routes - host->routes.size();
  RouteTraffic* entry = entryOf(host->routes, textIn(route, "route"), kMostRoutes - others);
  totals.routes = others + host->routes.size();
  if (entry == nullptr) return;
  add(entry->sum, traffic);
  addTo(entry->statuses[static_cast<std::size_t>(known - kStatuses.begin())], traffic.count);
}

void addSummary(Totals& totals, const SentEvent& event) {
  ++totals.summaries;
  addTo(totals.requests, countIn(event.properties, "total_requests"));
  addTo(totals.droppedRecords, countIn(event.properties, "dropped_records"));
  addTo(totals.droppedRoutes, countIn(event.properties, "dropped_routes"));
  const rapidjson::Value* routes = memberOf(event.properties, "routes");
  if (routes == nullptr || !routes->IsArray()) return;
  for (const rapidjson::Value& route : routes->GetArray()) addRoute(totals, route);
}

void write(JsonOut& out, const Traffic& traffic) {
  out.field("count", traffic.count)
      .field("errors", traffic.errors)
      .field("request_bytes", traffic.requestBytes)
      .field("response_bytes", traffic.responseBytes)
      .key("latency")
      .array();
  for (const std::int64_t count : traffic.latency) out.value(count);
  out.end();
}

void write(JsonOut& out, const std::string& name, const RouteTraffic& route) {
  out.object().field("route", name);
  write(out, route.sum);
  out.key("statuses").object();
  for (std::size_t i = 0; i < kStatuses.size(); ++i) {
    if (route.statuses[i] > 0) out.field(kStatuses[i], route.statuses[i]);
  }
  out.end().end();
}

constexpr auto kBusier = [](const auto& a, const auto& b) { return a.sum.count > b.sum.count; };

void write(JsonOut& out, const Totals& totals) {
  out.field("total_requests", totals.requests)
      .field("dropped_records", totals.droppedRecords)
      .field("dropped_routes", totals.droppedRoutes)
      .field("summaries", totals.summaries)
      .key("hosts")
      .array();
  for (const auto* host : firstOf(totals.hosts, kMostShown, kBusier)) {
    out.object().field("host", host->first);
    write(out, host->second.sum);
    out.key("routes").array();
    for (const auto* route : firstOf(host->second.routes, kMostShown, kBusier)) {
      write(out, route->first, route->second);
    }
    out.end().end();
  }
  out.end();
}

void writeDiagnostic(JsonOut& out, const SentEvent& event) {
  openEvent(out, event);
  for (const std::string_view key : {"url", "method", "status_code", "duration", "request_bytes",
                                     "response_bytes", "dns_ms", "connect_ms", "ttfb_ms"}) {
    writeSent(out, event.properties, key);
  }
  out.end();
}

}  // namespace

Reports::Result Reports::network(const ReportScope& scope, std::string& error) {
  Connections::Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Totals totals;
  JsonOut out;
  out.object();
  const bool hasSums =
      eachEvent(lease, scope, "type = 'network' AND name = 'network_summary'", kAllRows,
                [&](const SentEvent& event) { addSummary(totals, event); });
  if (!hasSums) return std::nullopt;
  write(out, totals);
  out.key("diagnostics").array();
  const bool hasDiagnostics =
      eachEvent(lease, scope, "type = 'network' AND name != 'network_summary'", kMostDiagnostics,
                [&](const SentEvent& event) { writeDiagnostic(out, event); });
  if (!hasDiagnostics) return std::nullopt;
  return out.end().end().take();
}

}  // namespace zarn::collector
