#include "events/settlement.h"

#include <string_view>
#include <unordered_map>

namespace zarn::events {

Settlement settle(const std::vector<model::EncodedEvent>& batch,
                  const std::vector<BatchAck>& acks) {
  std::unordered_map<std::string_view, bool> settled;  // by id: or else to be retried
  for (const auto& ack : acks) {
    settled[ack.eventId] |= ack.outcome != BatchAck::Outcome::transientFail;
  }
  Settlement settlement;
  for (const auto& event : batch) {
    const auto found = settled.find(event.id);
    if (found == settled.end()) continue;
    if (found->second) {
      settlement.settledIds.push_back(event.id);
    } else {
      settlement.retries.push_back(event);
    }
  }
  return settlement;
}

}  // namespace zarn::events
