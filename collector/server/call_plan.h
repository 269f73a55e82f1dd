// Decides what a call about a link, an install or a push token is answered: a pure function of the
// project's answers and of the fault or pause that meets it.
#pragma once

#include <optional>
#include <string>

#include "server/answer_book.h"
#include "server/call_check.h"
#include "server/records.h"
#include "server/request.h"

namespace zarn::collector {

struct CallMeeting {
  std::optional<FaultRule> fault;
  Answers answers;
  std::optional<std::string> paused;  // the pause's reason, the project's or everybody's
};

/// Sets status, cause and response of the record, whose `endpoint` must be set.
Reply planCall(ExchangeRecord& record, const CallFacts& facts, const CallMeeting& meeting);

}  // namespace zarn::collector
