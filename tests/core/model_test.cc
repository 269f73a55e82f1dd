// Random sequences of calls, answers, faults and time, on virtual time, held against the rules of
// model_test_rules.h.
//
//   ZARN_MODEL_SEED       plays one sequence and prints its steps
//   ZARN_MODEL_SEQUENCES  how many to play
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <system_error>

#include "core/model_test_rules.h"
#include "core/test_host.h"
#include "runtime/privacy_state.h"

namespace zarn::core {
namespace {

using testing::ManualClock;
using testing::ManualDispatch;
using testing::ModelAnswer;
using testing::ModelRequest;
using testing::ModelRules;
using Kind = ModelRequest::Kind;

class ModelDispatch final : public ManualDispatch {
 public:
  using ManualDispatch::ManualDispatch;
  std::unique_ptr<base::Executor> makeThread(std::string name) override {
    auto made = ManualDispatch::makeThread(std::move(name));
    executors.push_back(made.get());
    return made;
  }
  std::vector<base::Executor*> executors{&pool()};
};

class ModelLog final : public platform::LogSink {
 public:
  explicit ModelLog(ModelRules& rules) : rules_(rules) {}
  void write(std::string_view line) override { rules_.logged(line); }

 private:
  ModelRules& rules_;
};

/// Where files cost little: each sequence would wait for a disk some fifty times.
std::filesystem::path fastFolder() {
  const std::filesystem::path memory = "/dev/shm";
  std::error_code ignored;
  return std::filesystem::is_directory(memory, ignored) ? memory
                                                        : std::filesystem::temp_directory_path();
}

/// A disk that is full at times.
class MoodyFiles final : public desktop::PosixFiles {
 public:
  using PosixFiles::PosixFiles;
  bool isFull = false;
  bool writeAtomically(const std::string& path, std::string_view content) override {
    return !isFull && PosixFiles::writeAtomically(path, content);
  }
};

/// A device, its user, a server and the rules.
struct World {
  explicit World(unsigned seed) : random(seed) {
    server.started = [this](const ModelRequest& request) { rules.started(request); };
    server.cancelled = [this](const ModelRequest& request) { rules.cancelled(request); };
    server.answered = [this](const ModelRequest& request, const ModelAnswer& answer) {
      rules.answered(request, answer);
    };
    maxBufferSize = oneIn(4) ? 8 : 1000;
    launch(false);
  }

  unsigned below(unsigned bound) { return static_cast<unsigned>(random() % bound); }
  bool oneIn(unsigned chances) { return below(chances) == 0; }

  void launch(bool afterKill) {
    client = std::make_unique<Client>([this]() -> platform::Host& { return services; });
    rules.launched(isFlagSet(), afterKill);
    client->configure(testing::TestClient::kKey, {.flushAt = 3,
                                                  .maxBufferSize = maxBufferSize,
                                                  .apiHost = "http://collector.example",
                                                  .debug = true});
  }
  /// The process ends in good order, or is killed: what was not committed is gone then.
  void relaunch(bool byKill) {
    testing::FakeDefaults left;
    testing::FakeSecureStore secretsLeft;
    if (byKill) {
      host.defaults.leaveTo(left);
      host.secrets.leaveTo(secretsLeft);
    }
    server.forgetAll();
    dispatch.executors.resize(1);
    client.reset();
    if (byKill) {
      left.leaveTo(host.defaults);
      secretsLeft.leaveTo(host.secrets);
    }
    if (rules.isForbidden() && optOutLasts && !isFlagSet()) rules.fail("an opt-out is forgotten");
    launch(byKill);
  }
  bool isFlagSet() { return runtime::readOptOut(host.defaults).isOut; }

  std::mt19937 random;
  testing::TestHost host;
  testing::TempDirectory directory{fastFolder()};
  ModelRules rules{host.clock};
  ModelLog log{rules};
  ModelDispatch dispatch{host.clock};
  MoodyFiles files{{.dataDirectory = directory.path(), .bundleId = ""}, host.environment, log};
  testing::ModelServer server;
  platform::Host services{dispatch,
                          host.clock,
                          host.random,
                          log,
                          host.environment,
                          files,
                          host.defaults,
                          host.secrets,
                          host.crypto,
                          host.device,
                          host.paths,
                          host.life,
                          server,
                          host.names,
                          host.sources.requests,
                          host.sources.diagnostics,
                          host.sources.notifications,
                          host.sources.clipboard,
                          host.sources.receipt,
                          host.sources.adNetwork,
                          host.sources.opener,
                          host.ui.screens,
                          host.ui.windows,
                          host.ui.input,
                          host.ui.images};
  bool commitsFail = false;
  bool optOutLasts = true;  // it was made while settings could be committed
  int maxBufferSize = 1000;
  std::unique_ptr<Client> client;
};

/// One random step after the other.
class Steps {
 public:
  explicit Steps(World& world) : world_(world), rules_(world.rules), client_(world.client) {}

