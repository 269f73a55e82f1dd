// What may be where: a small model of one app on one device. It is told of everything that happens
// and says at once when something happens that may not.
//
//   discards     how often everything that waited had to go: opt-out, reset, a pause in the answer
//                to a batch. No event of an earlier count may be in a new request.
//   transitions  opt-outs and opt-ins. No answer asked for under an earlier count may change
//                anything.
//   users        resets. An event, its ids and its super properties all belong to one count.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model_test_server.h"
#include "platform/clock.h"
#include "zarn/value.h"

namespace zarn::testing {

class ModelRules {
 public:
  explicit ModelRules(const platform::Clock& clock) : clock_(clock) {}

  // What the host and the user do, each told when the call returns unless its name says otherwise.

  void launched(bool isFlagSet, bool afterKill);
  void optedOut();
  void optInBegins();
  void reset();
  void otherProcessSetsFlag(bool isSet);
  void identified(const std::string& userId);
  void superPropertySet();
  void flushedWithTimeout();
  /// Told before the call; gives the number to send in the property "n".
  int eventBegins();
  /// A transition ran inside the call, before or after the event had got its identity.
  void transitionInside(int event, bool isReset, bool beforeIdentity);

  // What the library does.

  void started(const ModelRequest& request);
  void cancelled(const ModelRequest& request);
  void answered(const ModelRequest& request, const ModelAnswer& answer);
  void logged(std::string_view line);

  // For whoever answers.

  struct Sent {
    std::string eventId;
    int number = -1;  // negative: an event of the library's own
  };
  const std::vector<Sent>& eventsOf(const ModelRequest& batch) const {
    return batches_.at(batch.id).events;
  }
  /// The server has taken it, or rejected it for good.
  void settledByServer(int event) { events_[static_cast<std::size_t>(event)].isSettled = true; }

  bool isForbidden() const { return isForbidden_; }
  bool isOut() const { return isForbidden_ || libraryIsOut_; }
  const std::string& state() const { return state_; }
  bool mustArrive(int event) const { return isDue(events_[static_cast<std::size_t>(event)]); }
  int settledCount() const;
  /// How often one was entered.
  int recoveries() const { return recoveries_; }
  /// After a server that took everything had all the time it needs.
  void everythingMustHaveArrived();

  /// Empty while all rules hold.
  const std::string& violation() const { return violation_; }
  void fail(const std::string& what) {
    if (violation_.empty()) violation_ = what;
  }

 private:
  enum class Fate { mustArrive, mayArrive, mustNotArrive };
  /// What is known of the user for certain; after a kill it may be older.
  struct Person {
    int user = 0;
    std::optional<std::string> id;
    bool hasSuperProperty = false;
    bool isIdCertain = true, isSuperCertain = true;
  };
  struct Event {
    int discards;
    int optIns;
    Person person;
    Fate fate;
    bool isSettled = false;
    bool isDone = false;  // and the library has heard so
  };
  struct Control {
    int transitions;
    int pauses;
  };
  struct Batch {
    int discards = 0;
    std::vector<Sent> events;
  };

  Fate fateNow() const;
  bool isDue(const Event& event) const {
    return event.fate == Fate::mustArrive && event.discards == discards_ && !event.isSettled;
  }
  void checkRecovery(const ModelRequest& request);
  void checkBatch(const ModelRequest& request);
  void checkEvent(const Properties& event, Batch& batch);
  void checkPerson(const Properties& event, const Event& expected);
  void controlAnswered(const ModelRequest& request, const ModelAnswer& answer);
  void batchAnswered(const ModelRequest& request, const ModelAnswer& answer);
  void becomes(const std::string& state);
  void transitionRan() {
    ++transitions_;
    isRecovering_ = false;
    waitingRecovery_ = 0;
  }

  const platform::Clock& clock_;
  std::string violation_;

  int discards_ = 0, transitions_ = 0, pauses_ = 0, optIns_ = 0;
  Person person_;
  std::vector<Event> events_;
  int dropped_ = 0;  // for want of room
  std::map<std::string, int> userOfAnonymousId_;
  std::map<std::string, std::pair<int, int>> ownerOfSession_;  // user, opt-ins

  bool isForbidden_ = false;    // by the flag
  bool libraryIsOut_ = false;   // its transition has run
  bool awaitsPolicy_ = false;   // none was heard since the opt-in
  bool isSureOfPolicy_ = true;  // and applied

  std::string state_ = "initialising";
  std::map<std::uint64_t, Control> controls_;
  std::map<std::uint64_t, Batch> batches_;
  std::uint64_t newest_ = 0, waitingBatch_ = 0, waitingRecovery_ = 0;
  bool mayRunNow_ = false;       // by the answer that is being applied
  bool isTakenByFlush_ = false;  // a batch, by a flush that was waited for
  bool isRecovering_ = false;    // has entered, and not left
  bool isFirstAttempt_ = false;
  int recoveries_ = 0;
  base::Duration lastAttemptEnded_{};
};

}  // namespace zarn::testing
