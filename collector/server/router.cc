#include "server/router.h"

#include <string>
#include <string_view>

namespace zarn::collector {
namespace {

using WireHandler = Reply (WireApi::*)(const Request&);
using ControlHandler = Reply (ControlApi::*)(const Request&);
using ProjectHandler = Reply (ProjectApi::*)(const Request&);
using ReportHandler = Reply (ReportApi::*)(const Request&);

// A "*" in a path takes one part of any text.
struct Route {
  std::string_view method;
  std::string_view path;
  WireHandler wire = nullptr;
  ControlHandler control = nullptr;
  ProjectHandler project = nullptr;
  ReportHandler report = nullptr;
};

constexpr Route kRoutes[] = {
    {"POST", "/api/sdk/batch", &WireApi::batch},
    {"POST", "/api/sdk/init", &WireApi::init},
    {"GET", "/api/sdk/config", &WireApi::config},
    {"POST", "/api/sdk/link/resolve", &WireApi::resolve},
    {"POST", "/api/sdk/install/validate", &WireApi::validate},
    {"POST", "/api/sdk/push/register", &WireApi::registerToken},
    {"POST", "/api/sdk/screenshot/check", &WireApi::screenshotCheck},
    {"POST", "/api/sdk/screenshot", &WireApi::screenshot},
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
    {"GET", "/api/collector/live", nullptr, &ControlApi::live},
    {"POST", "/api/collector/reset", nullptr, &ControlApi::reset},
    {"GET", "/api/collector/faults", nullptr, &ControlApi::faults},
    {"POST", "/api/collector/faults", nullptr, &ControlApi::addFault},
    {"PUT", "/api/collector/faults", nullptr, &ControlApi::replaceFaults},
    {"DELETE", "/api/collector/faults", nullptr, &ControlApi::clearFaults},
    {"DELETE", "/api/collector/faults/*", nullptr, &ControlApi::removeFault},
    {"POST", "/api/collector/pause", nullptr, &ControlApi::pause},
    {"POST", "/api/collector/resume", nullptr, &ControlApi::resume},
    {"GET", "/api/collector/policy-keys", nullptr, nullptr, &ProjectApi::policyKeys},
    {"GET", "/api/collector/projects", nullptr, nullptr, &ProjectApi::projects},
    {"GET", "/api/collector/projects/*", nullptr, nullptr, &ProjectApi::project},
    {"PUT", "/api/collector/projects/*", nullptr, nullptr, &ProjectApi::edit},
    {"DELETE", "/api/collector/projects/*", nullptr, nullptr, &ProjectApi::remove},
    {"POST", "/api/collector/projects/*/pause", nullptr, nullptr, &ProjectApi::pause},
    {"POST", "/api/collector/projects/*/resume", nullptr, nullptr, &ProjectApi::resume},
    {"GET", "/api/collector/projects/*/answers", nullptr, nullptr, &ProjectApi::answers},
    {"PUT", "/api/collector/projects/*/answers", nullptr, nullptr, &ProjectApi::setAnswers},
    {"GET", "/api/collector/projects/*/changes", nullptr, nullptr, &ProjectApi::changes},
    {"GET", "/api/collector/projects/*/wait", nullptr, nullptr, &ProjectApi::wait},
    {"DELETE", "/api/collector/projects/*/screenshots", nullptr, nullptr,
     &ProjectApi::removeScreenshots},
    {"GET", "/api/collector/exchanges", nullptr, nullptr, &ProjectApi::exchanges},
    {"GET", "/api/collector/calls", nullptr, nullptr, &ProjectApi::calls},
    {"GET", "/api/collector/installations", nullptr, nullptr, &ProjectApi::installations},
    {"GET", "/api/collector/installations/*", nullptr, nullptr, &ProjectApi::installation},
    {"GET", "/api/collector/reports/network", nullptr, nullptr, nullptr, &ReportApi::network},
    {"GET", "/api/collector/reports/links", nullptr, nullptr, nullptr, &ReportApi::links},
    {"GET", "/api/collector/reports/push", nullptr, nullptr, nullptr, &ReportApi::push},
    {"GET", "/api/collector/reports/crashes", nullptr, nullptr, nullptr, &ReportApi::crashes},
    {"GET", "/api/collector/reports/screens", nullptr, nullptr, nullptr, &ReportApi::screens},
    {"GET", "/api/collector/reports/flow", nullptr, nullptr, nullptr, &ReportApi::flow},
    {"GET", "/api/collector/screenshots", nullptr, nullptr, nullptr, &ReportApi::screenshots},
    {"GET", "/api/collector/screenshots/*", nullptr, nullptr, nullptr, &ReportApi::screenshot},
    {"GET", "/api/collector/requests", nullptr, nullptr, &ProjectApi::requests},
    {"GET", "/api/collector/requests/raw", nullptr, nullptr, &ProjectApi::rawRequests},
};

bool fits(std::string_view pattern, std::string_view path) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return pattern == path;
  const std::string_view before = pattern.substr(0, star);
  const std::string_view after = pattern.substr(star + 1);
  if (path.size() <= before.size() + after.size()) return false;
  const std::string_view part =
      path.substr(before.size(), path.size() - before.size() - after.size());
  return path.starts_with(before) && path.ends_with(after) &&
         part.find('/') == std::string_view::npos;
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
      if (route.wire != nullptr) {
        wire_.record(request);
        return (wire_.*route.wire)(request);
      }
      if (request.refusal) return errorReply(request.refusal->status, request.refusal->message);
      const bool hasBody = !request.body.empty();
      if (hasBody && request.contentType != "application/json") {
        return errorReply(415, "Content-Type must be application/json");
      }
      if (route.report != nullptr) return (reports_.*route.report)(request);
      if (route.project != nullptr) return (projects_.*route.project)(request);
      return (control_.*route.control)(request);
    }
    allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
  }
  if (!request.path.starts_with("/api/collector/")) {
    const auto asset = assets_.find(request.path);
    if (asset && method == "GET") return *asset;
    wire_.record(request);
    if (asset) return wrongMethod(request, "GET");
  }
  if (!allowed.empty()) return wrongMethod(request, allowed);
  return errorReply(404, "there is nothing at this path");
}

}  // namespace zarn::collector
