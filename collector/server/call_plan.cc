#include "server/call_plan.h"

#include "server/acks.h"
#include "server/json.h"
#include "server/spoilt_reply.h"

namespace zarn::collector {
namespace {

std::string resolveAnswer(const LinkAnswer& answer) {
  std::string body = JsonOut().object().field("resolved", answer.has_value()).end().take();
  if (!answer || *answer == "{}") return body;
  body.back() = ',';
  return body + answer->substr(1);
}

// A client waits for the end of a pause only where it is to try again.
Reply pausedReply(Endpoint endpoint, std::string_view reason) {
  Reply reply;
  if (endpoint == Endpoint::registration) reply.status = 503;
  reply.body = pausedAnswer(reason);
  return reply;
}

Reply ordinaryReply(Endpoint endpoint, const CallFacts& facts, const Answers& answers) {
  Reply reply;
  if (endpoint == Endpoint::resolve) {
    reply.body = resolveAnswer(answers.linkFor(facts.clickId, facts.clipboardToken));
  } else if (endpoint == Endpoint::validate) {
    reply.body =
        JsonOut().object().field("validation_status", answers.validationStatus).end().take();
  } else if (answers.registerStatus < 300) {
    reply.status = answers.registerStatus;
    reply.body = R"({"registered":true})";
  } else {
    reply = errorReply(answers.registerStatus, "registrations are answered so here");
  }
  return reply;
}

std::string_view mistyped(Endpoint endpoint) {
  if (endpoint == Endpoint::resolve) {
    return R"({"resolved":"yes","match_method":1,"match_confidence":"high","campaign":[],"link":7})";
  }
  if (endpoint == Endpoint::validate) return R"({"validation_status":7})";
  return R"({"registered":"yes"})";
}

}  // namespace

Reply planCall(ExchangeRecord& record, const CallFacts& facts, const CallMeeting& meeting) {
  const std::optional<FaultRule>& fault = meeting.fault;
  Reply reply = meeting.paused ? pausedReply(record.endpoint, *meeting.paused)
                               : ordinaryReply(record.endpoint, facts, meeting.answers);
  if (meeting.paused) record.cause = "paused";
  if (fault) {
    record.cause = faultWord(fault->kind);
    reply = spoiltReply(std::move(reply), *fault, mistyped(record.endpoint));
  }
  const bool silent = fault && isSilent(*fault);
  record.status = silent ? 0 : reply.status;
  record.response = silent ? std::string() : reply.body;
  return reply;
}

}  // namespace zarn::collector
