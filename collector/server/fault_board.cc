#include "server/fault_board.h"

#include <algorithm>
#include <chrono>

#include "server/json.h"

namespace zarn::collector {

using Lock = std::unique_lock<std::mutex>;

bool FaultBoard::add(FaultRule& rule) {
  const Lock lock(mutex_);
  if (entries_.size() >= kMostRules) return false;
  rule.id = nextId_++;
  entries_.push_back({rule});
  return true;
}

bool FaultBoard::replace(std::vector<FaultRule> rules) {
  const Lock lock(mutex_);
  if (rules.size() > kMostRules) return false;
  entries_.clear();
  for (FaultRule& rule : rules) {
    rule.id = nextId_++;
    entries_.push_back({std::move(rule)});
  }
  changed_.notify_all();
  return true;
}

bool FaultBoard::remove(std::int64_t id) {
  const Lock lock(mutex_);
  const auto removed =
      std::erase_if(entries_, [&](const Entry& entry) { return entry.rule.id == id; });
  changed_.notify_all();
  return removed > 0;
}

void FaultBoard::clear() {
  replace({});
}

FaultBoard::Entry* FaultBoard::find(std::int64_t id) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.rule.id == id; });
  return found == entries_.end() ? nullptr : &*found;
}

std::optional<FaultRule> FaultBoard::strike(Endpoint endpoint, std::string_view project) {
  const Lock lock(mutex_);
  for (Entry& entry : entries_) {
    const FaultRule& rule = entry.rule;
    if (!concerns(rule, endpoint, project)) continue;
    if (rule.count && entry.struck >= *rule.count) continue;
    // For outcomes, share and every pick events, not requests.
    if (rule.kind != FaultKind::outcomes && !strikes(rule, entry.met++)) continue;
    ++entry.struck;
    return rule;
  }
  return std::nullopt;
}

std::vector<bool> FaultBoard::pick(const FaultRule& rule, std::size_t events) {
  const Lock lock(mutex_);
  std::vector<bool> picked(events, false);
  Entry* entry = find(rule.id);
  for (std::size_t i = 0; entry != nullptr && i < events; ++i) {
    picked[i] = strikes(rule, entry->picked++);
  }
  return picked;
}

void FaultBoard::hold(std::int64_t rule, int ms, const std::function<bool()>& isPointless) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  Lock lock(mutex_);
  while (!stopped_ && find(rule) != nullptr && std::chrono::steady_clock::now() < end) {
    changed_.wait_until(
        lock, std::min(end, std::chrono::steady_clock::now() + std::chrono::milliseconds(50)));
    lock.unlock();
    const bool pointless = isPointless();
    lock.lock();
    if (pointless) return;
  }
}

void FaultBoard::stop() {
  const Lock lock(mutex_);
  stopped_ = true;
  changed_.notify_all();
}

void FaultBoard::pause(std::string reason) {
  const Lock lock(mutex_);
  paused_ = std::move(reason);
}

void FaultBoard::resume() {
  const Lock lock(mutex_);
  paused_.reset();
}

std::optional<std::string> FaultBoard::paused() const {
  const Lock lock(mutex_);
  return paused_;
}

std::string FaultBoard::json() const {
  const Lock lock(mutex_);
  JsonOut out;
  out.object().key("faults").array();
  for (const Entry& entry : entries_) {
    out.object();
    writeFault(out, entry.rule);
    out.field("struck", entry.struck);
    const bool spent = entry.rule.count && entry.struck >= *entry.rule.count;
    out.field("active", !spent).end();
  }
  out.end().field("paused", paused_.has_value());
  if (paused_) out.optional("paused_reason", *paused_);
  return out.end().take();
}

}  // namespace zarn::collector
