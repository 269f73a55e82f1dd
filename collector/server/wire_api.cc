#include "server/wire_api.h"

#include "server/batch_plan.h"
#include "server/batch_reader.h"
#include "server/feed_text.h"
#include "server/json.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostKept = 65536;  // of an envelope or a request's body

bool isJson(const Request& request) {
  return request.contentType == "application/json";
}

constexpr const char* kWrongType = "Content-Type must be application/json";

std::string initAnswer(const InitFacts& facts, const std::optional<std::string>& paused) {
  const std::string app = facts.bundleId.empty() ? facts.project : facts.bundleId;
  JsonOut out;
  out.object()
      .key("data_collection")
      .raw("{}")
      .field("release_id", app + "@" + facts.appVersion)
      .field("app_id", "app:" + app);
  if (paused) out.field("paused", true).optional("paused_reason", *paused);
  return out.end().take();
}

std::vector<std::string> configProblems(const Request& request) {
  std::vector<std::string> problems;
  for (const char* name : {"project_id", "platform", "bundle_id", "environment", "sdk_version"}) {
    if (request.parameter(name).empty()) problems.push_back(std::string(name) + " is missing");
  }
  if (request.authorization.empty()) problems.push_back("the Authorization header is missing");
  return problems;
}

}  // namespace

Reply WireApi::refuse(int status, std::string message, const Request& request) {
  BatchRecord record;
  record.receivedMs = nowMs();
  record.bytes = static_cast<std::int64_t>(request.body.size());
  record.cause = "refused";
  record.envelope.problems.push_back(message);
  Reply reply = errorReply(status, message);
  record.status = status;
  record.response = reply.body;
  return finish(record, std::move(reply));
}

Reply WireApi::finish(BatchRecord& record, Reply reply) {
  std::string error;
  if (!store_.add(record, error)) return errorReply(500, "the batch could not be kept: " + error);
  if (feed_.hasListeners()) feed_.publish("batch", batchText(record));
  return reply;
}

Reply WireApi::batch(const Request& request) {
  if (request.refusal) return refuse(request.refusal->status, request.refusal->message, request);
  if (!isJson(request)) return refuse(415, kWrongType, request);
  BatchBody body;
  std::string error;
  if (!readBatch(request.body, body, error)) return refuse(400, error, request);

  BatchRecord record;
  record.receivedMs = nowMs();
  record.bytes = static_cast<std::int64_t>(request.body.size());
  record.envelope = checkEnvelope(body.envelope);
  if (request.authorization.empty()) {
    record.envelope.problems.push_back("the Authorization header is missing");
  }
  if (body.envelope.size() <= kMostKept) record.envelopeJson = std::move(body.envelope);
  record.events.reserve(body.events.size());
  for (const std::string_view raw : body.events) {
    Delivered& event = record.events.emplace_back();
    event.raw = raw;
    event.facts = checkEvent(raw);
  }

  Meeting meeting;
  meeting.fault = faults_.strike(Endpoint::batch);
  meeting.paused = faults_.paused();
  if (meeting.fault && meeting.fault->kind == FaultKind::outcomes) {
    meeting.picked = faults_.pick(*meeting.fault, record.events.size());
  }
  Reply reply = planBatch(record, meeting);
  return finish(record, std::move(reply));
}

Reply WireApi::init(const Request& request) {
  InitFacts facts;
  std::string error;
  if (request.refusal) {
    const Refusal& refusal = *request.refusal;
    return call(Endpoint::init, request, {}, errorReply(refusal.status, refusal.message));
  }
  if (!isJson(request)) return call(Endpoint::init, request, {}, errorReply(415, kWrongType));
  if (!checkInit(request.body, facts, error)) {
    return call(Endpoint::init, request, {}, errorReply(400, error));
  }
  Reply reply;
  reply.body = initAnswer(facts, faults_.paused());
  return call(Endpoint::init, request, std::move(facts.problems), std::move(reply));
}

Reply WireApi::config(const Request& request) {
  Reply reply;
  reply.body = JsonOut()
                   .object()
                   .key("dataCollection")
                   .raw("{}")
                   .field("paused", faults_.paused().has_value())
                   .end()
                   .take();
  return call(Endpoint::config, request, configProblems(request), std::move(reply));
}

Reply WireApi::call(Endpoint endpoint, const Request& request, std::vector<std::string> problems,
                    Reply ordinary) {
  CallRecord record;
  record.receivedMs = nowMs();
  record.endpoint = endpointWord(endpoint);
  record.request = endpoint == Endpoint::config ? request.query : request.body.substr(0, kMostKept);
  record.problems = std::move(problems);
  Reply reply = std::move(ordinary);
  if (reply.status != 200) {
    record.cause = "refused";
  } else if (const auto fault = faults_.strike(endpoint)) {
    record.cause = faultWord(fault->kind);
    reply = planCall(std::move(reply), fault);
  } else if (faults_.paused()) {
    record.cause = "paused";
  }
  record.status = reply.status;
  record.response = reply.body;
  store_.addCall(record);
  if (feed_.hasListeners()) feed_.publish("call", callText(record));
  return reply;
}

}  // namespace zarn::collector
