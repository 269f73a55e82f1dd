#include "server/tally.h"

#include <algorithm>
#include <vector>

#include "server/json.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

void writeCounts(JsonOut& out, std::string_view name, const Tally::Counts& counts) {
  constexpr std::size_t most = 500;
  using Pair = std::pair<std::string_view, std::int64_t>;
  std::vector<Pair> sorted(counts.begin(), counts.end());
  const std::size_t shown = std::min(most, sorted.size());
  std::partial_sort(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(shown),
                    sorted.end(), [](const Pair& a, const Pair& b) {
                      return a.second != b.second ? a.second > b.second : a.first < b.first;
                    });
  out.key(name).object();
  for (std::size_t i = 0; i < shown; ++i) out.field(sorted[i].first, sorted[i].second);
  out.end();
}

// The smallest round step that covers the span in at most 120 buckets.
std::int64_t roundBucket(std::int64_t span) {
  constexpr std::int64_t steps[] = {1,   2,   5,   10,   15,   30,    60,
                                    120, 300, 600, 1800, 3600, 10800, 21600};
  for (const std::int64_t step : steps) {
    if (span <= step * 120) return step;
  }
  constexpr std::int64_t day = 86400;
  return (span / (120 * day) + 1) * day;
}

}  // namespace

void Tally::add(const BatchRecord& batch) {
  const BatchSums of = sumsOf(batch);
  ++sums.batches;
  sums.refused += batch.cause == "refused";
  sums.duplicates += of.duplicates;
  sums.conflicts += of.conflicts;
  sums.withheld += of.withheld;
  for (const Delivered& event : batch.events) {
    if (event.fate != Fate::stored) continue;
    addEvent(event.facts, event.facts.problems.empty(), batch.receivedMs / 1000);
  }
}

void Tally::addEvent(const EventFacts& facts, bool valid, std::int64_t arrivedSecond) {
  ++sums.unique;
  sums.invalid += !valid;
  ++types[facts.type];
  ++names[facts.name];
  ++sessions[facts.session];
  ++devices[facts.device];
  if (!facts.user.empty()) ++users[facts.user];
  const auto note = [&](Times& times, std::int64_t second) {
    Moment& moment = times[second];
    ++moment.events;
    moment.invalid += !valid;
  };
  note(arrived, arrivedSecond);
  if (facts.timestamp) note(happened, *facts.timestamp);
}

std::string countsJson(const Tally& tally) {
  const Tally::Sums& sums = tally.sums;
  JsonOut out;
  out.object()
      .field("total", sums.unique + sums.duplicates)
      .field("unique", sums.unique)
      .field("duplicates", sums.duplicates)
      .field("conflicts", sums.conflicts)
      .field("withheld", sums.withheld)
      .field("invalid", sums.invalid)
      .field("batches", sums.batches)
      .field("refused", sums.refused)
      .field("calls", sums.calls)
      .field("sessions", tally.sessions.size())
      .field("users", tally.users.size())
      .field("devices", tally.devices.size());
  writeCounts(out, "by_type", tally.types);
  writeCounts(out, "by_name", tally.names);
  writeCounts(out, "by_session", tally.sessions);
  writeCounts(out, "by_user", tally.users);
  writeCounts(out, "by_device", tally.devices);
  return out.end().take();
}

std::string timelineJson(const Tally& tally, TimelineQuery query, std::int64_t nowSecond) {
  const Tally::Times& times = query.byArrival ? tally.arrived : tally.happened;
  std::int64_t last = query.until;
  if (last == 0) last = query.byArrival || times.empty() ? nowSecond : times.rbegin()->first;
  if (query.span == 0) {
    const std::int64_t first = times.empty() ? last : times.begin()->first;
    query.span = std::max<std::int64_t>(last - first + 1, 60);
  }
  if (query.bucket == 0) query.bucket = roundBucket(query.span);
  query.bucket = std::max(query.bucket, query.span / 1000 + 1);

  const std::int64_t step = query.bucket;
  const std::int64_t end = last / step * step + step;
  const std::int64_t count = std::max<std::int64_t>(1, (query.span + step - 1) / step);
  const std::int64_t begin = end - count * step;
  std::vector<Tally::Moment> buckets(static_cast<std::size_t>(count));
  for (auto at = times.lower_bound(begin); at != times.end() && at->first < end; ++at) {
    Tally::Moment& bucket = buckets[static_cast<std::size_t>((at->first - begin) / step)];
    bucket.events += at->second.events;
    bucket.invalid += at->second.invalid;
  }
  JsonOut out;
  out.object()
      .field("bucket", step)
      .field("from", isoText(begin * 1000))
      .field("until", isoText(end * 1000))
      .key("points")
      .array();
  for (std::size_t i = 0; i < buckets.size(); ++i) {
    out.object()
        .field("t", begin + static_cast<std::int64_t>(i) * step)
        .field("events", buckets[i].events)
        .field("invalid", buckets[i].invalid)
        .end();
  }
  return out.end().end().take();
}

}  // namespace zarn::collector
