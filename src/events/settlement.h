// What becomes of a batch, by the acknowledgements for its events.
#pragma once

#include <string>
#include <vector>

#include "events/batch_sender.h"

namespace zarn::events {

struct Settlement {
  std::vector<std::string> settledIds;       // accepted or rejected: done with
  std::vector<model::EncodedEvent> retries;  // in batch order
};

/// An id that was accepted or rejected and is to be retried as well counts as settled. Ids outside
/// the batch are ignored; events without an acknowledgement are in neither list.
Settlement settle(const std::vector<model::EncodedEvent>& batch, const std::vector<BatchAck>& acks);

}  // namespace zarn::events
