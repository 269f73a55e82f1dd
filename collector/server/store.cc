#include "server/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "server/json.h"
#include "server/schema.h"

namespace zarn::collector {

using Lock = std::unique_lock<std::mutex>;

struct Store::Statements {
  explicit Statements(Database& database)
      : addEvent(database,
                 "INSERT INTO events(seq, event_id, batch, position, received_ms, type, name, user,"
                 " session, device, timestamp, problems, raw)"
                 " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?)"),
        rawOf(database, "SELECT raw FROM events WHERE seq = ?"),
        addBatch(database,
                 "INSERT INTO batches(id, received_ms, bytes, status, cause, events, stored,"
                 " duplicates, conflicts, withheld, invalid, accepted, permanent, transient,"
                 " project, environment, sdk_version, app_version, bundle_id, release_id, launch,"
                 " sent_at, problems, envelope, items, response, policy_exchange, policy_revision,"
                 " installation)"
                 " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,nullif(?,0),?,"
                 "nullif(?,0))"),
        addExchange(database,
                    "INSERT INTO exchanges(id, received_ms, answered_ms, endpoint, project,"
                    " environment, app, app_version, sdk_version, status, cause, revision, newest,"
                    " paused, paused_reason, policy, batch, request, response, problems)"
                    " VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,nullif(?,0),?,?,?)"),
        noteAnswered(database, "UPDATE exchanges SET answered_ms = ? WHERE id = ?"),
        lastPolicy(database,
                   "SELECT id, revision FROM exchanges WHERE project = ? AND environment = ?"
                   " AND app = ? AND answered_ms IS NOT NULL AND policy != ''"
                   " ORDER BY answered_ms DESC, id DESC LIMIT 1"),
        noteInstallation(database,
                         "INSERT INTO installations(project, environment, app, device, first_ms,"
                         " last_ms, batches, events, app_version, sdk_version)"
                         " VALUES(?1,?2,?3,?4,?5,?5,1,?6,?7,?8) ON CONFLICT DO UPDATE SET"
                         " last_ms = ?5, batches = batches + 1, events = events + ?6,"
                         " app_version = ?7, sdk_version = ?8 RETURNING id"),
        lastContext(database,
                    "SELECT id, context FROM contexts WHERE installation = ?"
                    " ORDER BY id DESC LIMIT 1"),
        addContext(database,
                   "INSERT INTO contexts(installation, first_ms, last_ms, batches, first_batch,"
                   " context) VALUES(?1,?2,?2,1,?3,?4)"),
        keepContext(database,
                    "UPDATE contexts SET last_ms = ?, batches = batches + 1 WHERE id = ?"),
        addRequest(database,
                   "INSERT INTO requests(received_ms, refusal, head, body) VALUES(?,?,?,?)"),
        addChange(database,
                  "INSERT INTO changes(revision, changed_ms, project, policy_revision,"
                  " pause_revision, policy, paused, release_id, app_id, what)"
                  " VALUES(?,?,?,?,?,?,?,?,?,?)") {}

  bool areGood() const {
    for (const Statement* each :
         {&addEvent, &rawOf, &addBatch, &addExchange, &noteAnswered, &lastPolicy, &addChange}) {
      if (each->failed()) return false;
    }
    return true;
  }

