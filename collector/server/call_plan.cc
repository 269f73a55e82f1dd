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
  if (endpoint != Endpoint::resolve && endpoint != Endpoint::validate) reply.status = 503;
  reply.body = pausedAnswer(reason);
  return reply;
}

// A status that was set for the endpoint, with what a success says.
Reply statusReply(int status, std::string_view success, std::string_view refusal) {
  if (status >= 300) return errorReply(status, refusal);
  Reply reply;
  reply.status = status;
  reply.body = success;
  return reply;
}

Reply ordinaryReply(Endpoint endpoint, const CallFacts& facts, const CallMeeting& meeting) {
  const Answers& answers = meeting.answers;
  Reply reply;
  if (endpoint == Endpoint::resolve) {
    reply.body = resolveAnswer(answers.linkFor(facts.clickId, facts.clipboardToken));
  } else if (endpoint == Endpoint::validate) {
    reply.body =
        JsonOut().object().field("validation_status", answers.validationStatus).end().take();
  } else if (endpoint == Endpoint::screenshotCheck) {
    const bool exists = answers.screenshotExists.value_or(meeting.hasScreenshot);
    reply.body = JsonOut().object().field("exists", exists).end().take();
  } else if (endpoint == Endpoint::screenshot) {
    if (!facts.refusal.empty()) return errorReply(400, facts.refusal);
    return statusReply(answers.screenshotStatus, R"({"stored":true})",
                       "screenshots are answered so here");
  } else {
    return statusReply(answers.registerStatus, R"({"registered":true})",
                       "registrations are answered so here");
  }
  return reply;
}

std::string_view mistyped(Endpoint endpoint) {
  if (endpoint == Endpoint::resolve) {
    return R"({"resolved":"yes","match_method":1,"match_confidence":"high","campaign":[],"link":7})";
  }
  if (endpoint == Endpoint::validate) return R"({"validation_status":7})";
  if (endpoint == Endpoint::screenshotCheck) return R"({"exists":"no"})";
  if (endpoint == Endpoint::screenshot) return R"({"stored":"yes"})";
  return R"({"registered":"yes"})";
}

}  // namespace

Reply planCall(ExchangeRecord& record, const CallFacts& facts, const CallMeeting& meeting) {
  const std::optional<FaultRule>& fault = meeting.fault;
  Reply reply = meeting.paused ? pausedReply(record.endpoint, *meeting.paused)
                               : ordinaryReply(record.endpoint, facts, meeting);
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

bool takesScreenshot(const ExchangeRecord& record, const CallFacts& facts,
                     const CallMeeting& meeting) {
  if (facts.screenshot.jpeg.empty() || meeting.paused) return false;
  if (meeting.fault && meeting.fault->kind != FaultKind::delay) return meeting.fault->keep;
  return record.status < 300;
}

}  // namespace zarn::collector
