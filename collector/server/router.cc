#include "server/router.h"

#include <string>
#include <string_view>

namespace zarn::collector {
namespace {

using WireHandler = Reply (WireApi::*)(const Request&);
using ControlHandler = Reply (ControlApi::*)(const Request&);

// A path that ends with "/*" takes one more part.
struct Route {
  std::string_view method;
  std::string_view path;
  WireHandler wire = nullptr;
  ControlHandler control = nullptr;
};

constexpr Route kRoutes[] = {
    {"POST", "/api/sdk/batch", &WireApi::batch},
    {"POST", "/api/sdk/init", &WireApi::init},
    {"GET", "/api/sdk/config", &WireApi::config},
    {"GET", "/api/collector/state", nullptr, &ControlApi::state},
    {"GET", "/api/collector/counts", nullptr, &ControlApi::counts},
    {"GET", "/api/collector/counts/by", nullptr, &ControlApi::countsBy},
    {"GET", "/api/collector/count", nullptr, &ControlApi::count},
    {"GET", "/api/collector/wait", nullptr, &ControlApi::wait},
    {"GET", "/api/collector/timeline", nullptr, &ControlApi::timeline},
    {"GET", "/api/collector/events", nullptr, &ControlApi::events},
    {"GET", "/api/collector/events/*", nullptr, &ControlApi::event},
    {"GET", "/api/collector/ids", nullptr, &ControlApi::ids},
    {"GET", "/api/collector/batches", nullptr, &ControlApi::batches},
    {"GET", "/api/collector/batches/*", nullptr, &ControlApi::batch},
    {"GET", "/api/collector/calls", nullptr, &ControlApi::calls},
    {"GET", "/api/collector/live", nullptr, &ControlApi::live},
    {"POST", "/api/collector/reset", nullptr, &ControlApi::reset},
    {"GET", "/api/collector/faults", nullptr, &ControlApi::faults},
    {"POST", "/api/collector/faults", nullptr, &ControlApi::addFault},
    {"PUT", "/api/collector/faults", nullptr, &ControlApi::replaceFaults},
    {"DELETE", "/api/collector/faults", nullptr, &ControlApi::clearFaults},
    {"DELETE", "/api/collector/faults/*", nullptr, &ControlApi::removeFault},
    {"POST", "/api/collector/pause", nullptr, &ControlApi::pause},
    {"POST", "/api/collector/resume", nullptr, &ControlApi::resume},
};

bool fits(std::string_view pattern, std::string_view path) {
  if (!pattern.ends_with("/*")) return pattern == path;
  const std::string_view folder = pattern.substr(0, pattern.size() - 1);
  return path.starts_with(folder) && path.size() > folder.size() &&
         path.find('/', folder.size()) == std::string_view::npos;
}

Reply wrongMethod(const Request& request, const std::string& allowed) {
  Reply reply =
      errorReply(405, request.path + " is not for " + request.method + ", but for " + allowed);
  reply.headers.emplace_back("Allow", allowed);
  return reply;
}

}  // namespace

Reply Router::answer(const Request& request) {
  const std::string method = request.method == "HEAD" ? "GET" : request.method;
  std::string allowed;
  for (const Route& route : kRoutes) {
    if (!fits(route.path, request.path)) continue;
    if (route.method == method) {
      if (route.wire != nullptr) return (wire_.*route.wire)(request);
      if (request.refusal) return errorReply(request.refusal->status, request.refusal->message);
      const bool hasBody = !request.body.empty();
      if (hasBody && request.contentType != "application/json") {
        return errorReply(415, "Content-Type must be application/json");
      }
      return (control_.*route.control)(request);
    }
    allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
  }
  if (!allowed.empty()) return wrongMethod(request, allowed);
  const auto asset = assets_.find(request.path);
  if (!asset) return errorReply(404, "there is nothing at this path");
  return method == "GET" ? *asset : wrongMethod(request, "GET");
}

}  // namespace zarn::collector
