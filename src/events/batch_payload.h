// The body of a batch request.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "model/event.h"

namespace zarn::events {

/// What goes with the events of a batch.
struct BatchEnvelope {
  std::string projectId;
  std::string apiKey;
  std::string environment;
  std::string appVersion;
  std::string bundleId;
  std::string releaseId;                       // empty until the server has named one
  std::shared_ptr<const std::string> context;  // a JSON object; null: the batch goes without
};

/// The body in pieces, sent one after the other: the events are shared with the batch, not copied.
std::vector<std::shared_ptr<const std::string>> encodeBatch(
    const BatchEnvelope& envelope, const std::vector<model::EncodedEvent>& batch, Date sentAt);

}  // namespace zarn::events
