#include "server/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "server/json.h"
#include "server/schema.h"
#include "server/store_statements.h"

namespace zarn::collector {

using Lock = std::unique_lock<std::mutex>;

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
  store->bodies_ = std::make_unique<BodyFile>(directory + "/bodies");
  if (!store->bodies_->isOpen()) {
    error = "it cannot be written to";
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
  add.bind(13, event.raw).bind(14, facts.anonymous);
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

bool Store::reset() {
  const Lock lock(mutex_);
  const bool good = database_->run(
      "BEGIN IMMEDIATE; DELETE FROM events; DELETE FROM batches; DELETE FROM exchanges;"
      "DELETE FROM installations; DELETE FROM contexts; DELETE FROM requests;"
      "DELETE FROM screenshots; COMMIT");
  if (!good) {
    database_->run("ROLLBACK");
    return false;
  }
  bodies_->clear();
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
