#include "server/acks.h"

#include "server/json.h"

namespace zarn::collector {

std::string_view verdictWord(Verdict verdict) {
  switch (verdict) {
    case Verdict::accept:
      return "accept";
    case Verdict::permanent:
      return "permanent";
    case Verdict::transient:
      return "transient";
    case Verdict::omit:
      return "omit";
  }
  return {};
}

std::string batchAnswer(const std::vector<EventAck>& acks) {
  JsonOut out;
  out.object().key("accepted_event_ids").array();
  for (const EventAck& ack : acks) {
    if (ack.verdict == Verdict::accept && !ack.id.empty()) out.value(ack.id);
  }
  out.end().key("errors").array();
  for (const EventAck& ack : acks) {
    const bool isError = ack.verdict == Verdict::permanent || ack.verdict == Verdict::transient;
    if (!isError || ack.id.empty()) continue;
    out.object()
        .field("event_id", ack.id)
        .field("message", ack.message)
        .field("permanent", ack.verdict == Verdict::permanent)
        .end();
  }
  return out.end().end().take();
}

std::string pausedAnswer(std::string_view reason) {
  return JsonOut().object().field("paused", true).optional("paused_reason", reason).end().take();
}

}  // namespace zarn::collector
