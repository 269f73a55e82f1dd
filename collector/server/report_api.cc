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

Reply ReportApi::screens(const Request& request) {
  return answer(request, &Reports::screens);
}

Reply ReportApi::flow(const Request& request) {
  return answer(request, &Reports::flow);
}

Reply ReportApi::screenshots(const Request& request) {
  Parameters parameters(request);
  const std::string project = parameters.text("project");
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = screenshots_.list(project, error);
  if (!result) return errorReply(500, error);
  Reply reply;
  reply.body = std::move(*result);
  return reply;
}

Reply ReportApi::screenshot(const Request& request) {
  std::string error;
  auto jpeg = screenshots_.jpeg(lastPart(request), error);
  if (!jpeg) return errorReply(500, error);
  if (jpeg->empty()) return errorReply(404, "there is no such screenshot");
  Reply reply;
  reply.body = std::move(*jpeg);
  reply.contentType = "image/jpeg";
  // Named by its digest, it can't change.
  reply.headers = {{"Cache-Control", "private, max-age=31536000, immutable"}};
  return reply;
}

}  // namespace zarn::collector
