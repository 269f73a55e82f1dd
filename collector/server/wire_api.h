// The endpoints that the library speaks to: init, config and batch.
#pragma once

#include "server/fault_board.h"
#include "server/live_feed.h"
#include "server/request.h"
#include "server/store.h"

namespace zarn::collector {

class WireApi {
 public:
  WireApi(Store& store, FaultBoard& faults, LiveFeed& feed)
      : store_(store), faults_(faults), feed_(feed) {}

  Reply batch(const Request& request);
  Reply init(const Request& request);
  Reply config(const Request& request);

 private:
  Reply refuse(int status, std::string message, const Request& request);
  Reply finish(BatchRecord& record, Reply reply);
  Reply call(Endpoint endpoint, const Request& request, std::vector<std::string> problems,
             Reply ordinary);

  Store& store_;
  FaultBoard& faults_;
  LiveFeed& feed_;
};

}  // namespace zarn::collector
