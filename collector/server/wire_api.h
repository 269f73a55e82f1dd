// The endpoints that the library speaks to: batch, init and config, and the calls about links,
// installs, push tokens and screenshots.
#pragma once

#include "server/answer_book.h"
#include "server/batch_plan.h"
#include "server/fault_board.h"
#include "server/live_feed.h"
#include "server/project_book.h"
#include "server/request.h"
#include "server/store.h"

namespace zarn::collector {

class WireApi {
 public:
  WireApi(Store& store, ProjectBook& book, const AnswerBook& answers, FaultBoard& faults,
          LiveFeed& feed)
      : store_(store), book_(book), answers_(answers), faults_(faults), feed_(feed) {}

  Reply batch(const Request& request);
  Reply init(const Request& request);
  Reply config(const Request& request);
  Reply resolve(const Request& request);
  Reply validate(const Request& request);
  Reply registerToken(const Request& request);
  Reply screenshotCheck(const Request& request);
  Reply screenshot(const Request& request);
  /// Keeps any request as it came, before it is answered.
  void record(const Request& request);

 private:
  Reply refuse(int status, std::string message, const Request& request);
  Reply finish(BatchRecord& record, Reply reply);
  Reply refuseCall(Endpoint endpoint, const Request& request, Refusal refusal);
  Reply exchange(Endpoint endpoint, const Request& request, CallerFacts caller);
  Reply call(Endpoint endpoint, const Request& request);
  void tellPause(const BatchRecord& batch, const ProjectSettings& settings, const Meeting& meeting,
                 Reply& reply);
  void keep(ExchangeRecord& record, Reply& reply);

  Store& store_;
  ProjectBook& book_;
  const AnswerBook& answers_;
  FaultBoard& faults_;
  LiveFeed& feed_;
};

}  // namespace zarn::collector