  /// Its name.
  std::string one() {
    struct Step {
      unsigned weight;
      const char* name;
      void (Steps::*run)();
    };
    static constexpr Step kSteps[] = {
        {20, "track", &Steps::track},
        {4, "track, and a transition inside", &Steps::trackWithTransition},
        {4, "identify", &Steps::identify},
        {1, "identify, and a transition inside", &Steps::identifyWithTransition},
        {3, "setUserProperty", &Steps::setUserProperty},
        {2, "setSuperProperty", &Steps::setSuperProperty},
        {4, "flush", &Steps::flush},
        {4, "flush(0)", &Steps::flushAndWait},
        {3, "optOut", &Steps::optOut},
        {5, "optIn", &Steps::optIn},
        {2, "reset", &Steps::reset},
        {3, "background or foreground", &Steps::live},
        {2, "another process opts out or in", &Steps::otherProcess},
        {1, "relaunch", &Steps::relaunch},
        {1, "kill", &Steps::kill},
        {1, "change the disk's mood", &Steps::changeMood},
        {1, "the server is gone for an hour", &Steps::loseServer},
        {30, "answer", &Steps::answer},
        {40, "run one task", &Steps::runOne},
        {5, "run all tasks", &Steps::runAll},
        {10, "let time pass", &Steps::letTimePass},
    };
    unsigned total = 0;
    for (const Step& step : kSteps) total += step.weight;
    unsigned chosen = world_.below(total);
    for (const Step& step : kSteps) {
      if (chosen < step.weight) {
        (this->*step.run)();
        return step.name + std::exchange(detail_, "");
      }
      chosen -= step.weight;
    }
    return "";
  }

  /// The server takes everything from now on, and the user allows it: all that waits must arrive.
  void drain() {
    world_.host.defaults.failCommits(false);
    world_.files.isFull = false;
    if (rules_.isForbidden()) optIn();
    client_->track("a look at the flag", {});
    constexpr int kRecovers = 100;     // the longest wait between two attempts, and more
    constexpr int kLiftsPause = 4000;  // two refreshes of the configuration, and more
    constexpr int kFlushesByItself = 200;
    for (int seconds = 0; seconds < kLiftsPause && rules_.violation().empty(); ++seconds) {
      while (world_.server.waitingCount() > 0) {
        answerWell(world_.below(static_cast<unsigned>(world_.server.waitingCount())));
        world_.dispatch.runUntilIdle();
      }
      if (rules_.state() == "running" && seconds > kFlushesByItself) break;
      if (seconds == kRecovers && rules_.state() != "running" &&
          rules_.state() != "pausedByServer") {
        rules_.fail("still " + rules_.state() + " though the server answers");
      }
      world_.dispatch.advance(1.0);
    }
    if (rules_.state() != "running") rules_.fail("stuck in " + rules_.state());
    client_->flush();
    world_.dispatch.runUntilIdle();
    if (world_.server.waitingCount() > 0) answerWell(0);
    world_.dispatch.runUntilIdle();
    rules_.everythingMustHaveArrived();
  }

