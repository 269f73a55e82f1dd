// The store's part of the control plane: installations, exchanges, changes, and requests as they
// came.
#include <algorithm>
#include <chrono>

#include "server/json.h"
#include "server/store_statements.h"

namespace zarn::collector {

using Lock = std::unique_lock<std::mutex>;

// Which policy the batch's sender went by, as far as a server can know.
void Store::findPolicy(BatchRecord& batch) {
  const EnvelopeFacts& facts = batch.envelope;
  const std::string app = appName(facts.bundleId);
  Statement& last = statements_->lastPolicy;
  last.bind(1, facts.project).bind(2, facts.environment).bind(3, app);
  if (last.step()) {
    batch.policyExchange = last.number(0);
    batch.policyRevision = last.number(1);
  }
  last.reset();
}

// A batch belongs to the device of its first event that names one: a client never mixes them.
bool Store::noteInstallation(BatchRecord& batch) {
  const auto named = std::find_if(batch.events.begin(), batch.events.end(),
                                  [](const Delivered& each) { return !each.facts.device.empty(); });
  if (named == batch.events.end()) return true;
  const EnvelopeFacts& facts = batch.envelope;
  const std::string app = appName(facts.bundleId);
  Statement& note = statements_->noteInstallation;
  note.bind(1, facts.project).bind(2, facts.environment).bind(3, app).bind(4, named->facts.device);
  note.bind(5, batch.receivedMs).bind(6, sumsOf(batch).stored);
  note.bind(7, facts.appVersion).bind(8, facts.sdkVersion);
  if (note.step()) batch.installation = note.number(0);
  const bool good = note.run();
  return good && noteContext(batch);
}

// Each change of the context makes a new row; so does its absence.
bool Store::noteContext(const BatchRecord& batch) {
  Statement& last = statements_->lastContext;
  last.bind(1, batch.installation);
  const bool same = last.step() && last.text(1) == batch.envelope.context;
  const std::int64_t id = same ? last.number(0) : 0;
  last.reset();
  if (same) return statements_->keepContext.bind(1, batch.receivedMs).bind(2, id).run();
  Statement& add = statements_->addContext;
  add.bind(1, batch.installation).bind(2, batch.receivedMs).bind(3, batch.id);
  return add.bind(4, batch.envelope.context).run();
}

bool Store::addRequest(std::int64_t receivedMs, std::string_view refusal, std::string_view head,
                       std::string_view body) {
  const Lock lock(mutex_);
  const auto at = bodies_->append(body);
  if (!at) return false;
  Statement& add = statements_->addRequest;
  add.bind(1, receivedMs).bind(2, refusal).bind(3, head);
  return add.bind(4, *at).bind(5, static_cast<std::int64_t>(body.size())).run();
}

bool Store::addExchange(ExchangeRecord& exchange) {
  const Lock lock(mutex_);
  const CallerFacts& caller = exchange.caller;
  const Told& told = exchange.told;
  const std::string app = appName(caller.bundleId);
  const std::string problems = jsonList(caller.problems);
  const auto bindNumber = [](Statement& to, int column, const auto& value) {
    value ? to.bind(column, static_cast<std::int64_t>(*value)) : to.bindNull(column);
  };
  Statement& add = statements_->addExchange;
  exchange.id = nextExchange_;
  add.bind(1, exchange.id).bind(2, exchange.receivedMs).bind(4, endpointWord(exchange.endpoint));
  add.bind(5, caller.project).bind(6, caller.environment).bind(7, app);
  add.bind(8, caller.appVersion).bind(9, caller.sdkVersion);
  add.bind(10, std::int64_t{exchange.status}).bind(11, exchange.cause).bind(13, exchange.newest);
  add.bind(15, told.pausedReason).bind(16, told.policy).bind(17, exchange.batch);
  add.bind(18, exchange.request).bind(19, exchange.response).bind(20, problems);
  bindNumber(add, 3, exchange.answeredMs);
  bindNumber(add, 12, told.revision);
  bindNumber(add, 14, told.paused);
  if (!add.run()) return false;
  ++nextExchange_;
  ++exchangesSeen_;
  if (exchange.endpoint != Endpoint::batch) tally_.addCall();
  grown_.notify_all();
  return true;
}

bool Store::noteAnswered(std::int64_t exchange, std::int64_t ms) {
  const Lock lock(mutex_);
  const bool good = statements_->noteAnswered.bind(1, ms).bind(2, exchange).run();
  ++exchangesSeen_;
  grown_.notify_all();
  return good;
}

std::int64_t Store::exchangesSeen() const {
  const Lock lock(mutex_);
  return exchangesSeen_;
}

bool Store::waitForExchange(std::int64_t seen, int ms) const {
  Lock lock(mutex_);
  grown_.wait_for(lock, std::chrono::milliseconds(ms),
                  [&] { return stopped_ || exchangesSeen_ > seen; });
  return exchangesSeen_ > seen && !stopped_;
}

bool Store::addChange(const std::string& project, const ProjectSettings& settings) {
  const Lock lock(mutex_);
  Statement& add = statements_->addChange;
  add.bind(1, settings.revision).bind(2, settings.changedMs).bind(3, project);
  add.bind(4, settings.policyRevision).bind(5, settings.pauseRevision).bind(6, settings.policy);
  settings.paused ? add.bind(7, *settings.paused) : add.bindNull(7);
  return add.bind(8, settings.releaseId).bind(9, settings.appId).bind(10, settings.what).run();
}

std::vector<std::pair<std::string, ProjectSettings>> Store::changes() const {
  const Lock lock(mutex_);
  std::vector<std::pair<std::string, ProjectSettings>> all;
  Statement query(*database_,
                  "SELECT revision, changed_ms, project, policy_revision, pause_revision, policy,"
                  " paused, release_id, app_id, what FROM changes ORDER BY revision");
  while (query.step()) {
    ProjectSettings each;
    each.revision = query.number(0);
    each.changedMs = query.number(1);
    each.policyRevision = query.number(3);
    each.pauseRevision = query.number(4);
    each.policy = query.text(5);
    if (!query.isNull(6)) each.paused = std::string(query.text(6));
    each.releaseId = query.text(7);
    each.appId = query.text(8);
    each.what = query.text(9);
    all.emplace_back(std::string(query.text(2)), std::move(each));
  }
  return all;
}

bool Store::setAnswers(const std::string& project, std::string_view json) {
  const Lock lock(mutex_);
  if (json.empty()) return statements_->removeAnswers.bind(1, project).run();
  return statements_->setAnswers.bind(1, project).bind(2, json).run();
}

std::vector<std::pair<std::string, std::string>> Store::answers() const {
  const Lock lock(mutex_);
  std::vector<std::pair<std::string, std::string>> all;
  Statement query(*database_, "SELECT project, json FROM answers");
  while (query.step()) all.emplace_back(query.text(0), query.text(1));
  return all;
}

}  // namespace zarn::collector
