#include "core/model_test_rules.h"

#include <algorithm>
#include <cstdlib>

#include "base/json.h"

namespace zarn::testing {

using Kind = ModelRequest::Kind;

namespace {

const Properties* propertiesOf(const Properties& event) {
  const Value* value = event.find("properties");
  return value != nullptr ? value->asProperties() : nullptr;
}

std::string textOf(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  const auto text = value != nullptr ? value->asString() : std::nullopt;
  return text ? std::string(*text) : std::string();
}

std::optional<int> numberOf(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  const auto number = value != nullptr ? value->asInt() : std::nullopt;
  return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

}  // namespace

void ModelRules::launched(bool isFlagSet, bool afterKill) {
  // Nobody's identity is written down while they are out.
  if (afterKill || isOut()) person_.isIdCertain = person_.isSuperCertain = false;
  isForbidden_ = libraryIsOut_ = isFlagSet;
  if (isFlagSet) ++discards_;
  transitionRan();
  awaitsPolicy_ = false;
  isSureOfPolicy_ = true;
  isTakenByFlush_ = false;
  state_ = "initialising";
  newest_ = waitingBatch_ = waitingRecovery_ = 0;
}

void ModelRules::optedOut() {
  isForbidden_ = libraryIsOut_ = true;
  ++discards_;
  transitionRan();
  awaitsPolicy_ = false;
  isTakenByFlush_ = false;
}

void ModelRules::optInBegins() {
  if (!isOut()) return;
  isForbidden_ = libraryIsOut_ = false;
  ++discards_;
  ++optIns_;
  transitionRan();
  awaitsPolicy_ = true;
  isSureOfPolicy_ = false;
}

void ModelRules::reset() {
  ++discards_;
  person_ = {.user = person_.user + 1, .id = {}};
}

void ModelRules::otherProcessSetsFlag(bool isSet) {
  isForbidden_ = isSet;
  if (!isSet) return;  // the library opts in when it notices
  libraryIsOut_ = true;
  ++discards_;
  isRecovering_ = false;
}

void ModelRules::identified(const std::string& userId) {
  person_.id = userId;
  person_.isIdCertain = true;
}

void ModelRules::superPropertySet() {
  person_.hasSuperProperty = person_.isSuperCertain = true;
}

void ModelRules::flushedWithTimeout() {
  if (state_ == "running" && !isOut()) isTakenByFlush_ = true;
}

ModelRules::Fate ModelRules::fateNow() const {
  if (isOut() || awaitsPolicy_ || state_ == "pausedByServer") return Fate::mustNotArrive;
  return isSureOfPolicy_ ? Fate::mustArrive : Fate::mayArrive;
}

int ModelRules::eventBegins() {
  events_.push_back({discards_, optIns_, person_, fateNow()});
  return static_cast<int>(events_.size()) - 1;
}

void ModelRules::transitionInside(int number, bool isReset, bool beforeIdentity) {
  Event& event = events_[static_cast<std::size_t>(number)];
  if (!isReset || !beforeIdentity) {
    event.fate = Fate::mustNotArrive;
  } else {
    event.discards = discards_;
    event.person = person_;
  }
}

void ModelRules::started(const ModelRequest& request) {
  if (isOut()) fail("a request after an opt-out");
  if (request.isControl()) {
    newest_ = request.id;
    controls_[request.id] = {transitions_, pauses_};
  }
  if (request.kind == Kind::recovery) checkRecovery(request);
  if (request.kind == Kind::batch) checkBatch(request);
}

void ModelRules::checkRecovery(const ModelRequest& request) {
  if (waitingRecovery_ != 0) fail("two attempts at recovery at once");
  waitingRecovery_ = request.id;
  const auto since = clock_.monotonic() - lastAttemptEnded_;
  if (!std::exchange(isFirstAttempt_, false) && since < base::seconds(3.7)) {
    fail("an attempt at recovery that did not wait");
  }
}

void ModelRules::checkBatch(const ModelRequest& request) {
  if (waitingBatch_ != 0) fail("two batches at once");
  waitingBatch_ = request.id;
  if (awaitsPolicy_) fail("a batch before a policy was heard after the opt-in");
  if (!std::exchange(isTakenByFlush_, false) && state_ != "running") {
    fail("a batch while " + state_);
  }
  Batch& batch = batches_[request.id];
  batch.discards = discards_;
  const auto body = base::parseJson(request.body);
  for (const Value& event : *body->asProperties()->find("batch")->asArray()) {
    checkEvent(*event.asProperties(), batch);
  }
}

void ModelRules::checkEvent(const Properties& event, Batch& batch) {
  const auto session = ownerOfSession_.find(textOf(event, "session_id"));
  if (session != ownerOfSession_.end() && session->second != std::pair(person_.user, optIns_)) {
    fail("an event of an earlier session than the last reset or opt-in");
  }
  const auto number = numberOf(*propertiesOf(event), "n");
  batch.events.push_back({textOf(event, "event_id"), number.value_or(-1)});
  if (!number) return;
  const Event& expected = events_[static_cast<std::size_t>(*number)];
  const std::string name = "event " + std::to_string(*number);
  if (expected.discards != discards_) fail(name + " is sent though it was discarded");
  if (expected.fate == Fate::mustNotArrive) fail(name + " is sent though it was not to be taken");
  if (expected.isDone) fail(name + " is sent again though the server has answered");
  checkPerson(event, expected);
}

void ModelRules::checkPerson(const Properties& event, const Event& expected) {
  const Person& person = expected.person;
  const auto ownerOf = [&](auto& owners, std::string_view key, const auto& owner) {
    if (owners.try_emplace(textOf(event, key), owner).first->second != owner) {
      fail("the same " + std::string(key) + " before and after a reset or opt-in");
    }
  };
  ownerOf(userOfAnonymousId_, "anonymous_id", person.user);
  ownerOf(ownerOfSession_, "session_id", std::pair(person.user, expected.optIns));
  const std::string id = textOf(event, "user_id");
  const std::string ours = "user-" + std::to_string(person.user) + "-";
  if (person.isIdCertain ? id != person.id.value_or("") : !id.empty() && !id.starts_with(ours)) {
    fail("user id " + id + " in an event of " + person.id.value_or(ours));
  }
  const auto owner = numberOf(*propertiesOf(event), "owner");
  if (owner && *owner != person.user) fail("an earlier user's super property");
  if (person.isSuperCertain && owner.has_value() != person.hasSuperProperty) {
    fail("a super property is lost, or has come back");
  }
  const std::string named = textOf(*propertiesOf(event), "user_id");
  if (!named.empty() && named != id) fail("an identify event for another one than its user");
}

void ModelRules::cancelled(const ModelRequest& request) {
  if (waitingBatch_ == request.id) waitingBatch_ = 0;
  if (waitingRecovery_ == request.id) waitingRecovery_ = 0;
}

void ModelRules::answered(const ModelRequest& request, const ModelAnswer& answer) {
  if (waitingRecovery_ == request.id) lastAttemptEnded_ = clock_.monotonic();
  cancelled(request);
  if (request.isControl()) {
    controlAnswered(request, answer);
  } else {
    batchAnswered(request, answer);
  }
}

void ModelRules::controlAnswered(const ModelRequest& request, const ModelAnswer& answer) {
  const Control& issued = controls_[request.id];
  const bool counts =
      answer.isGood && request.id == newest_ && issued.transitions == transitions_ && !isOut();
  const bool isPolicy = answer.hasPolicy || request.kind == Kind::init;
  mayRunNow_ = counts && isPolicy && !answer.paused && issued.pauses == pauses_;
  if (!counts) return;
  if (answer.hasPolicy) awaitsPolicy_ = false;
  if (answer.paused) ++pauses_;
}

void ModelRules::batchAnswered(const ModelRequest& request, const ModelAnswer& answer) {
  const Batch& batch = batches_[request.id];
  if (!answer.isGood || batch.discards != discards_) return;
  if (answer.paused) {
    ++pauses_;
    ++discards_;
    return;
  }
  for (const int number : answer.settled) events_[static_cast<std::size_t>(number)].isDone = true;
}

void ModelRules::logged(std::string_view line) {
  const auto numberAfter = [&](std::string_view words) {
    const auto at = line.find(words);
    return at == line.npos ? 0 : std::atoi(std::string(line.substr(at + words.size())).c_str());
  };
  dropped_ += numberAfter("[Zarn] Re-enqueue overflow: dropped ");
  dropped_ += numberAfter("[Zarn] Queue restored: dropped ");
  if (line.starts_with("[Zarn] Queue full")) ++dropped_;
  if (line.starts_with("[Zarn] opted out")) {  // maybe after another process
    libraryIsOut_ = true;
    ++discards_;
    transitionRan();
    awaitsPolicy_ = false;
  }
  if (line.starts_with("[Zarn] Entering recovery: ")) {
    if (line.ends_with("local_opt_in") && libraryIsOut_ && !isForbidden_) optInBegins();
    if (isRecovering_) fail("a recovery while another is under way");
    isRecovering_ = isFirstAttempt_ = true;
    ++recoveries_;
  }
  if (line.starts_with("[Zarn] Lifecycle ")) {
    becomes(std::string(line.substr(line.find("→ ") + std::string_view("→ ").size())));
  }
}

void ModelRules::becomes(const std::string& state) {
  state_ = state;
  if (state != "recovering") isRecovering_ = false;
  if (state != "running") return;
  if (awaitsPolicy_) fail("running before a policy was heard after the opt-in");
  if (!std::exchange(mayRunNow_, false)) fail("running by an answer that does not count");
  isSureOfPolicy_ = true;
}

int ModelRules::settledCount() const {
  return static_cast<int>(std::count_if(events_.begin(), events_.end(),
                                        [](const Event& event) { return event.isSettled; }));
}

void ModelRules::everythingMustHaveArrived() {
  std::vector<int> missing;
  for (std::size_t number = 0; number < events_.size(); ++number) {
    if (isDue(events_[number])) missing.push_back(static_cast<int>(number));
  }
  if (static_cast<int>(missing.size()) > dropped_) {
    fail("event " + std::to_string(missing.front()) + " is lost");
  }
}

}  // namespace zarn::testing
