// Reading the server's answer to a batch.
#pragma once

#include <string_view>
#include <vector>

#include "events/batch_sender.h"

namespace zarn::events {

/// The outcome that a body of a 2xx answer tells for `batch`. An answer that says nothing of an
/// event, or that can't be read at all, keeps the event for a retry.
BatchOutcome readBatchAnswer(std::string_view body, const std::vector<model::EncodedEvent>& batch);

/// The same outcome for every event.
std::vector<BatchAck> sameForAll(const std::vector<model::EncodedEvent>& batch,
                                 BatchAck::Outcome outcome, std::string_view message = {});

}  // namespace zarn::events
