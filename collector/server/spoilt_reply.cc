#include "server/spoilt_reply.h"

namespace zarn::collector {

Reply spoiltReply(Reply reply, const FaultRule& fault, std::string_view mistyped) {
  switch (fault.kind) {
    case FaultKind::status:
      reply = errorReply(fault.status, fault.message);
      break;
    case FaultKind::empty:
      reply.body.clear();
      break;
    case FaultKind::garbled:
      reply.body.resize(reply.body.size() / 2);
      break;
    case FaultKind::mistyped:
      reply.body = mistyped;
      break;
    case FaultKind::body:
      reply.status = fault.status;
      reply.body = fault.body;
      break;
    default:
      break;
  }
  reply.fault = fault;
  return reply;
}

bool isSilent(const FaultRule& fault) {
  return fault.kind == FaultKind::hang || fault.kind == FaultKind::drop;
}

}  // namespace zarn::collector
