#include "server/feed_text.h"

#include "server/json.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostEvents = 100;
constexpr std::size_t kLongestEvent = 16'384;

void writeEvent(JsonOut& out, const BatchRecord& batch, const Delivered& event) {
  const EventFacts& facts = event.facts;
  out.object()
      .field("seq", event.seq)
      .optional("event_id", facts.id)
      .field("batch", batch.id)
      .field("received_at", isoText(batch.receivedMs))
      .field("event_type", facts.type)
      .field("event_name", facts.name)
      .optional("user_id", facts.user)
      .field("session_id", facts.session)
      .field("device_id", facts.device)
      .field("valid", facts.problems.empty())
      .key("problems")
      .strings(facts.problems);
  if (facts.timestamp) out.field("timestamp", *facts.timestamp);
  if (event.raw.size() <= kLongestEvent) out.key("event").raw(event.raw);
  out.end();
}

}  // namespace

std::string batchText(const BatchRecord& batch) {
  const BatchSums sums = sumsOf(batch);
  JsonOut out;
  out.object()
      .field("id", batch.id)
      .field("received_at", isoText(batch.receivedMs))
      .field("status", batch.status)
      .optional("cause", batch.cause)
      .field("bytes", batch.bytes)
      .field("events", batch.events.size())
      .field("stored", sums.stored)
      .field("duplicates", sums.duplicates)
      .field("conflicts", sums.conflicts)
      .field("withheld", sums.withheld)
      .field("invalid", sums.invalid)
      .field("accepted", sums.accepted)
      .field("permanent", sums.permanent)
      .field("transient", sums.transient)
      .optional("project_id", batch.envelope.project)
      .optional("environment", batch.envelope.environment)
      .optional("app_version", batch.envelope.appVersion)
      .optional("bundle_id", batch.envelope.bundleId)
      .optional("sent_at", batch.envelope.sentAt)
      .key("problems")
      .strings(batch.envelope.problems)
      .key("new_events")
      .array();
  std::size_t toSkip = sums.stored > static_cast<std::int64_t>(kMostEvents)
                           ? static_cast<std::size_t>(sums.stored) - kMostEvents
                           : 0;
  for (const Delivered& event : batch.events) {
    if (event.fate != Fate::stored) continue;
    if (toSkip > 0) {
      --toSkip;
      continue;
    }
    writeEvent(out, batch, event);
  }
  return out.end().end().take();
}

std::string exchangeText(const ExchangeRecord& exchange) {
  JsonOut out;
  out.object()
      .field("id", exchange.id)
      .field("received_at", isoText(exchange.receivedMs))
      .field("endpoint", endpointWord(exchange.endpoint))
      .optional("project_id", exchange.caller.project)
      .optional("environment", exchange.caller.environment)
      .field("app", appName(exchange.caller.bundleId))
      .field("status", exchange.status)
      .optional("cause", exchange.cause);
  if (exchange.told.revision) out.field("revision", *exchange.told.revision);
  return out.key("problems").strings(exchange.caller.problems).end().take();
}

}  // namespace zarn::collector
