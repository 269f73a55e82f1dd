// What the event queue needs of durable storage.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "model/event.h"

namespace zarn::events {

/// Any thread; an operation is finished when the call returns. Nothing is reported: without a
/// working disk every operation does nothing, and the queue goes on in memory.
class EventStorage {
 public:
  /// At most this many rows are loaded by one fetchPending.
  static constexpr std::size_t kFetchLimit = 500;

  virtual ~EventStorage() = default;
  /// Stores the event as pending; replaces a row of the same id. Survives the death of the process
  /// when the call returns.
  virtual void insert(const model::EncodedEvent& event) = 0;
  /// The oldest pending events, oldest first, which are then marked as in flight.
  virtual std::vector<model::EncodedEvent> fetchPending() = 0;
  virtual void remove(std::span<const std::string> ids) = 0;
  /// Removes these rows and clears all in-flight marks.
  virtual void resolve(std::span<const std::string> ids) = 0;
  virtual void removeAll() = 0;
};

}  // namespace zarn::events
