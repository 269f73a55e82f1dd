// Decides what a call about a link, an install, a push token or a screenshot is answered: a pure
// function of the project's answers, of what is kept, and of the fault or pause that meets it.
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
  bool hasScreenshot = false;         // of the screen in question
};

/// Sets status, cause and response of the record, whose `endpoint` must be set.
Reply planCall(ExchangeRecord& record, const CallFacts& facts, const CallMeeting& meeting);

/// Whether the screenshot of a call that was planned so is to be kept.
bool takesScreenshot(const ExchangeRecord& record, const CallFacts& facts,
                     const CallMeeting& meeting);

}  // namespace zarn::collector
