#include "server/exchange_plan.h"

#include "server/json.h"
#include "server/spoilt_reply.h"

namespace zarn::collector {
namespace {

constexpr std::string_view kMistypedInit =
    R"({"data_collection":{"core":{"sessions":"no"}},"paused":"yes","release_id":7,"app_id":[]})";
constexpr std::string_view kMistypedConfig =
    R"({"dataCollection":{"core":{"sessions":"no"}},"paused":"yes"})";

std::string initAnswer(const CallerFacts& caller, const ExchangeMeeting& meeting, bool hasPolicy) {
  const ProjectSettings& settings = meeting.settings;
  const std::string app = caller.bundleId.empty() ? caller.project : caller.bundleId;
  const auto otherwise = [](const std::string& set, std::string made) {
    return set.empty() ? std::move(made) : set;
  };
  JsonOut out;
  out.object();
  if (hasPolicy) out.key("data_collection").raw(settings.policy);
  out.field("release_id", otherwise(settings.releaseId, app + "@" + caller.appVersion))
      .field("app_id", otherwise(settings.appId, "app:" + app));
  if (meeting.paused) out.field("paused", true).optional("paused_reason", *meeting.paused);
  return out.end().take();
}

std::string configAnswer(const ExchangeMeeting& meeting, bool hasPolicy) {
  JsonOut out;
  out.object();
  if (hasPolicy) out.key("dataCollection").raw(meeting.settings.policy);
  return out.field("paused", meeting.paused.has_value()).end().take();
}

// Whether the client can read of the settings what the answer would say.
bool isReadable(const std::optional<FaultRule>& fault) {
  if (!fault) return true;
  return fault->kind == FaultKind::delay || fault->kind == FaultKind::stale ||
         fault->kind == FaultKind::noPolicy;
}

}  // namespace

Reply planExchange(ExchangeRecord& record, const ExchangeMeeting& meeting) {
  const std::optional<FaultRule>& fault = meeting.fault;
  const bool isConfig = record.endpoint == Endpoint::config;
  const bool hasPolicy = !fault || fault->kind != FaultKind::noPolicy;
  Reply reply;
  reply.body =
      isConfig ? configAnswer(meeting, hasPolicy) : initAnswer(record.caller, meeting, hasPolicy);
  if (fault)
    reply = spoiltReply(std::move(reply), *fault, isConfig ? kMistypedConfig : kMistypedInit);
  if (fault) {
    record.cause = faultWord(fault->kind);
  } else if (meeting.paused) {
    record.cause = "paused";
  }
  if (isReadable(fault)) {
    // A config answer without a policy can't be read by a client: it is no answer at all.
    const bool saysPause = hasPolicy || !isConfig;
    if (saysPause) record.told.paused = meeting.paused.has_value();
    if (saysPause && meeting.paused) record.told.pausedReason = *meeting.paused;
    if (hasPolicy) record.told.policy = meeting.settings.policy;
    if (saysPause) record.told.revision = meeting.settings.revision;
  }
  const bool silent = fault && isSilent(*fault);
  record.status = silent ? 0 : reply.status;
  record.response = silent ? std::string() : reply.body;
  return reply;
}

}  // namespace zarn::collector
