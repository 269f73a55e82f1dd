// The queue's view of delivery: one batch out, one outcome back.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "base/closure.h"
#include "base/generation.h"
#include "base/serial_queue.h"
#include "model/event.h"

namespace zarn::events {

using Batch = std::shared_ptr<const std::vector<model::EncodedEvent>>;

/// What the server said of one event of a batch.
struct BatchAck {
  enum class Outcome {
    accepted,       // the server has it
    permanentFail,  // never retry
    transientFail,  // keep and retry
  };
  Outcome outcome;
  std::string eventId;
  std::string message;  // of permanentFail, in the server's words
};

/// The batch could not be delivered at all: no event was accepted or rejected.
struct BatchFailed {};

/// The server has paused the project; it said nothing of the events.
struct BatchPaused {
  std::optional<std::string> reason;
};

using BatchOutcome = std::variant<std::vector<BatchAck>, BatchPaused, BatchFailed>;

/// Any thread.
class BatchSender {
 public:
  /// The periods in which sending is allowed, counted: a batch that was taken in one is not sent in
  /// a later one.
  using Permits = base::Generation<BatchSender>;

  virtual ~BatchSender() = default;
  virtual Permits::Token permit() const = 0;
  /// Delivers the batch; without a request when `permit` has expired. `completion` runs exactly
  /// once, on `queue`, never inside the call.
  virtual void send(Batch batch, Permits::Token permit, base::SerialQueue& queue,
                    base::UniqueFunction<void(BatchOutcome)> completion) = 0;
};

}  // namespace zarn::events
