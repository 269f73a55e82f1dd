#include "server/project_api.h"

#include <algorithm>
#include <chrono>

#include "server/json.h"
#include "server/parameters.h"
#include "server/policy_keys.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

// "shop" of "/api/collector/projects/shop/pause".
std::string projectOf(const Request& request) {
  constexpr std::string_view folder = "/api/collector/projects/";
  const std::string rest = request.path.substr(folder.size());
  return rest.substr(0, rest.find('/'));
}

Reply jsonReply(std::string body) {
  Reply reply;
  reply.body = std::move(body);
  return reply;
}

// Writes the settings' members into an open object.
void writeSettings(JsonOut& out, const ProjectSettings& settings) {
  out.field("revision", settings.revision)
      .field("policy_revision", settings.policyRevision)
      .field("pause_revision", settings.pauseRevision)
      .key("changed_at");
  settings.changedMs > 0 ? out.value(isoText(settings.changedMs)) : out.null();
  out.optional("what", settings.what)
      .key("data_collection")
      .raw(settings.policy)
      .field("paused", settings.paused.has_value())
      .optional("paused_reason", settings.paused.value_or(""))
      .optional("release_id", settings.releaseId)
      .optional("app_id", settings.appId);
}

}  // namespace

Reply ProjectApi::policyKeys(const Request&) {
  return jsonReply(policyKeysJson());
}

Reply ProjectApi::projects(const Request&) {
  std::string error;
  auto names = queries_.seenProjects(error);
  if (!names) return errorReply(500, error);
  for (std::string& name : book_.projects()) names->push_back(std::move(name));
  std::sort(names->begin(), names->end());
  names->erase(std::unique(names->begin(), names->end()), names->end());
  JsonOut out;
  out.object().key("projects").array();
  for (const std::string& name : *names) {
    const ProjectSettings settings = book_.settings(name);
    const auto reached = queries_.reached(name, settings, error);
    if (!reached) return errorReply(500, error);
    out.object().field("project_id", name);
    writeSettings(out, settings);
    out.key("reached").raw(*reached).end();
  }
  return jsonReply(out.end().end().take());
}

Reply ProjectApi::answer(const std::string& project) {
  const ProjectSettings settings = book_.settings(project);
  std::string error;
  const auto reached = queries_.reached(project, settings, error);
  if (!reached) return errorReply(500, error);
  JsonOut out;
  out.object().field("project_id", project);
  writeSettings(out, settings);
  return jsonReply(out.key("reached").raw(*reached).end().take());
}

Reply ProjectApi::project(const Request& request) {
  return answer(projectOf(request));
}

Reply ProjectApi::changed(const std::string& project, bool good, const std::string& error) {
  if (!good) return errorReply(400, error);
  Reply reply = answer(project);
  if (reply.status == 200) feed_.publish("project", reply.body);
  return reply;
}

Reply ProjectApi::edit(const Request& request) {
  const std::string project = projectOf(request);
  std::string error;
  const bool good = book_.edit(project, request.body, error);
  return changed(project, good, error);
}

Reply ProjectApi::remove(const Request& request) {
  const std::string project = projectOf(request);
  std::string error;
  const bool good = answers_.remove(project, error) && book_.remove(project, error);
  return changed(project, good, error);
}

Reply ProjectApi::pause(const Request& request) {
  const std::string project = projectOf(request);
  std::string error;
  std::string reason;
  if (!readReason(request, reason)) return errorReply(400, kReasonForm);
  const bool good = book_.pause(project, std::move(reason), error);
  return changed(project, good, error);
}

Reply ProjectApi::resume(const Request& request) {
  const std::string project = projectOf(request);
  std::string error;
  const bool good = book_.resume(project, error);
  return changed(project, good, error);
}

Reply ProjectApi::answers(const Request& request) {
  return jsonReply(answersJson(answers_.answers(projectOf(request))));
}

Reply ProjectApi::setAnswers(const Request& request) {
  std::string error;
  if (!answers_.edit(projectOf(request), request.body, error)) return errorReply(400, error);
  return answers(request);
}

// So that clients take them anew.
Reply ProjectApi::removeScreenshots(const Request& request) {
  const std::string project = projectOf(request);
  const auto removed = store_.removeScreenshots(project);
  if (!removed) return errorReply(500, "the screenshots could not be removed");
  const Reply now = answer(project);
  if (now.status == 200) feed_.publish("project", now.body);
  return jsonReply(JsonOut().object().field("removed", *removed).end().take());
}

Reply ProjectApi::changes(const Request& request) {
  JsonOut out;
  out.object().key("changes").array();
  for (const ProjectSettings& each : book_.history(projectOf(request))) {
    out.object();
    writeSettings(out, each);
    out.end();
  }
  return jsonReply(out.end().end().take());
}

// Asks again whenever something has arrived, until every app of the project knows the newest
// settings.
Reply ProjectApi::wait(const Request& request) {
  Parameters parameters(request);
  const std::string project = projectOf(request);
  const std::int64_t ms = parameters.number("timeout_ms", 10'000, 0, 120'000);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  std::string error;
  for (;;) {
    const std::int64_t seen = store_.exchangesSeen();
    const auto reached = queries_.reached(project, book_.settings(project), error);
    if (!reached) return errorReply(500, error);
    const bool all = *reached != "[]" && reached->find("\"reached\":false") == std::string::npos;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (all || left.count() <= 0 || !store_.waitForExchange(seen, static_cast<int>(left.count()))) {
      JsonOut out;
      out.object().field("all_reached", all).key("apps").raw(*reached);
      return jsonReply(out.end().take());
    }
  }
}

Reply ProjectApi::listExchanges(const Request& request, std::string_view key, bool withBatches) {
  Parameters parameters(request);
  const Page page = parameters.page(false);
  ExchangeFilter filter;
  filter.project = parameters.text("project");
  filter.environment = parameters.text("environment");
  filter.app = parameters.text("app");
  filter.endpoint = parameters.text("endpoint");
  filter.withBatches = withBatches;
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = queries_.exchanges(filter, page, key, error);
  return result ? jsonReply(std::move(*result)) : errorReply(500, error);
}

Reply ProjectApi::exchanges(const Request& request) {
  return listExchanges(request, "exchanges", true);
}

Reply ProjectApi::calls(const Request& request) {
  return listExchanges(request, "calls", false);
}

Reply ProjectApi::installations(const Request& request) {
  Parameters parameters(request);
  const std::string project = parameters.text("project");
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = installations_.list(project, error);
  return result ? jsonReply(std::move(*result)) : errorReply(500, error);
}

Reply ProjectApi::installation(const Request& request) {
  std::string error;
  auto result = installations_.details(numberIn(lastPart(request)), error);
  if (result && result->empty()) return errorReply(404, "there is no such installation");
  return result ? jsonReply(std::move(*result)) : errorReply(500, error);
}

Reply ProjectApi::requests(const Request& request) {
  Parameters parameters(request);
  const Page page = parameters.page(true);
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = requests_.list(page, error);
  return result ? jsonReply(std::move(*result)) : errorReply(500, error);
}

Reply ProjectApi::rawRequests(const Request& request) {
  Parameters parameters(request);
  Page page = parameters.page(true);
  if (request.parameter("limit").empty()) page.limit = INT64_MAX;
  if (const std::string wrong = parameters.error(); !wrong.empty()) return errorReply(400, wrong);
  std::string error;
  auto result = requests_.raw(page, error);
  if (!result) return errorReply(500, error);
  Reply reply = jsonReply(std::move(*result));
  reply.contentType = "application/octet-stream";
  return reply;
}

}  // namespace zarn::collector
