#include "server/screen_ways.h"

#include <algorithm>

namespace zarn::collector {
namespace {

bool isSameSession(const ScreenVisit& a, const ScreenVisit& b) {
  return a.session == b.session;
}

bool leadsTo(const ScreenVisit& from, const ScreenVisit& to) {
  const bool goesOn = from.exitReason == "background" && from.screenId == to.screenId;
  return isSameSession(from, to) && to.index == from.index + 1 && !goesOn;
}

}  // namespace

std::int64_t ScreenWay::count() const {
  return std::max(visits, static_cast<std::int64_t>(durations.size()));
}

ScreenWays waysOf(const ScreenFacts& facts) {
  ScreenWays ways;
  for (std::size_t i = 1; i < facts.visits.size(); ++i) {
    const ScreenVisit& from = facts.visits[i - 1];
    const ScreenVisit& to = facts.visits[i];
    if (leadsTo(from, to)) ++ways[{from.name, to.name}].visits;
  }
  for (const ScreenTransition& each : facts.transitions) {
    ways[{each.from, each.to}].durations.push_back(each.ms);
  }
  return ways;
}

std::map<std::string, ScreenStay, std::less<>> staysOf(const ScreenFacts& facts) {
  std::map<std::string, ScreenStay, std::less<>> stays;
  const std::vector<ScreenVisit>& visits = facts.visits;
  for (std::size_t i = 0; i < visits.size(); ++i) {
    ScreenStay& stay = stays[visits[i].name];
    ++stay.visits;
    addTo(stay.taps, visits[i].taps);
    addTo(stay.scrolls, visits[i].scrolls);
    stay.dwells.push_back(visits[i].dwellMs);
    stay.starts += i == 0 || !isSameSession(visits[i - 1], visits[i]);
    stay.ends += i + 1 == visits.size() || !isSameSession(visits[i], visits[i + 1]);
  }
  return stays;
}

std::optional<std::int64_t> medianOf(std::vector<std::int64_t> values) {
  if (values.empty()) return std::nullopt;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace zarn::collector
