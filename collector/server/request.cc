#include "server/request.h"

#include "server/json.h"

namespace zarn::collector {

Reply errorReply(int status, std::string_view message) {
  Reply reply;
  reply.status = status;
  reply.body = JsonOut().object().field("status", status).field("message", message).end().take();
  return reply;
}

}  // namespace zarn::collector
