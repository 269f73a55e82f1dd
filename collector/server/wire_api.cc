#include "server/wire_api.h"

#include "server/batch_reader.h"
#include "server/call_check.h"
#include "server/call_plan.h"
#include "server/exchange_plan.h"
#include "server/feed_text.h"
#include "server/json.h"
#include "server/request_log.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostKept = 65536;  // of an envelope or a request's body

bool isJson(const Request& request) {
  return request.contentType == "application/json";
}

constexpr std::size_t kMostScreenshotBytes = 12u << 20;  // of an upload's body

constexpr const char* kWrongType = "Content-Type must be application/json";

// The pause that holds for a project: its own, or everybody's.
std::optional<std::string> pauseOf(const ProjectSettings& settings, const FaultBoard& faults) {
  return settings.paused ? settings.paused : faults.paused();
}

void note(std::vector<std::string>& problems, std::string problem) {
  if (!problem.empty()) problems.push_back(std::move(problem));
}

}  // namespace

void WireApi::record(const Request& request) {
  const std::string refusal = request.refusal ? request.refusal->message : std::string();
  store_.addRequest(nowMs(), refusal, headOf(request), request.body);
}

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
  note(record.envelope.problems, authorizationProblem(request.authorization));
  if (body.envelope.size() <= kMostKept) record.envelopeJson = std::move(body.envelope);
  record.events.reserve(body.events.size());
  for (const std::string_view raw : body.events) {
    Delivered& event = record.events.emplace_back();
    event.raw = raw;
    event.facts = checkEvent(raw);
  }

  const ProjectSettings settings = book_.settings(record.envelope.project);
  Meeting meeting;
  meeting.fault = faults_.strike(Endpoint::batch, record.envelope.project);
  meeting.paused = pauseOf(settings, faults_);
  if (meeting.fault && meeting.fault->kind == FaultKind::outcomes) {
    meeting.picked = faults_.pick(*meeting.fault, record.events.size());
  }
  Reply reply = finish(record, planBatch(record, meeting));
  if (record.cause == "paused") tellPause(record, settings, meeting, reply);
  return reply;
}

// A paused answer to a batch is a word of the control plane too.
void WireApi::tellPause(const BatchRecord& batch, const ProjectSettings& settings,
                        const Meeting& meeting, Reply& reply) {
  const EnvelopeFacts& facts = batch.envelope;
  ExchangeRecord record;
  record.receivedMs = batch.receivedMs;
  record.endpoint = Endpoint::batch;
  record.caller = {facts.project,    facts.environment, facts.platform, facts.sdkVersion,
                   facts.appVersion, facts.bundleId,    false,          {}};
  record.status = batch.status;
  record.cause = batch.cause;
  record.told.revision = settings.revision;
  record.told.paused = true;
  record.told.pausedReason = meeting.paused.value_or("");
  record.newest = settings.revision;
  record.batch = batch.id;
  record.response = batch.response;
  keep(record, reply);
}

Reply WireApi::init(const Request& request) {
  CallerFacts caller;
  std::string error;
  if (request.refusal) return refuseCall(Endpoint::init, request, *request.refusal);
  if (!isJson(request)) return refuseCall(Endpoint::init, request, {415, kWrongType});
  if (!checkInit(request.body, caller, error)) {
    return refuseCall(Endpoint::init, request, {400, error});
  }
  if (!request.authorization.empty()) {
    caller.problems.push_back("the Authorization header does not belong to an init");
  }
  const Endpoint endpoint = caller.isRecovery ? Endpoint::recovery : Endpoint::init;
  return exchange(endpoint, request, std::move(caller));
}

Reply WireApi::config(const Request& request) {
  CallerFacts caller = checkConfig(request.parameters);
  note(caller.problems, authorizationProblem(request.authorization));
  if (request.header("Accept") != "application/json") {
    caller.problems.push_back("the Accept header must be application/json");
  }
  return exchange(Endpoint::config, request, std::move(caller));
}

Reply WireApi::resolve(const Request& request) {
  return call(Endpoint::resolve, request);
}

Reply WireApi::validate(const Request& request) {
  return call(Endpoint::validate, request);
}