 private:
  // Calls.
  Properties numbered(int number) { return {{"n", number}}; }
  void track() {
    const int number = rules_.eventBegins();
    client_->track("t", numbered(number));
    detail_ = " " + std::to_string(number);
  }
  void trackWithTransition() {
    withTransition([this](int number) { client_->track("t", numbered(number)); }, false);
  }
  void identify() {
    const std::string id = nextUser();
    client_->identify(id, numbered(rules_.eventBegins()));
  }
  void identifyWithTransition() {
    const std::string id = nextUser();
    withTransition([&](int number) { client_->identify(id, numbered(number)); }, true);
  }
  std::string nextUser() {
    const std::string id = "user-" + std::to_string(users_) + "-" + std::to_string(++identified_);
    rules_.identified(id);
    return id;
  }
  /// Has a transition come in between at the places where another thread's could.
  template <typename Call>
  void withTransition(Call call, bool bringsItsIdentity) {
    const unsigned which = world_.below(3);
    bool ran = false;
    const auto transition = [&] {
      ran = true;
      if (which == 0) return reset();
      optOut();
      if (which == 2) optIn();
    };
    const bool atFirstLook = world_.oneIn(2);
    if (atFirstLook) world_.host.defaults.afterRead = transition;
    if (!atFirstLook) world_.host.random.beforeFill = transition;
    const int number = rules_.eventBegins();
    call(number);
    world_.host.defaults.afterRead = nullptr;
    world_.host.random.beforeFill = nullptr;
    if (ran) rules_.transitionInside(number, which == 0, atFirstLook && !bringsItsIdentity);
    detail_ = " " + std::to_string(number);
  }
  void setUserProperty() { client_->setUserProperties(numbered(rules_.eventBegins())); }
  void setSuperProperty() {
    client_->setSuperProperties({{"owner", users_}});
    rules_.superPropertySet();
  }
  void flush() { client_->flush(); }
  void flushAndWait() {
    client_->flush(0);
    rules_.flushedWithTimeout();
  }
  void optOut() {
    client_->optOut();
    rules_.optedOut();
    world_.optOutLasts = !world_.commitsFail;
  }
  void optIn() {
    const bool isOut = rules_.isOut();
    rules_.optInBegins();
    const int before = rules_.recoveries();
    client_->optIn();
    if (isOut && rules_.recoveries() == before) rules_.fail("an opt-in without a recovery");
  }
  void reset() {
    client_->reset();
    rules_.reset();
    ++users_;
  }

  // What happens to the app.
  void live() {
    using platform::LifeEvent;
    world_.host.life.tell(world_.oneIn(2) ? LifeEvent::didEnterBackground
                                          : LifeEvent::willEnterForeground);
  }
  void otherProcess() {
    const bool isSet = !world_.isFlagSet();
    world_.host.defaults.failCommits(false);
    isSet ? runtime::writeOptOut(world_.host.defaults) : runtime::writeOptIn(world_.host.defaults);
    world_.host.defaults.failCommits(world_.commitsFail);
    world_.optOutLasts = true;
    rules_.otherProcessSetsFlag(isSet);
    detail_ = isSet ? ": out" : ": in";
  }
  void relaunch() { world_.relaunch(false); }
  void kill() { world_.relaunch(true); }
  void changeMood() {
    world_.commitsFail = world_.oneIn(2);
    world_.host.defaults.failCommits(world_.commitsFail);
    world_.files.isFull = world_.oneIn(2);
  }
  void loseServer() {
    const int number = rules_.eventBegins();
    client_->track("t", numbered(number));
    for (int minute = 0; minute < 60; ++minute) {
      while (world_.server.waitingCount() > 0) world_.server.answer(0, {.status = 503});
      world_.dispatch.advance(60.0);
    }
    if (rules_.state() == "running" && rules_.mustArrive(number)) {
      rules_.fail("nobody notices that the server is gone");
    }
  }
  void runOne() {
    auto& executors = world_.dispatch.executors;
    world_.dispatch.runOne(*executors[world_.below(static_cast<unsigned>(executors.size()))]);
  }
  void runAll() { world_.dispatch.runUntilIdle(); }
  void letTimePass() {
    static constexpr double kSeconds[] = {0.5, 5, 12.5, 30, 75, 2000};
    constexpr double kTimeout = 30;
    double seconds = kSeconds[world_.below(std::size(kSeconds))];
    if (seconds > kTimeout) {
      world_.dispatch.advance(kTimeout);
      while (world_.server.waitingCount() > 0) world_.server.answer(0, {});
      seconds -= kTimeout;
    }
    world_.dispatch.advance(seconds);
  }

