// The part of Reports about the ways between screens, and the newest visits of whole sessions.
#include <algorithm>

#include "server/report_rows.h"
#include "server/screen_json.h"
#include "server/screen_pictures.h"
#include "server/screen_ways.h"
#include "server/time_text.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostScreens = 60;
constexpr std::size_t kMostWays = 400;
constexpr std::size_t kMostSessions = 30;
constexpr std::size_t kMostSteps = 300;  // of a session

struct Node {
  const ScreenViews* views = nullptr;
  ScreenStay stay;
  std::int64_t arrivals = 0;  // by a way

  // A screen that is still looked at has been seen and reached, but not left.
  std::int64_t busy() const {
    return std::max({views != nullptr ? views->count : 0, stay.visits, arrivals});
  }
};

using Nodes = std::map<std::string, Node, std::less<>>;

Nodes nodesOf(const ScreenFacts& facts, const ScreenWays& ways) {
  Nodes nodes;
  for (const auto& [name, views] : facts.views) nodes[name].views = &views;
  for (auto& [name, stay] : staysOf(facts)) nodes[name].stay = stay;
  for (const auto& [ends, way] : ways) {
    nodes[ends.first];
    addTo(nodes[ends.second].arrivals, way.count());
  }
  return nodes;
}

// The picture of a settled screen tells the most.
const ScreenPicture* bestOf(const std::vector<const ScreenPicture*>& pictures) {
  const auto settled = std::find_if(pictures.begin(), pictures.end(), [](const auto* each) {
    return each->state == "populated" || each->state == "normal";
  });
  if (settled != pictures.end()) return *settled;
  return pictures.empty() ? nullptr : pictures.front();
}

void writeNode(JsonOut& out, std::string_view name, const Node& node, ScreenPictures& pictures) {
  const ScreenPicture* picture = bestOf(pictures.of(name, node.views));
  out.object()
      .field("name", name)
      .field("views", node.views != nullptr ? node.views->count : 0)
      .field("visits", node.stay.visits);
  writeMedian(out, "dwell_median_ms", node.stay.dwells);
  out.field("taps", node.stay.taps)
      .field("scrolls", node.stay.scrolls)
      .field("starts", node.stay.starts)
      .field("ends", node.stay.ends)
      .key("screenshot");
  picture != nullptr ? out.value(picture->sha256) : out.null();
  out.end();
}

void writeWays(JsonOut& out, const ScreenWays& ways, const Nodes& shown) {
  ScreenWays between;
  for (const auto& [ends, way] : ways) {
    if (shown.count(ends.first) > 0 && shown.count(ends.second) > 0) between[ends] = way;
  }
  out.key("edges").array();
  const auto busier = [](const ScreenWay& a, const ScreenWay& b) { return a.count() > b.count(); };
  for (const auto* way : firstOf(between, kMostWays, busier)) {
    out.object()
        .field("from", way->first.first)
        .field("to", way->first.second)
        .field("count", way->second.count())
        .field("visits", way->second.visits)
        .field("transitions", way->second.durations.size());
    writeMedian(out, "median_ms", way->second.durations);
    out.end();
  }
  out.end();
}

using Session = std::pair<const ScreenVisit*, const ScreenVisit*>;  // its visits, the end excluded

// The one that was seen last comes first.
std::vector<Session> sessionsOf(const std::vector<ScreenVisit>& visits) {
  std::vector<Session> sessions;
  const ScreenVisit* const end = visits.data() + visits.size();
  for (const ScreenVisit* at = visits.data(); at != end;) {
    const ScreenVisit* next = std::find_if(
        at, end, [at](const ScreenVisit& each) { return each.session != at->session; });
    sessions.emplace_back(at, next);
    at = next;
  }
  std::stable_sort(sessions.begin(), sessions.end(), [](const Session& a, const Session& b) {
    return (a.second - 1)->enteredMs > (b.second - 1)->enteredMs;
  });
  return sessions;
}

void writeSession(JsonOut& out, const Session& session) {
  const auto& [first, end] = session;
  out.object()
      .field("session_id", first->session)
      .field("device_id", first->device)
      .field("started_at", isoText(first->enteredMs))
      .field("visit_count", end - first)
      .key("visits")
      .array();
  const ScreenVisit* const shownEnd =
      first + std::min<std::ptrdiff_t>(end - first, std::ptrdiff_t{kMostSteps});
  for (const ScreenVisit* each = first; each != shownEnd; ++each) {
    out.object().field("name", each->name);
    writeVisit(out, *each);
    out.end();
  }
  out.end().end();
}

}  // namespace

Reports::Result Reports::flow(const ReportScope& scope, std::string& error) {
  Connections::Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  ScreenFacts facts;
  ScreenPictures pictures;
  if (!readScreenFacts(lease, scope, facts) || !pictures.read(lease, scope.project)) {
    return std::nullopt;
  }
  const ScreenWays ways = waysOf(facts);
  const Nodes nodes = nodesOf(facts, ways);
  const std::vector<Session> sessions = sessionsOf(facts.visits);
  const auto busier = [](const Node& a, const Node& b) { return a.busy() > b.busy(); };
  Nodes shown;
  JsonOut out;
  out.object()
      .field("visit_count", facts.visits.size())
      .field("transition_count", facts.transitions.size())
      .field("screen_count", nodes.size())
      .field("session_count", sessions.size())
      .key("screens")
      .array();
  for (const auto* node : firstOf(nodes, kMostScreens, busier)) {
    shown.insert(*node);
    writeNode(out, node->first, node->second, pictures);
  }
  out.end();
  writeWays(out, ways, shown);
  out.key("sessions").array();
  const std::size_t told = std::min(sessions.size(), kMostSessions);
  for (std::size_t i = 0; i < told; ++i) writeSession(out, sessions[i]);
  return out.end().end().take();
}

}  // namespace zarn::collector
