// The part of Reports about screens: each by its name, with its pictures.
#include <algorithm>

#include "server/report_rows.h"
#include "server/screen_json.h"
#include "server/screen_pictures.h"
#include "server/screen_ways.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostWays = 20;    // from or to one screen
constexpr std::size_t kMostVisits = 10;  // of one screen
constexpr std::size_t kMostCandidates = 10;

struct Row {
  std::string_view name;
  const ScreenViews* views = nullptr;
  const ScreenStay* stay = nullptr;

  std::int64_t busy() const {
    return std::max(views != nullptr ? views->count : 0, stay != nullptr ? stay->visits : 0);
  }
};

using Stays = std::map<std::string, ScreenStay, std::less<>>;
using Neighbours = std::map<std::string, std::int64_t, std::less<>>;

// What is to be written of, gone through once.
struct Screens {
  ScreenFacts facts;
  Stays stays;
  std::map<std::string, Neighbours, std::less<>> from, to;
  std::map<std::string, std::vector<const ScreenVisit*>, std::less<>> newest;
  ScreenPictures pictures;
};

// The busiest first.
std::vector<Row> rowsOf(const Screens& screens) {
  std::map<std::string_view, Row> rows;
  for (const auto& [name, views] : screens.facts.views) rows[name].views = &views;
  for (const auto& [name, stay] : screens.stays) rows[name].stay = &stay;
  std::vector<Row> sorted;
  for (auto& [name, row] : rows) {
    row.name = name;
    sorted.push_back(row);
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Row& a, const Row& b) { return a.busy() > b.busy(); });
  return sorted;
}

void writeCounts(JsonOut& out, const char* key, const Frequencies& counts) {
  out.key(key).object();
  for (const auto* each : counts.top()) out.field(each->first, each->second);
  out.end();
}

void writeTexts(JsonOut& out, const char* key, const Frequencies& counts) {
  out.key(key).array();
  for (const auto* each : counts.top()) out.value(each->first);
  out.end();
}

void writeCandidates(JsonOut& out, const ScreenViews& views) {
  using Candidate = ScreenViews::Candidate;
  const auto surer = [](const Candidate& a, const Candidate& b) {
    return a.confidence != b.confidence ? a.confidence > b.confidence : a.count > b.count;
  };
  out.key("candidates").array();
  for (const auto* each : firstOf(views.candidates, kMostCandidates, surer)) {
    out.object()
        .field("text", each->first.first)
        .field("source", each->first.second)
        .field("confidence", each->second.confidence)
        .field("count", each->second.count)
        .end();
  }
  out.end();
}

void writeNeighbours(JsonOut& out, const char* key, const Neighbours& neighbours) {
  out.key(key).array();
  const auto busier = [](std::int64_t a, std::int64_t b) { return a > b; };
  for (const auto* each : firstOf(neighbours, kMostWays, busier)) {
    out.object().field("name", each->first).field("count", each->second).end();
  }
  out.end();
}

void writeVisits(JsonOut& out, const std::vector<const ScreenVisit*>& visits) {
  out.key("recent_visits").array();
  for (const ScreenVisit* each : visits) {
    out.object().field("session_id", each->session);
    writeVisit(out, *each);
    out.end();
  }
  out.end();
}

void writePictures(JsonOut& out, const char* key,
                   const std::vector<const ScreenPicture*>& pictures) {
  out.key(key).array();
  for (const ScreenPicture* each : pictures) {
    out.object().field("screen_name", each->key).key("state");
    each->state.empty() ? out.null() : out.value(each->state);
    out.field("sha256", each->sha256)
        .field("width", each->width)
        .field("height", each->height)
        .field("bytes", each->bytes)
        .field("received_at", isoText(each->receivedMs))
        .field("app_id", each->app)
        .optional("release_id", each->releaseId)
        .end();
  }
  out.end();
}

template <class Map>
typename Map::mapped_type foundIn(const Map& map, std::string_view key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type() : found->second;
}

void writeScreen(JsonOut& out, Screens& screens, const Row& row) {
  const ScreenStay none;
  const ScreenViews unseen;
  const ScreenStay& stay = row.stay != nullptr ? *row.stay : none;
  const ScreenViews& views = row.views != nullptr ? *row.views : unseen;
  std::int64_t dwell = 0;
  for (const std::int64_t each : stay.dwells) addTo(dwell, each);
  out.object().field("name", row.name).field("views", views.count).field("visits", stay.visits);
  writeMedian(out, "dwell_median_ms", stay.dwells);
  out.field("dwell_total_ms", dwell).field("taps", stay.taps).field("scrolls", stay.scrolls);
  writeCounts(out, "states", views.states);
  writeCounts(out, "triggers", views.triggers);
  writeTexts(out, "classes", views.classes);
  writeTexts(out, "fingerprints", views.fingerprints);
  writeCandidates(out, views);
  writePictures(out, "screenshots", screens.pictures.of(row.name, row.views));
  writeNeighbours(out, "came_from", foundIn(screens.from, row.name));
  writeNeighbours(out, "went_to", foundIn(screens.to, row.name));
  writeVisits(out, foundIn(screens.newest, row.name));
  out.end();
}

void noteNewest(Screens& screens) {
  std::vector<const ScreenVisit*> visits;
  for (const ScreenVisit& each : screens.facts.visits) visits.push_back(&each);
  std::stable_sort(visits.begin(), visits.end(),
                   [](const auto* a, const auto* b) { return a->enteredMs > b->enteredMs; });
  for (const ScreenVisit* each : visits) {
    auto& newest = screens.newest[each->name];
    if (newest.size() < kMostVisits) newest.push_back(each);
  }
}

}  // namespace

Reports::Result Reports::screens(const ReportScope& scope, std::string& error) {
  Connections::Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  Screens screens;
  if (!readScreenFacts(lease, scope, screens.facts) ||
      !screens.pictures.read(lease, scope.project)) {
    return std::nullopt;
  }
  screens.stays = staysOf(screens.facts);
  for (const auto& [ends, way] : waysOf(screens.facts)) {
    screens.to[ends.first][ends.second] = way.count();
    screens.from[ends.second][ends.first] = way.count();
  }
  noteNewest(screens);
  std::vector<Row> rows = rowsOf(screens);
  JsonOut out;
  out.object().field("screen_count", rows.size()).key("screens").array();
  rows.resize(std::min<std::size_t>(rows.size(), kMostListed));
  for (const Row& row : rows) writeScreen(out, screens, row);
  out.end();
  writePictures(out, "other_screenshots", screens.pictures.others());
  return out.end().take();
}

}  // namespace zarn::collector
