// The collector's own API under /api/collector/: what has arrived, and the switches.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "server/fault_board.h"
#include "server/live_feed.h"
#include "server/queries.h"
#include "server/request.h"
#include "server/store.h"

namespace zarn::collector {

struct CollectorFacts {
  std::string version;
  std::string address;
  std::string dataDirectory;
  std::size_t mostBodyBytes = 0;
  bool hasViewer = false;
  std::int64_t startedMs = 0;
};

class ControlApi {
 public:
  ControlApi(Store& store, FaultBoard& faults, LiveFeed& feed, CollectorFacts facts)
      : store_(store),
        faults_(faults),
        feed_(feed),
        queries_(store.file()),
        facts_(std::move(facts)) {}

  Reply state(const Request& request);
  Reply counts(const Request& request);
  Reply countsBy(const Request& request);
  Reply count(const Request& request);
  Reply wait(const Request& request);
  Reply timeline(const Request& request);
  Reply events(const Request& request);
  Reply event(const Request& request);
  Reply ids(const Request& request);
  Reply batches(const Request& request);
  Reply batch(const Request& request);
  Reply live(const Request& request);
  Reply reset(const Request& request);

  Reply faults(const Request& request);
  Reply addFault(const Request& request);
  Reply replaceFaults(const Request& request);
  Reply clearFaults(const Request& request);
  Reply removeFault(const Request& request);
  Reply pause(const Request& request);
  Reply resume(const Request& request);

 private:
  Reply faultsChanged();

  Store& store_;
  FaultBoard& faults_;
  LiveFeed& feed_;
  Queries queries_;
  const CollectorFacts facts_;
};

}  // namespace zarn::collector