Reply WireApi::registerToken(const Request& request) {
  return call(Endpoint::registration, request);
}

Reply WireApi::screenshotCheck(const Request& request) {
  return call(Endpoint::screenshotCheck, request);
}

Reply WireApi::screenshot(const Request& request) {
  if (request.body.size() > kMostScreenshotBytes) {
    return refuseCall(Endpoint::screenshot, request, {413, "a screenshot has at most 12 MiB"});
  }
  return call(Endpoint::screenshot, request);
}

Reply WireApi::call(Endpoint endpoint, const Request& request) {
  CallFacts facts;
  std::string error;
  if (request.refusal) return refuseCall(endpoint, request, *request.refusal);
  if (!isJson(request)) return refuseCall(endpoint, request, {415, kWrongType});
  if (!checkCall(endpoint, request.body, facts, error)) {
    return refuseCall(endpoint, request, {400, error});
  }
  note(facts.caller.problems, callAuthorizationProblem(endpoint, request.authorization));
  const std::string project = facts.caller.project;
  const ProjectSettings settings = book_.settings(project);
  CallMeeting meeting;
  meeting.fault = faults_.strike(endpoint, project);
  meeting.answers = answers_.answers(project);
  meeting.paused = pauseOf(settings, faults_);
  if (endpoint == Endpoint::screenshotCheck) {
    meeting.hasScreenshot = store_.hasScreenshot(facts.screenshot);
  }
  ExchangeRecord record;
  record.receivedMs = nowMs();
  record.endpoint = endpoint;
  record.newest = settings.revision;
  record.request = facts.shown.substr(0, kMostKept);
  Reply reply = planCall(record, facts, meeting);
  if (takesScreenshot(record, facts, meeting) &&
      !store_.addScreenshot(facts.screenshot, record.receivedMs)) {
    return errorReply(500, "the screenshot could not be kept");
  }
  record.caller = std::move(facts.caller);
  keep(record, reply);
  return reply;
}

Reply WireApi::refuseCall(Endpoint endpoint, const Request& request, Refusal refusal) {
  Reply reply = errorReply(refusal.status, refusal.message);
  ExchangeRecord record;
  record.receivedMs = nowMs();
  record.endpoint = endpoint;
  record.caller.problems.push_back(std::move(refusal.message));
  record.status = reply.status;
  record.cause = "refused";
  if (!bringsSecrets(endpoint)) record.request = request.body.substr(0, kMostKept);
  record.response = reply.body;
  keep(record, reply);
  return reply;
}

Reply WireApi::exchange(Endpoint endpoint, const Request& request, CallerFacts caller) {
  ExchangeMeeting meeting;
  meeting.fault = faults_.strike(endpoint, caller.project);
  meeting.settings = book_.settings(caller.project);
  ExchangeRecord record;
  record.newest = meeting.settings.revision;
  if (meeting.fault && meeting.fault->kind == FaultKind::stale) {
    meeting.settings = book_.earlier(caller.project, meeting.fault->revision);
    meeting.paused = meeting.settings.paused;
  } else {
    meeting.paused = pauseOf(meeting.settings, faults_);
  }
  record.receivedMs = nowMs();
  record.endpoint = endpoint;
  record.caller = std::move(caller);
  const bool hasBody = endpoint != Endpoint::config;
  record.request = hasBody ? request.body.substr(0, kMostKept) : request.query;
  Reply reply = planExchange(record, meeting);
  keep(record, reply);
  return reply;
}

void WireApi::keep(ExchangeRecord& record, Reply& reply) {
  const bool isLate = reply.fault && reply.fault->delayMs > 0;
  if (!isLate && record.status != 0) record.answeredMs = record.receivedMs;
  store_.addExchange(record);
  if (isLate && record.status != 0) {
    reply.onAnswer = [this, record] {
      store_.noteAnswered(record.id, nowMs());
      if (feed_.hasListeners()) feed_.publish("exchange", exchangeText(record));
    };
  }
  if (feed_.hasListeners()) feed_.publish("exchange", exchangeText(record));
}

}  // namespace zarn::collector
