#include "server/request.h"

#include <algorithm>
#include <cctype>

#include "server/json.h"

namespace zarn::collector {

std::string Request::header(std::string_view name) const {
  const auto same = [&](const auto& each) {
    return std::equal(
        each.first.begin(), each.first.end(), name.begin(), name.end(),
        [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
  };
  const auto found = std::find_if(headers.begin(), headers.end(), same);
  return found == headers.end() ? std::string() : found->second;
}

Reply errorReply(int status, std::string_view message) {
  Reply reply;
  reply.status = status;
  reply.body = JsonOut().object().field("status", status).field("message", message).end().take();
  return reply;
}

}  // namespace zarn::collector
