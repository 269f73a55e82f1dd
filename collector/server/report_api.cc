#include "server/report_api.h"

#include "server/parameters.h"

namespace zarn::collector {

Reply ReportApi::answer(const Request& request, Report report) {
  constexpr std::int64_t latest = 4'102'444'800;  // the year 2100
  Parameters parameters(request);
  ReportScope scope;
  scope.project = parameters.text("project");
  scope.fromMs = parameters.number("from", 0, 0, latest) * 1000;
  scope.untilMs = parameters.number("to", 0, 1, latest) * 1000;
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  if (scope.untilMs > 0 && scope.fromMs >= scope.untilMs) {
    return errorReply(400, "\"from\" must be before \"to\"");
  }
  std::string error;
  auto result = (reports_.*report)(scope, error);
  if (!result) return errorReply(500, "the report failed: " + error);
  Reply reply;
  reply.body = std::move(*result);
  return reply;
}

Reply ReportApi::network(const Request& request) {
  return answer(request, &Reports::network);
}

Reply ReportApi::links(const Request& request) {
  return answer(request, &Reports::links);
}

Reply ReportApi::push(const Request& request) {
  return answer(request, &Reports::push);
}

Reply ReportApi::crashes(const Request& request) {
  return answer(request, &Reports::crashes);
}

}  // namespace zarn::collector