  Statement addEvent;
  Statement rawOf;
  Statement addBatch;
  Statement addExchange;
  Statement noteAnswered;
  Statement lastPolicy;
  Statement noteInstallation;
  Statement lastContext;
  Statement addContext;
  Statement keepContext;
  Statement addRequest;
  Statement addChange;
};

namespace {

// What each event of the batch came to, as [id, fate, verdict, problems].
std::string itemsJson(const BatchRecord& batch) {
  JsonOut out;
  out.array();
  for (const Delivered& event : batch.events) {
    out.array().value(event.facts.id).value(fateWord(event.fate));
    if (event.verdict) {
      out.value(verdictWord(*event.verdict));
    } else {
      out.null();
    }
    out.strings(event.facts.problems).end();
  }
  return out.end().take();
}

}  // namespace

std::unique_ptr<Store> Store::open(const std::string& directory, std::string& error) {
  std::error_code failure;
  std::filesystem::create_directories(directory, failure);
  if (failure) {
    error = failure.message();
    return nullptr;
  }
  std::unique_ptr<Store> store(new Store);
  const std::string lockName = directory + "/lock";
  store->lockFile_ = ::open(lockName.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
  if (store->lockFile_ < 0) {
    error = "it cannot be written to";
    return nullptr;
  }
  if (flock(store->lockFile_, LOCK_EX | LOCK_NB) != 0) {
    error = "another collector uses it";
    return nullptr;
  }
  store->file_ = directory + "/collector.db";
  store->database_ = Database::open(store->file_, Database::Mode::write, error);
  if (!store->database_ || !store->prepare(error)) return nullptr;
  store->load();
  return store;
}

Store::~Store() {
  statements_.reset();
  database_.reset();
  if (lockFile_ >= 0) close(lockFile_);
}

bool Store::prepare(std::string& error) {
  if (!prepareSchema(*database_, error)) return false;
  statements_ = std::make_unique<Statements>(*database_);
  if (!statements_->areGood()) {
    error = database_->message();
    return false;
  }
  return true;
}

void Store::load() {
  Statement batches(*database_,
                    "SELECT count(*), ifnull(max(id),0), ifnull(sum(duplicates),0),"
                    " ifnull(sum(conflicts),0), ifnull(sum(withheld),0),"
                    " ifnull(sum(cause = 'refused'),0) FROM batches");
  if (batches.step()) {
    tally_.sums.batches = batches.number(0);
    nextBatch_ = batches.number(1) + 1;
    tally_.sums.duplicates = batches.number(2);
    tally_.sums.conflicts = batches.number(3);
    tally_.sums.withheld = batches.number(4);
    tally_.sums.refused = batches.number(5);
  }
  Statement exchanges(*database_,
                      "SELECT ifnull(sum(endpoint != 'batch'),0), ifnull(max(id),0)"
                      " FROM exchanges");
  if (exchanges.step()) {
    tally_.sums.calls = exchanges.number(0);
    nextExchange_ = exchanges.number(1) + 1;
  }
  Statement events(*database_,
                   "SELECT seq, type, name, session, device, user, timestamp, problems IS NULL,"
                   " received_ms, event_id FROM events ORDER BY seq");
  while (events.step()) {
    EventFacts facts;
    facts.type = events.text(1);
    facts.name = events.text(2);
    facts.session = events.text(3);
    facts.device = events.text(4);
    facts.user = events.text(5);
    if (!events.isNull(6)) facts.timestamp = events.number(6);
    tally_.addEvent(facts, events.number(7) != 0, events.number(8) / 1000);
    nextSeq_ = events.number(0) + 1;
    if (!events.isNull(9)) ids_.insert(events.text(9), events.number(0));
  }
}

bool Store::add(BatchRecord& batch, std::string& error) {
  const Lock lock(mutex_);
  batch.id = nextBatch_;
  const bool good = database_->run("BEGIN IMMEDIATE") && insert(batch) && database_->run("COMMIT");
  if (!good) {
    error = database_->message();
    database_->run("ROLLBACK");
    forget(batch);
    return false;
  }
  ++nextBatch_;
  tally_.add(batch);
  grown_.notify_all();
  return true;
}

bool Store::insert(BatchRecord& batch) {
  std::int64_t position = 0;
  for (Delivered& event : batch.events) {
    if (event.keep && !insertEvent(batch, position, event)) return false;
    ++position;
  }
  findPolicy(batch);
  if (!noteInstallation(batch)) return false;
  return insertBatch(batch);
}

bool Store::insertEvent(const BatchRecord& batch, std::int64_t position, Delivered& event) {
  const EventFacts& facts = event.facts;
  if (const auto seq = ids_.find(facts.id); seq && !facts.id.empty()) {
    Statement& rawOf = statements_->rawOf;
    rawOf.bind(1, *seq);
    event.fate = rawOf.step() && rawOf.text(0) == event.raw ? Fate::duplicate : Fate::conflict;
    rawOf.reset();
    return true;
  }
  Statement& add = statements_->addEvent;
  const std::string problems = jsonList(facts.problems);
  add.bind(1, nextSeq_).bind(3, batch.id).bind(4, position).bind(5, batch.receivedMs);
  add.bind(6, facts.type).bind(7, facts.name).bind(9, facts.session).bind(10, facts.device);
  add.bind(13, event.raw);
  facts.id.empty() ? add.bindNull(2) : add.bind(2, facts.id);
  facts.user.empty() ? add.bindNull(8) : add.bind(8, facts.user);
  facts.timestamp ? add.bind(11, *facts.timestamp) : add.bindNull(11);
  problems.empty() ? add.bindNull(12) : add.bind(12, problems);
  if (!add.run()) return false;
  event.fate = Fate::stored;
  event.seq = nextSeq_++;
  if (!facts.id.empty()) ids_.insert(facts.id, event.seq);
  return true;
}

// Takes back what a failed transaction had noted in memory.
void Store::forget(BatchRecord& batch) {
  for (Delivered& event : batch.events) {
    if (event.fate == Fate::stored) {
      ids_.erase(event.facts.id);
      --nextSeq_;
    }
    event.fate = Fate::withheld;
    event.seq = 0;
  }
}

std::int64_t Store::find(std::string_view eventId) const {
  const Lock lock(mutex_);
  return ids_.find(eventId).value_or(0);
}

bool Store::insertBatch(const BatchRecord& batch) {
  const EnvelopeFacts& facts = batch.envelope;
  const BatchSums sums = sumsOf(batch);
  const std::string problems = jsonList(facts.problems);
  const std::string items = itemsJson(batch);
  Statement& add = statements_->addBatch;
  const std::int64_t numbers[] = {batch.id, batch.receivedMs, batch.bytes, batch.status};
  int column = 1;
  for (const std::int64_t number : numbers) add.bind(column++, number);
  add.bind(column++, batch.cause);
  const std::int64_t counts[] = {static_cast<std::int64_t>(batch.events.size()),
                                 sums.stored,
                                 sums.duplicates,
                                 sums.conflicts,
                                 sums.withheld,
                                 sums.invalid,
                                 sums.accepted,
                                 sums.permanent,
                                 sums.transient};
  for (const std::int64_t count : counts) add.bind(column++, count);
  const std::string_view texts[] = {
      facts.project,   facts.environment, facts.sdkVersion, facts.appVersion, facts.bundleId,
      facts.releaseId, facts.launch,      facts.sentAt,     problems,         batch.envelopeJson,
      items,           batch.response};
  for (const std::string_view text : texts) add.bind(column++, text);
  return add.bind(column, batch.policyExchange)
      .bind(column + 1, batch.policyRevision)
      .bind(column + 2, batch.installation)
      .run();
}

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
  Statement& add = statements_->addRequest;
  return add.bind(1, receivedMs).bind(2, refusal).bind(3, head).bind(4, body).run();
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

bool Store::reset() {
  const Lock lock(mutex_);
  const bool good = database_->run(
      "BEGIN IMMEDIATE; DELETE FROM events; DELETE FROM batches; DELETE FROM exchanges;"
      "DELETE FROM installations; DELETE FROM contexts; DELETE FROM requests; COMMIT");
  if (!good) {
    database_->run("ROLLBACK");
    return false;
  }
  nextBatch_ = nextSeq_ = 1;
  tally_ = Tally();
  ids_.clear();
  return true;
}

void Store::withTally(const std::function<void(const Tally&)>& look) const {
  const Lock lock(mutex_);
  look(tally_);
}

bool Store::waitFor(const std::function<bool(const Tally::Sums&)>& wanted, int ms) const {
  Lock lock(mutex_);
  grown_.wait_for(lock, std::chrono::milliseconds(ms),
                  [&] { return stopped_ || wanted(tally_.sums); });
  return wanted(tally_.sums);
}

void Store::stop() {
  const Lock lock(mutex_);
  stopped_ = true;
  grown_.notify_all();
}

}  // namespace zarn::collector
