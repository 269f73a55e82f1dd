#include "capture/screen_properties.h"

#include <string>
#include <string_view>
#include <utility>

#include "base/iso8601.h"
#include "base/value_access.h"
#include "capture/screen_visit.h"
#include "capture/tap_tracker.h"
#include "capture/transition_tracker.h"

namespace zarn::capture {
namespace {

/// What the library has made itself, or a class: the filter for personal data leaves it alone.
Value own(std::string_view text) {
  return base::ValueAccess::opaque(std::string(text));
}

Array candidateObjects(const std::vector<model::NameCandidate>& candidates) {
  Array objects;
  for (const model::NameCandidate& candidate : candidates) {
    objects.emplace_back(Properties{{"text", candidate.text},
                                    {"source", own(model::name(candidate.source))},
                                    {"confidence", candidate.confidence}});
  }
  return objects;
}

Properties observedProperties(const ScreenSeen& screen) {
  return {{"screen_class", own(screen.className)},
          {"screen_fingerprint", own(model::screenFingerprint(screen.observation.structureHash))},
          {"screen_state", own(model::name(screen.observation.state))}};
}

}  // namespace

Properties appearanceProperties(const ScreenSeen& screen,
                                const std::vector<model::NameCandidate>& candidates) {
  Properties properties = observedProperties(screen);
  properties.set("_zarn_name_candidates", candidateObjects(candidates));
  return properties;
}

Properties tabSwitchProperties(const std::string& className) {
  return {{"screen_class", own(className)}, {"trigger", own("tab_switch")}};
}

Properties stateChangeProperties(const ScreenSeen& screen) {
  Properties properties = observedProperties(screen);
  properties.set("trigger", own("state_change"));
  return properties;
}

Properties manualScreenProperties(const Properties& properties) {
  Properties all = properties;
  all.set("screen_class", own("manual"));
  return all;
}

Properties visitProperties(const ScreenVisit& visit) {
  const Entry& entry = visit.entry;
  Properties properties{
      {"visit_id", visit.visitId},
      {"entry_index", visit.entryIndex},
      {"screen_id", own(entry.screenId)},
      {"entered_at", visit.enteredAt},
      {"dwell_ms", visit.dwellMs},
      {"tap_count", visit.tapCount},
      {"scroll_count", visit.scrollCount},
      {"exit_reason", own(name(visit.exitReason))},
      {"_zarn_name_candidates", candidateObjects(entry.nameCandidates)},
  };
  if (visit.exitedAt) properties.set("exited_at", *visit.exitedAt);
  if (entry.screenName) properties.set("screen_name", *entry.screenName);
  if (entry.triggerKind) properties.set("trigger_kind", own(name(*entry.triggerKind)));
  if (entry.triggerViewClass) properties.set("trigger_view_class", own(*entry.triggerViewClass));
  return properties;
}

Properties transitionProperties(const Transition& transition, Date now) {
  Properties properties{{"duration_ms", transition.elapsedMs},
                        {"from_identity_hash", own(transition.fromHash)},
                        {"to_identity_hash", own(transition.toHash)},
                        {"ts", own(base::iso8601Milliseconds(now))}};
  if (!transition.fromScreen.empty()) properties.set("from_screen", own(transition.fromScreen));
  if (!transition.toScreen.empty()) properties.set("to_screen", own(transition.toScreen));
  return properties;
}

Properties tapProperties(const Tap& tap) {
  return {{"target_class", own(tap.className)}, {"view_hierarchy", own(tap.hierarchy)}};
}

}  // namespace zarn::capture
