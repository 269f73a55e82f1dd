#include "runtime/admission.h"

#include <array>
#include <optional>
#include <utility>

#include "base/uuid.h"
#include "events/event_context.h"
#include "identity/identity_manager.h"
#include "identity/session_ids.h"
#include "model/event_encoder.h"
#include "platform/clock.h"
#include "platform/random.h"
#include "runtime/privacy_state.h"
#include "runtime/property_sanitizer.h"
#include "runtime/run_state.h"

namespace zarn::runtime {

using model::LifecycleState;

/// Who and when, as one consistent picture.
struct Admission::Picture {
  events::EventQueue::DiscardGeneration::Token generation;
  std::shared_ptr<const identity::IdentitySnapshot> identity;
  std::shared_ptr<const std::string> sessionId;
};

bool Admission::passesGates(model::EventType type, std::string_view name) const {
  if (parts_.privacy.optedOut()) {
    log_.debug({"[Zarn] tracking opted out — dropping event: ", name});
    return false;
  }
  if (parts_.privacy.awaitingFreshPolicyAfterOptIn()) {
    log_.debug({"[Zarn] awaiting fresh policy after opt-in — dropping event: ", name});
    return false;
  }
  if (const auto config = parts_.remoteConfig.get(); config && !shouldTrack(type, *config)) {
    log_.debug({"[Zarn] remote config — dropping disabled event: ", name});
    return false;
  }
  const LifecycleState state = parts_.runState.current();
  if (state == LifecycleState::pausedByServer) {
    log_.debug({"[Zarn] pausedByServer — dropping event: ", name});
    return false;
  }
  if (state == LifecycleState::initialising) {
    log_.debug({"[Zarn] initialising — buffering event: ", name});
  }
  return true;
}

bool Admission::admit(model::EventType type, std::string_view name, const Properties& properties,
                      std::optional<DiscardGeneration::Token> since,
                      const std::function<void()>* admitted) {
  if (!passesGates(type, name)) return false;
  std::optional<Picture> picture;
  {
    base::MutexLock lock(parts_.boundary.lock);
    picture.emplace(Picture{parts_.queue.currentDiscardGeneration(), parts_.identity.snapshot(),
                            parts_.session.id()});
    // Again, now that a boundary can't come in between: one that came since the first look would
    // otherwise let this event slip in behind it. A pause sets its state before it discards, so
    // looking after the generation was read sees either the state or, at the queue, the discard.
    if (parts_.privacy.optedOut() || parts_.privacy.awaitingFreshPolicyAfterOptIn() ||
        parts_.runState.isPaused() || (since && *since != picture->generation)) {
      return false;
    }
  }
  if (!parts_.queue.enqueue(encode(type, name, properties, *picture), picture->generation)) {
    return false;
  }
  if (admitted != nullptr) {
    base::MutexLock lock(parts_.boundary.lock);
    const auto config = parts_.remoteConfig.get();
    if (!parts_.privacy.optedOut() &&
        picture->generation == parts_.queue.currentDiscardGeneration() &&
        (!config || shouldTrack(type, *config))) {
      (*admitted)();
    }
  }
  return true;
}

model::EncodedEvent Admission::encode(model::EventType type, std::string_view name,
                                      const Properties& properties, const Picture& picture) const {
  std::array<std::uint8_t, 16> random;
  parts_.random.fill(random);
  const auto id = base::uuidChars(base::uuidFromRandom(random));
  const auto context = parts_.context.current();
  model::EncodedEvent event;
  event.id.assign(id.data(), id.size());
  event.name = name;
  event.time = parts_.clock.now();
  const model::EventFields fields{.eventId = event.id,
                                  .idMembers = picture.identity->idMembers,
                                  .sessionId = *picture.sessionId,
                                  .fingerprintMember = picture.identity->fingerprintMember,
                                  .type = type,
                                  .name = name,
                                  .time = event.time,
                                  .context = *context};
  // Trivially destructible on purpose: a host's static destructor may track after the thread's own
  // objects are gone.
  static thread_local std::size_t lastSize = 0;
  std::string encoded;
  encoded.reserve(lastSize);
  const SanitizingRules rules = sanitizingRules(type);
  const bool isAttributed = attribution && type != model::EventType::pushOpen;
  const Properties attributed = isAttributed ? attribution() : Properties();
  encodeEvent(encoded, fields, [&](base::JsonWriter& json) {
    for (const auto& [key, value] : picture.identity->superProperties) {
      if (properties.find(key) == nullptr && attributed.find(key) == nullptr) {
        parts_.sanitizer.write(json, key, value, rules, false);
      }
    }
    for (const auto& [key, value] : attributed) {
      if (properties.find(key) == nullptr) parts_.sanitizer.write(json, key, value, rules, false);
    }
    for (const auto& [key, value] : properties) {
      parts_.sanitizer.write(json, key, value, rules, true);
    }
  });
  lastSize = encoded.size();
  event.json = std::make_shared<const std::string>(std::move(encoded));
  return event;
}

}  // namespace zarn::runtime
