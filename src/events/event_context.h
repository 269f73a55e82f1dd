// The small context that travels on every event: what the device and its connection are like now.
#pragma once

#include <memory>
#include <string>

#include "base/mutex.h"
#include "model/published.h"
#include "model/remote_config.h"
#include "platform/device.h"
#include "platform/path_monitor.h"

namespace zarn::events {

/// What can change while the process runs.
struct ContextInputs {
  std::shared_ptr<const model::RemoteDataCollectionConfig> config;  // null: collect all
  std::shared_ptr<const platform::NetworkPath> path;                // null: none has arrived
  platform::Battery battery;
  friend bool operator==(const ContextInputs&, const ContextInputs&) = default;
};

/// The context as a JSON object, with what the server forbids left out or blanked.
std::string encodeEventContext(const ContextInputs& inputs, const platform::DeviceFacts& device,
                               const platform::AppFacts& app, const platform::LocaleFacts& locale);

/// Any thread. Encodes only when something has changed.
class EventContextSource {
 public:
  EventContextSource(platform::Device& device,
                     const model::Published<model::RemoteDataCollectionConfig>& config,
                     const model::Published<platform::NetworkPath>& path);

  /// The context as of now, as a JSON object.
  std::shared_ptr<const std::string> current();

 private:
  ContextInputs readInputs();

  // Constant after construction.
  platform::Device& device_;
  const model::Published<model::RemoteDataCollectionConfig>& config_;
  const model::Published<platform::NetworkPath>& path_;

  base::Mutex lock_{base::LockRank::leaf};
  ContextInputs encodedFrom_ ZARN_GUARDED_BY(lock_);
  std::shared_ptr<const std::string> encoded_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::events
