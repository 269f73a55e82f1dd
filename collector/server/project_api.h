// The part of the collector's own API that is about the control plane: what each project's clients
// are to do, and what they have been told of it.
#pragma once

#include <string>

#include "server/answer_book.h"
#include "server/installation_queries.h"
#include "server/live_feed.h"
#include "server/project_book.h"
#include "server/project_queries.h"
#include "server/request.h"
#include "server/request_log.h"

namespace zarn::collector {

class ProjectApi {
 public:
  ProjectApi(Store& store, ProjectBook& book, AnswerBook& answers, LiveFeed& feed)
      : store_(store),
        book_(book),
        answers_(answers),
        feed_(feed),
        queries_(store.file()),
        installations_(store.file()),
        requests_(store) {}

  Reply policyKeys(const Request& request);
  Reply projects(const Request& request);
  Reply project(const Request& request);
  Reply edit(const Request& request);
  Reply remove(const Request& request);
  Reply pause(const Request& request);
  Reply resume(const Request& request);
  Reply answers(const Request& request);
  Reply setAnswers(const Request& request);
  Reply removeScreenshots(const Request& request);
  Reply changes(const Request& request);
  Reply wait(const Request& request);
  Reply exchanges(const Request& request);
  Reply calls(const Request& request);
  Reply installations(const Request& request);
  Reply installation(const Request& request);
  Reply requests(const Request& request);
  Reply rawRequests(const Request& request);

 private:
  Reply answer(const std::string& project);
  Reply changed(const std::string& project, bool good, const std::string& error);
  Reply listExchanges(const Request& request, std::string_view key, bool withBatches);

  Store& store_;
  ProjectBook& book_;
  AnswerBook& answers_;
  LiveFeed& feed_;
  ProjectQueries queries_;
  InstallationQueries installations_;
  RequestLog requests_;
};

}  // namespace zarn::collector
