#include "server/control_api.h"

#include "server/json.h"
#include "server/parameters.h"
#include "server/tally.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

Reply jsonReply(std::string body) {
  Reply reply;
  reply.body = std::move(body);
  return reply;
}

Reply reply(Queries::Result result, const std::string& error) {
  return result ? jsonReply(std::move(*result)) : errorReply(500, "the search failed: " + error);
}

}  // namespace

Reply ControlApi::state(const Request&) {
  const auto paused = faults_.paused();
  JsonOut out;
  out.object()
      .field("version", facts_.version)
      .field("address", facts_.address)
      .field("data_directory", facts_.dataDirectory)
      .field("started_at", isoText(facts_.startedMs))
      .field("now", isoText(nowMs()))
      .field("max_body_bytes", facts_.mostBodyBytes)
      .field("viewer", facts_.hasViewer)
      .field("paused", paused.has_value());
  if (paused) out.optional("paused_reason", *paused);
  return jsonReply(out.end().take());
}

Reply ControlApi::counts(const Request& request) {
  Parameters parameters(request);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string json;
  store_.withTally([&](const Tally& tally) { json = countsJson(tally); });
  return jsonReply(std::move(json));
}

Reply ControlApi::count(const Request& request) {
  Parameters parameters(request);
  const EventFilter filter = parameters.filter();
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = queries_.count(filter, error);
  return reply(std::move(result), error);
}

Reply ControlApi::countsBy(const Request& request) {
  Parameters parameters(request);
  const std::string field = parameters.text("field");
  const EventFilter filter = parameters.filter();
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  if (!Queries::isField(field)) {
    return errorReply(400,
                      "\"field\" must be type, name, user, session, device, launch, batch or "
                      "property:KEY");
  }
  std::string error;
  auto result = queries_.countsBy(field, filter, error);
  return reply(std::move(result), error);
}

Reply ControlApi::wait(const Request& request) {
  Parameters parameters(request);
  const std::int64_t unique = parameters.number("unique", 0, 0, INT64_MAX);
  const std::int64_t batches = parameters.number("batches", 0, 0, INT64_MAX);
  const std::int64_t calls = parameters.number("calls", 0, 0, INT64_MAX);
  const std::int64_t ms = parameters.number("timeout_ms", 10'000, 0, 120'000);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  Tally::Sums last;
  const bool reached = store_.waitFor(
      [&](const Tally::Sums& sums) {
        last = sums;
        return sums.unique >= unique && sums.batches >= batches && sums.calls >= calls;
      },
      static_cast<int>(ms));
  return jsonReply(JsonOut()
                       .object()
                       .field("reached", reached)
                       .field("unique", last.unique)
                       .field("batches", last.batches)
                       .field("calls", last.calls)
                       .end()
                       .take());
}

Reply ControlApi::timeline(const Request& request) {
  Parameters parameters(request);
  TimelineQuery query;
  const std::string by = parameters.text("by");
  query.byArrival = by != "timestamp";
  query.until = parameters.number("until", 0, 0, 4'102'444'800);
  query.span = parameters.number("span", query.span, 0, 366LL * 86400);
  query.bucket = parameters.number("bucket", 0, 0, 366LL * 86400);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  if (!by.empty() && by != "timestamp" && by != "received") {
    return errorReply(400, "\"by\" must be received or timestamp");
  }
  std::string json;
  store_.withTally([&](const Tally& tally) { json = timelineJson(tally, query, nowMs() / 1000); });
  return jsonReply(std::move(json));
}

Reply ControlApi::events(const Request& request) {
  Parameters parameters(request);
  const EventFilter filter = parameters.filter();
  const Page page = parameters.page(false);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = queries_.events(filter, page, error);
  return reply(std::move(result), error);
}

Reply ControlApi::event(const Request& request) {
  std::string error;
  auto result = queries_.event(store_.find(lastPart(request)), error);
  if (result && result->empty()) return errorReply(404, "there is no such event");
  return reply(std::move(result), error);
}

Reply ControlApi::ids(const Request& request) {
  Parameters parameters(request);
  const EventFilter filter = parameters.filter();
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = queries_.ids(filter, error);
  return reply(std::move(result), error);
}

Reply ControlApi::batches(const Request& request) {
  Parameters parameters(request);
  const Page page = parameters.page(false);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = queries_.batches(page, error);
  return reply(std::move(result), error);
}

Reply ControlApi::batch(const Request& request) {
  std::string error;
  auto result = queries_.batch(numberIn(lastPart(request)), error);
  if (result && result->empty()) return errorReply(404, "there is no such batch");
  return reply(std::move(result), error);
}

Reply ControlApi::live(const Request&) {
  Reply live;
  live.isLive = true;
  return live;
}

Reply ControlApi::reset(const Request&) {
  if (!store_.reset()) return errorReply(500, "the data could not be removed");
  feed_.publish("reset", "{}");
  return jsonReply("{\"reset\":true}");
}

Reply ControlApi::faults(const Request&) {
  return jsonReply(faults_.json());
}

Reply ControlApi::faultsChanged() {
  std::string json = faults_.json();
  feed_.publish("faults", json);
  return jsonReply(std::move(json));
}

Reply ControlApi::addFault(const Request& request) {
  std::string error;
  auto rule = faultFromJson(request.body, error);
  if (!rule) return errorReply(400, error);
  if (!faults_.add(*rule)) return errorReply(400, "there are too many faults");
  return faultsChanged();
}

Reply ControlApi::replaceFaults(const Request& request) {
  std::string error;
  auto rules = faultsFromJson(request.body, error);
  if (!rules) return errorReply(400, error);
  if (!faults_.replace(std::move(*rules))) return errorReply(400, "there are too many faults");
  return faultsChanged();
}

Reply ControlApi::clearFaults(const Request&) {
  faults_.clear();
  return faultsChanged();
}

Reply ControlApi::removeFault(const Request& request) {
  if (!faults_.remove(numberIn(lastPart(request))))
    return errorReply(404, "there is no such fault");
  return faultsChanged();
}

Reply ControlApi::pause(const Request& request) {
  std::string reason;
  if (!readReason(request, reason)) return errorReply(400, kReasonForm);
  faults_.pause(std::move(reason));
  return faultsChanged();
}

Reply ControlApi::resume(const Request&) {
  faults_.resume();
  return faultsChanged();
}

}  // namespace zarn::collector