  // Answers.
  void answer() {
    const auto count = static_cast<unsigned>(world_.server.waitingCount());
    if (count == 0) return;
    const unsigned index = world_.below(count);
    const ModelRequest request = world_.server.waiting(index);
    if (world_.oneIn(2)) return answerWell(index);
    ModelAnswer answer;
    switch (world_.below(5)) {
      case 0:
        break;  // none: the connection fails
      case 1:
        answer = {.status = world_.oneIn(2) ? 503 : 304, .body = "{}"};
        break;
      case 2:
        answer = {.status = 200, .body = "{\"data_collection\":[", .isGood = false};
        break;
      default:
        answer = odd(request);
    }
    detail_ = " " + std::to_string(request.id) + ": " + std::to_string(answer.status) + answer.body;
    world_.server.answer(index, std::move(answer));
  }
  /// One that is well formed, and not what one hopes for.
  ModelAnswer odd(const ModelRequest& request) {
    if (request.kind == Kind::batch) {
      if (world_.oneIn(3)) return {200, R"({"paused":true})", true, false, true};
      if (world_.oneIn(4))
        return settling(
            request, [] { return false; }, 400);
      return settling(
          request, [this] { return world_.oneIn(2); }, 200);
    }
    const bool isPaused = world_.oneIn(2);
    const std::string paused = isPaused ? R"("paused":true)" : R"("paused":false)";
    if (request.kind == Kind::config || world_.oneIn(2)) {
      return policy(request, isPaused);
    }
    return {200, "{" + paused + "}", isPaused, false, true};
  }
  void answerWell(unsigned index) {
    const ModelRequest request = world_.server.waiting(index);
    detail_ = " " + std::to_string(request.id) + " well";
    world_.server.answer(index, request.kind == Kind::batch ? settling(
                                                                  request, [] { return true; }, 200)
                                                            : policy(request, false));
  }
  ModelAnswer policy(const ModelRequest& request, bool isPaused) {
    static constexpr const char* kPolicies[] = {
        "{}", R"({"identity":{"collectEmail":false}})",
        R"({"replay":{"enabled":true,"maskInputs":true}})",
        R"({"replay":{"enabled":true,"maskInputs":false},"device":{"context":false}})"};
    const char* key =
        request.kind == Kind::config ? R"({"dataCollection":)" : R"({"data_collection":)";
    return {200,
            key + std::string(kPolicies[world_.below(std::size(kPolicies))]) +
                (isPaused ? R"(,"paused":true})" : R"(,"paused":false})"),
            isPaused, true, true};
  }
  /// Accepts or rejects what `takes` says, and is silent on the rest; a 400 rejects all.
  template <typename Takes>
  ModelAnswer settling(const ModelRequest& batch, Takes takes, int status) {
    ModelAnswer answer{.status = status, .isGood = true};
    std::string accepted, rejected;
    for (const auto& sent : rules_.eventsOf(batch)) {
      if (!takes() && status == 200) continue;
      const bool isRejected = sent.number % 5 == 4;
      std::string& list = isRejected ? rejected : accepted;
      if (!list.empty()) list += ',';
      list += isRejected ? R"({"permanent":true,"event_id":")" + sent.eventId + "\"}"
                         : '"' + sent.eventId + '"';
      if (sent.number < 0) continue;
      rules_.settledByServer(sent.number);
      answer.settled.push_back(sent.number);
    }
    answer.body = R"({"accepted_event_ids":[)" + accepted + R"(],"errors":[)" + rejected + "]}";
    return answer;
  }

  World& world_;
  ModelRules& rules_;
  std::unique_ptr<Client>& client_;
  int users_ = 0, identified_ = 0;
  std::string detail_;
};

unsigned numberFrom(const char* variable, unsigned otherwise) {
  const char* text = std::getenv(variable);
  return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

TEST(ClientModel, NothingIsWhereItMayNotBeAndNothingIsLost) {
  const bool isReplay = std::getenv("ZARN_MODEL_SEED") != nullptr;
  const unsigned first = numberFrom("ZARN_MODEL_SEED", std::random_device()());
  const unsigned count = isReplay ? 1 : numberFrom("ZARN_MODEL_SEQUENCES", 400);
  int arrived = 0;
  for (unsigned seed = first; seed != first + count; ++seed) {
    World world(seed);
    Steps steps(world);
    for (int step = 0; step < 120 && world.rules.violation().empty(); ++step) {
      const std::string name = steps.one();
      if (isReplay) std::cout << step << " " << name << " -> " << world.rules.state() << "\n";
    }
    if (world.rules.violation().empty()) steps.drain();
    ASSERT_EQ(world.rules.violation(), "") << "ZARN_MODEL_SEED=" << seed;
    arrived += world.rules.settledCount();
  }
  EXPECT_GT(arrived, static_cast<int>(count)) << "the sequences must get somewhere";
}

}  // namespace
}  // namespace zarn::core
