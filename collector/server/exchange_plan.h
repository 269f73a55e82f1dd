// Decides what an init or config request is answered: a pure function of the project's settings and
// of the fault or pause that meets the request.
#pragma once

#include <optional>
#include <string>

#include "server/fault_rule.h"
#include "server/records.h"
#include "server/request.h"

namespace zarn::collector {

struct ExchangeMeeting {
  std::optional<FaultRule> fault;
  ProjectSettings settings;           // older ones when the fault is stale
  std::optional<std::string> paused;  // the pause's reason, the project's or everybody's
};

/// Sets status, cause, response and what the answer tells of the settings. `endpoint`, `caller` of
/// the record must be set.
Reply planExchange(ExchangeRecord& record, const ExchangeMeeting& meeting);

}  // namespace zarn::collector
