// What a batch is answered, event by event.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

enum class Verdict {
  accept,     // in "accepted_event_ids"
  permanent,  // in "errors", never to be sent again
  transient,  // in "errors", to be sent again
  omit,       // the answer says nothing of the event
};

std::string_view verdictWord(Verdict verdict);

struct EventAck {
  std::string id;
  Verdict verdict = Verdict::accept;
  std::string message;
};

/// Events without an id cannot be named and are left out.
std::string batchAnswer(const std::vector<EventAck>& acks);
std::string pausedAnswer(std::string_view reason);

}  // namespace zarn::collector
