// Admission: the one road by which an event comes in, from the host or from a producer. Its checks
// run in a fixed order, the first that fires ends the call, and each has a debug line of its own.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "events/event_queue.h"
#include "model/event.h"
#include "model/published.h"
#include "model/remote_config.h"
#include "platform/log.h"
#include "zarn/value.h"

namespace zarn::platform {
class Clock;
class Random;
}  // namespace zarn::platform
namespace zarn::identity {
class IdentityManager;
class SessionIds;
struct IdentitySnapshot;
}  // namespace zarn::identity
namespace zarn::events {
class EventContextSource;
}  // namespace zarn::events

namespace zarn::runtime {

class PrivacyState;
class PropertySanitizer;
class RunState;

/// Makes the reading of identity, session and discard generation one step against the boundaries
/// that change them.
struct IdentityBoundary {
  base::Mutex lock{base::LockRank::identityBoundary};
};

/// What admission stands on.
struct AdmissionParts {
  platform::Clock& clock;
  platform::Random& random;
  const PrivacyState& privacy;
  const RunState& runState;
  IdentityBoundary& boundary;
  const identity::IdentityManager& identity;
  const identity::SessionIds& session;
  const model::Published<model::RemoteDataCollectionConfig>& remoteConfig;
  events::EventContextSource& context;
  const PropertySanitizer& sanitizer;
  events::EventQueue& queue;
};

/// Any thread. No network, and no file but for the one row that the queue's store inserts.
class Admission {
 public:
  Admission(const AdmissionParts& parts, platform::Log log) : parts_(parts), log_(log) {}

  /// What every event but the opening of a push is to carry besides its own properties; wins over
  /// super properties. May be empty. Set before the first event.
  std::function<Properties()> attribution;

  using DiscardGeneration = events::EventQueue::DiscardGeneration;

  /// The event is durable when this returns true; false when it was dropped by a rule.
  bool admitEvent(model::EventType type, std::string_view name, const Properties& properties) {
    return admit(type, name, properties, std::nullopt, nullptr);
  }
  /// The same; `admitted` runs when the event is in, in one step against the boundaries, and not at
  /// all when one, or a policy against such events, has come meanwhile. It may neither wait nor
  /// admit.
  bool admitEvent(model::EventType type, std::string_view name, const Properties& properties,
                  const std::function<void()>& admitted) {
    return admit(type, name, properties, std::nullopt, &admitted);
  }
  /// The same for an event that belongs to a change of identity: dropped when a boundary has come
  /// since the change, since it would tie the next user to the last.
  bool admitEvent(model::EventType type, std::string_view name, const Properties& properties,
                  DiscardGeneration::Token since) {
    return admit(type, name, properties, since, nullptr);
  }

  /// Runs a change of identity in one step against the boundaries, and gives what admitEvent needs
  /// to tell whether one has come since.
  template <typename F>
  DiscardGeneration::Token change(F&& apply) {
    base::MutexLock lock(parts_.boundary.lock);
    apply();
    return parts_.queue.currentDiscardGeneration();
  }

 private:
  struct Picture;
  bool admit(model::EventType type, std::string_view name, const Properties& properties,
             std::optional<DiscardGeneration::Token> since, const std::function<void()>* admitted);
  bool passesGates(model::EventType type, std::string_view name) const;
  model::EncodedEvent encode(model::EventType type, std::string_view name,
                             const Properties& properties, const Picture& picture) const;

  const AdmissionParts parts_;
  const platform::Log log_;
};

}  // namespace zarn::runtime
