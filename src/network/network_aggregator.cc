#include "network/network_aggregator.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "base/percent_encoding.h"
#include "base/value_access.h"
#include "network/network_record_buffer.h"
#include "network/route.h"
#include "platform/clock.h"

namespace zarn::network {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr std::uint64_t kTicksPerWindow = 6;
constexpr std::size_t kMostRoutes = 20;
constexpr Seconds kDiagnosticWindow{60};

struct LatencySlot {
  std::int32_t belowMs;
  std::string_view name;
};
constexpr std::array<LatencySlot, 4> kLatencySlots = {
    {{100, "lt_100ms"}, {300, "lt_300ms"}, {1000, "lt_1s"}, {3000, "lt_3s"}}};
constexpr std::string_view kSlowestSlot = "gte_3s";

std::size_t latencySlotOf(std::int32_t durationMs) {
  std::size_t slot = 0;
  while (slot < kLatencySlots.size() && durationMs >= kLatencySlots[slot].belowMs) ++slot;
  return slot;
}

/// A name or address of a server is the host app's own; anything else is text like any other, which
/// the filter for personal data would not know in its encoded form.
Value hostValue(const std::string& host) {
  if (host.empty() || isPlainHost(host)) return base::ValueAccess::opaque(host);
  return Value(base::percentDecoded(host));
}

}  // namespace

NetworkAggregator::NetworkAggregator(NetworkRecordBuffer& buffer, const platform::Clock& clock,
                                     OwnHosts ownHosts, NetworkEvents events, Token generation)
    : buffer_(buffer),
      clock_(clock),
      ownHosts_(std::move(ownHosts)),
      events_(std::move(events)),
      generation_(generation),
      windowStart_(clock.now()) {}

void NetworkAggregator::tick() {
  drain();
  if (++drainTickCount_ % kTicksPerWindow == 0) tellWindow();
}

void NetworkAggregator::flush() {
  drain();
  tellWindow();
}

void NetworkAggregator::drain() {
  // Before the records: of those that come meanwhile, the next drain decides.
  const Token now = events_.currentGeneration();
  const auto drained = buffer_.drain();
  if (now != generation_) {
    generation_ = now;
    return beginWindow(clock_.now());
  }
  windowDroppedRecords_ += drained.dropped;
  for (const NetworkRecord& record : drained.records) count(record);
}

void NetworkAggregator::count(const NetworkRecord& record) {
  const std::string comparable = comparableHost(record.host);
  if (ownHosts_.contain(comparable)) return;
  const Key key{record.host, routeOf(record.rawPath), statusBucketOf(record.statusCode)};
  Bucket& bucket = aggregates_[key];
  ++bucket.count;
  ++bucket.latency[latencySlotOf(record.durationMs)];
  bucket.requestBytes += record.requestBytes;
  bucket.responseBytes += record.responseBytes;
  if (takesDiagnostics(record, comparable)) tellDiagnostics(record, key.route);
}

void NetworkAggregator::tellWindow() {
  const Date now = clock_.now();
  if (!aggregates_.empty() || windowDroppedRecords_ > 0) {
    events_.emit("network_summary", summary(now), generation_);
  }
  beginWindow(now);
}

void NetworkAggregator::beginWindow(Date now) {
  aggregates_.clear();
  windowDroppedRecords_ = 0;
  windowStart_ = now;
}

Properties NetworkAggregator::summary(Date now) const {
  std::int64_t total = 0;
  std::vector<const Entry*> entries;
  for (const Entry& entry : aggregates_) {
    total += entry.second.count;
    entries.push_back(&entry);
  }
  // The map's own order decides between equals.
  std::stable_sort(entries.begin(), entries.end(), [](const Entry* a, const Entry* b) {
    return a->second.count > b->second.count;
  });
  const std::size_t kept = std::min(entries.size(), kMostRoutes);
  Array routes;
  for (std::size_t i = 0; i < kept; ++i) routes.emplace_back(routeObject(*entries[i]));
  const double window = Seconds(now - windowStart_).count();
  return {{"window_seconds", std::llround(std::max(window, 0.0))},
          {"total_requests", total},
          {"dropped_records", windowDroppedRecords_},
          {"dropped_routes", entries.size() - kept},
          {"routes", std::move(routes)}};
}

Properties NetworkAggregator::routeObject(const Entry& entry) {
  const auto& [key, bucket] = entry;
  Properties route{{"host", hostValue(key.host)},
                   {"route", base::ValueAccess::opaque(key.route)},
                   {"status_bucket", base::ValueAccess::opaque(std::string(key.statusBucket))},
                   {"count", bucket.count},
                   {"request_bytes", bucket.requestBytes},
                   {"response_bytes", bucket.responseBytes}};
  for (std::size_t i = 0; i < kLatencySlots.size(); ++i) {
    route.set(kLatencySlots[i].name, bucket.latency[i]);
  }
  route.set(kSlowestSlot, bucket.latency.back());
  return route;
}

void NetworkAggregator::enableDiagnostics(double maxEventsPerMin,
                                          const std::vector<std::string>& allowlist) {
  diagnosticMaxEventsPerMin_ = maxEventsPerMin;
  diagnosticAllowlist_.clear();
  for (const auto& host : allowlist) diagnosticAllowlist_.push_back(comparableHost(host));
}

void NetworkAggregator::disableDiagnostics() {
  diagnosticAllowlist_.clear();
}

bool NetworkAggregator::takesDiagnostics(const NetworkRecord& record, std::string_view comparable) {
  // The event's name holds the host, and names are not filtered.
  if (diagnosticAllowlist_.empty() || !isPlainHost(record.host)) return false;
  if (std::none_of(diagnosticAllowlist_.begin(), diagnosticAllowlist_.end(),
                   [&](const std::string& allowed) { return isWithin(comparable, allowed); })) {
    return false;
  }
  // A clock that was set back begins a new window too: it would otherwise silence all until then.
  if (!diagnosticWindowStart_ ||
      std::chrono::abs(record.timestamp - *diagnosticWindowStart_) >= kDiagnosticWindow) {
    diagnosticWindowStart_ = record.timestamp;
    diagnosticEmittedInWindow_ = 0;
  }
  if (!(diagnosticMaxEventsPerMin_ > static_cast<double>(diagnosticEmittedInWindow_))) return false;
  ++diagnosticEmittedInWindow_;
  return true;
}

void NetworkAggregator::tellDiagnostics(const NetworkRecord& record,
                                        const std::string& route) const {
  const std::string place = record.host + route;
  const std::string_view method = wordOf(record.method);
  Properties properties{{"url", base::ValueAccess::opaque(place)},
                        {"method", base::ValueAccess::opaque(std::string(method))},
                        {"status_code", record.statusCode},
                        {"duration", record.durationMs},
                        {"request_bytes", record.requestBytes},
                        {"response_bytes", record.responseBytes},
                        {"diagnostic", true}};
  if (record.dnsMs >= 0) properties.set("dns_ms", record.dnsMs);
  if (record.connectMs >= 0) properties.set("connect_ms", record.connectMs);
  if (record.ttfbMs >= 0) properties.set("ttfb_ms", record.ttfbMs);
  events_.emit(std::string(method) + " " + place, properties, generation_);
}

}  // namespace zarn::network
