// Decides what a batch is answered and which of its events are kept: a pure function of the batch
// and of the fault or pause that meets it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/fault_rule.h"
#include "server/records.h"
#include "server/request.h"

namespace zarn::collector {

struct Meeting {
  std::optional<FaultRule> fault;
  std::vector<bool> picked;           // for outcomes: which events the fault picks
  std::optional<std::string> paused;  // the pause's reason
};

/// Sets verdict and keep of every event, and cause, status and response of the record. What the
/// reply's fault still does to it on the way out (delay, hang, drop, cut) is left to the sender.
Reply planBatch(BatchRecord& record, const Meeting& meeting);

}  // namespace zarn::collector
