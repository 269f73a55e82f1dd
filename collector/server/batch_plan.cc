#include "server/batch_plan.h"

#include "server/spoilt_reply.h"

namespace zarn::collector {
namespace {

constexpr std::string_view kMistyped = R"({"accepted_event_ids":"all","errors":{},"paused":"no"})";

void setAll(BatchRecord& record, std::optional<Verdict> verdict, bool keep) {
  for (Delivered& event : record.events) {
    event.verdict = verdict;
    event.keep = keep;
  }
}

std::string ordinaryAnswer(const BatchRecord& record, std::string_view message) {
  std::vector<EventAck> acks;
  acks.reserve(record.events.size());
  for (const Delivered& event : record.events) {
    acks.push_back({event.facts.id, event.verdict.value_or(Verdict::omit), std::string(message)});
  }
  return batchAnswer(acks);
}

// Every kind of fault but delay and outcomes leaves the whole batch without acknowledgement.
bool spoilsAnswer(const FaultRule& fault) {
  return fault.kind != FaultKind::delay && fault.kind != FaultKind::outcomes;
}

}  // namespace

Reply planBatch(BatchRecord& record, const Meeting& meeting) {
  const std::optional<FaultRule>& fault = meeting.fault;
  if (fault) record.cause = faultWord(fault->kind);

  Reply reply;
  setAll(record, Verdict::accept, true);
  if (fault && spoilsAnswer(*fault)) {
    reply.body = ordinaryAnswer(record, {});
    setAll(record, std::nullopt, fault->keep);
  } else if (meeting.paused) {
    record.cause = "paused";
    setAll(record, std::nullopt, false);
    reply.body = pausedAnswer(*meeting.paused);
  } else if (fault && fault->kind == FaultKind::outcomes) {
    for (std::size_t i = 0; i < record.events.size() && i < meeting.picked.size(); ++i) {
      if (!meeting.picked[i]) continue;
      record.events[i].verdict = fault->outcome;
      record.events[i].keep = fault->keep || fault->outcome == Verdict::accept;
    }
    reply.body = ordinaryAnswer(record, fault->message);
  } else {
    reply.body = ordinaryAnswer(record, {});
  }
  if (fault) reply = spoiltReply(std::move(reply), *fault, kMistyped);
  const bool silent = fault && isSilent(*fault);
  record.status = silent ? 0 : reply.status;
  if (!silent) record.response = reply.body;
  return reply;
}

}  // namespace zarn::collector
