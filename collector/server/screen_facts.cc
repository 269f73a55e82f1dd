#include "server/screen_facts.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>

namespace zarn::collector {
namespace {

constexpr std::string_view kScreenTypes =
    "seq IN (SELECT seq FROM events WHERE type IN ('screen_view', 'screen_visit',"
    " 'screen_transition'))";
constexpr std::size_t kMostSightings = 200'000;
constexpr std::size_t kMostCandidates = 50;  // of a screen

// A transition as it was told, by the screens' ids.
struct SentTransition {
  std::string session, from, to;
  std::int64_t atMs = 0, ms = 0;
};

// Which name a screen's id stood for, and when. Screens of the same shape share an id, so that the
// session and the time have to tell them apart.
class Sightings {
 public:
  void add(std::string_view session, std::string_view id, std::string_view name, std::int64_t ms) {
    if (id.empty() || name.empty() || count_ >= kMostSightings) return;
    ++count_;
    bySession_[{std::string(session), std::string(id)}].push_back({ms, std::string(name)});
    newest_.emplace(id, name);  // events come newest first
  }

  /// The id itself where nothing is known of it.
  std::string nameOf(const std::string& session, const std::string& id, std::int64_t ms) const {
    if (const auto seen = bySession_.find({session, id}); seen != bySession_.end()) {
      const auto nearer = [ms](const Sighting& a, const Sighting& b) {
        return std::abs(a.ms - ms) < std::abs(b.ms - ms);
      };
      return std::min_element(seen->second.begin(), seen->second.end(), nearer)->name;
    }
    const auto known = newest_.find(id);
    return known == newest_.end() ? id : known->second;
  }

 private:
  struct Sighting {
    std::int64_t ms;
    std::string name;
  };
  std::map<std::pair<std::string, std::string>, std::vector<Sighting>> bySession_;
  std::map<std::string, std::string, std::less<>> newest_;
  std::size_t count_ = 0;
};

// A time of some year between 1970 and 2100, in milliseconds.
std::int64_t timeIn(const SentEvent& event, std::string_view key) {
  constexpr std::int64_t latest = 4'102'444'800'000;
  const std::int64_t told = countIn(event.properties, key);
  return told > 0 && told < latest ? told : event.ms;
}

void addCandidates(ScreenViews& views, const rapidjson::Value& properties) {
  const rapidjson::Value* list = memberOf(properties, "_zarn_name_candidates");
  if (list == nullptr || !list->IsArray()) return;
  for (const rapidjson::Value& each : list->GetArray()) {
    if (!each.IsObject() || textIn(each, "text").empty()) continue;
    const std::pair key(std::string(textIn(each, "text")), std::string(textIn(each, "source")));
    const bool isNew = views.candidates.count(key) == 0;
    if (isNew && views.candidates.size() >= kMostCandidates) continue;
    ScreenViews::Candidate& candidate = views.candidates[key];
    ++candidate.count;
    const rapidjson::Value* confidence = memberOf(each, "confidence");
    if (isNew && confidence != nullptr && confidence->IsNumber()) {
      candidate.confidence = confidence->GetDouble();
    }
  }
}

void addView(ScreenFacts& facts, Sightings& sightings, const SentEvent& event) {
  ScreenViews* views = entryOf(facts.views, event.name, ScreenFacts::kMostScreens);
  if (views == nullptr) return;
  ++views->count;
  const std::pair<std::string_view, Frequencies*> words[] = {
      {"screen_state", &views->states},
      {"trigger", &views->triggers},
      {"screen_class", &views->classes},
      {"screen_fingerprint", &views->fingerprints}};
  for (const auto& [key, counts] : words) {
    const std::string_view word = textIn(event.properties, key);
    if (!word.empty()) counts->add(word);
  }
  addCandidates(*views, event.properties);
  sightings.add(event.session, textIn(event.properties, "screen_fingerprint"), event.name,
                event.ms);
}

void addVisit(ScreenFacts& facts, Sightings& sightings, const SentEvent& event) {
  if (facts.visits.size() >= ScreenFacts::kMostVisits) return;
  ScreenVisit visit;
  visit.name = textIn(event.properties, "screen_name");
  visit.screenId = textIn(event.properties, "screen_id");
  visit.session = event.session;
  visit.device = event.device;
  visit.eventId = event.id;
  visit.exitReason = textIn(event.properties, "exit_reason");
  visit.enteredMs = timeIn(event, "entered_at");
  visit.dwellMs = countIn(event.properties, "dwell_ms");
  visit.index = countIn(event.properties, "entry_index");
  visit.taps = countIn(event.properties, "tap_count");
  visit.scrolls = countIn(event.properties, "scroll_count");
  sightings.add(visit.session, visit.screenId, visit.name, visit.enteredMs);
  facts.visits.push_back(std::move(visit));
}

}  // namespace

bool readScreenFacts(Connections::Lease& lease, const ReportScope& scope, ScreenFacts& facts) {
  Sightings sightings;
  std::vector<SentTransition> transitions;
  const auto read = [&](const SentEvent& event) {
    if (event.type == "screen_view") return addView(facts, sightings, event);
    if (event.type == "screen_visit") return addVisit(facts, sightings, event);
    if (transitions.size() >= ScreenFacts::kMostTransitions) return;
    transitions.push_back({std::string(event.session),
                           std::string(textIn(event.properties, "from_screen")),
                           std::string(textIn(event.properties, "to_screen")), event.ms,
                           countIn(event.properties, "duration_ms")});
  };
  if (!eachEvent(lease, scope, kScreenTypes, kAllRows, read)) return false;
  for (const SentTransition& each : transitions) {
    if (each.from.empty() || each.to.empty()) continue;
    facts.transitions.push_back({sightings.nameOf(each.session, each.from, each.atMs - each.ms),
                                 sightings.nameOf(each.session, each.to, each.atMs), each.ms});
  }
  for (ScreenVisit& visit : facts.visits) {
    if (!visit.name.empty()) continue;
    visit.name = sightings.nameOf(visit.session, visit.screenId, visit.enteredMs);
  }
  std::sort(facts.visits.begin(), facts.visits.end(),
            [](const ScreenVisit& a, const ScreenVisit& b) {
              return std::tie(a.session, a.enteredMs, a.index) <
                     std::tie(b.session, b.enteredMs, b.index);
            });
  return true;
}

}  // namespace zarn::collector
