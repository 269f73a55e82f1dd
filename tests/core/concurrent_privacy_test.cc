// One client on real threads: some track, identify and flush, others opt out and in and reset,
// while answers come. What may never be is looked for at every request, and at quiet points that
// nothing is lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/json.h"
#include "core/client.h"
#include "desktop/clock.h"
#include "desktop/crypto.h"
#include "desktop/defaults.h"
#include "desktop/dispatch.h"
#include "desktop/environment.h"
#include "desktop/files.h"
#include "desktop/random.h"
#include "desktop/secure_store.h"
#include "platform/host.h"
#include "support/fake_name_tagger.h"
#include "support/fake_producer_services.h"
#include "support/fake_services.h"
#include "support/fake_toolkit.h"
#include "support/scripted_http.h"
#include "support/temp_directory.h"

namespace zarn::core {
namespace {

/// A kind of transition, of which one thread runs one at a time.
struct Transitions {
  std::atomic<int> begun = 0;
  std::atomic<int> ended = 0;

  template <typename F>
  void run(F&& transition) {
    ++begun;
    transition();
    ++ended;
  }
};

/// Answers after a moment, on a thread of its own.
class BusyServer final : public platform::HttpClient {
 public:
  BusyServer(platform::Dispatch& dispatch, const Transitions& optOuts, const Transitions& resets)
      : optOuts_(optOuts), resets_(resets), thread_(dispatch.makeThread("server")) {}

  struct Batch {
    std::string body;
    int optOuts, resets;  // that had ended when it was sent
  };
  std::atomic<bool> isForbidden = false;
  std::atomic<bool> isGood = false;  // otherwise it has moods
  std::atomic<bool> mayPause = false;
  std::atomic<int> violations = 0;

  platform::HttpTaskId start(platform::HttpRequest request, base::SerialQueue& queue,
                             Completion completion) override {
    if (isForbidden) ++violations;
    base::MutexLock lock(mutex_);
    const auto id = ++lastId_;
    Waiting waiting{request.url, {}, queue.poster(), std::move(completion)};
    if (waiting.isBatch()) {
      if (++batchesUnderWay_ > 1) ++violations;
      waiting.body = testing::joined(request.body);
      batches_.push_back({waiting.body, optOuts_.ended, resets_.ended});
    }
    waiting_.emplace(id, std::move(waiting));
    thread_->postAfter(base::seconds(1e-6 * static_cast<double>(random_() % 400)),
                       [this, id] { answer(id); });
    return id;
  }
  void cancel(platform::HttpTaskId id) override { finish(id, platform::HttpFailure{"cancelled"}); }

  std::vector<Batch> takeBatches() {
    base::MutexLock lock(mutex_);
    return std::exchange(batches_, {});
  }
  bool hasAccepted(int number) {
    base::MutexLock lock(mutex_);
    return accepted_.contains(number);
  }

 private:
  struct Waiting {
    std::string url, body;
    base::SerialQueue::Poster queue;
    Completion completion;
    bool isBatch() const { return url.find("/batch") != std::string::npos; }
  };

  void answer(platform::HttpTaskId id) {
    platform::HttpResult result = platform::HttpFailure{"no answer"};
    {
      base::MutexLock lock(mutex_);
      const auto found = waiting_.find(id);
      if (found == waiting_.end()) return;
      if (isGood || random_() % 4 != 0) {
        result = platform::HttpResponse{200, goodAnswer(found->second)};
      }
    }
    finish(id, std::move(result));
  }
  std::string goodAnswer(const Waiting& waiting) ZARN_REQUIRES(mutex_) {
    if (!waiting.isBatch()) return R"({"dataCollection":{},"data_collection":{}})";
    const bool isPause = mayPause && !isGood && random_() % 10 == 0;
    if (isPause) return R"({"paused":true})";
    std::string ids;
    const auto body = base::parseJson(waiting.body);
    for (const Value& event : *body->asProperties()->find("batch")->asArray()) {
      const Properties& fields = *event.asProperties();
      if (!ids.empty()) ids += ',';
      ids += '"' + std::string(*fields.find("event_id")->asString()) + '"';
      const Value* number = fields.find("properties")->asProperties()->find("n");
      if (number != nullptr) accepted_.insert(static_cast<int>(*number->asInt()));
    }
    return R"({"accepted_event_ids":[)" + ids + "]}";
  }
  void finish(platform::HttpTaskId id, platform::HttpResult result) {
    base::MutexLock lock(mutex_);
    const auto found = waiting_.find(id);
    if (found == waiting_.end()) return;
    if (found->second.isBatch()) --batchesUnderWay_;
    found->second.queue.async(
        [completion = std::move(found->second.completion), answered = std::move(result)]() mutable {
          completion(std::move(answered));
        });
    waiting_.erase(found);
  }

  const Transitions& optOuts_;
  const Transitions& resets_;
  base::Mutex mutex_{base::LockRank::leaf};
  std::mt19937 random_ ZARN_GUARDED_BY(mutex_);
  std::map<platform::HttpTaskId, Waiting> waiting_ ZARN_GUARDED_BY(mutex_);
  std::vector<Batch> batches_ ZARN_GUARDED_BY(mutex_);
  std::set<int> accepted_ ZARN_GUARDED_BY(mutex_);
  int batchesUnderWay_ ZARN_GUARDED_BY(mutex_) = 0;
  platform::HttpTaskId lastId_ ZARN_GUARDED_BY(mutex_) = 0;
  std::unique_ptr<base::Executor> thread_;
};

/// Waits for lines.
class WaitingLog final : public platform::LogSink {
 public:
  void write(std::string_view line) override {
    base::MutexLock lock(mutex_);
    ++counts_[std::string(line)];
    changed_.notifyAll();
  }
  int count(const std::string& line) {
    base::MutexLock lock(mutex_);
    return counts_[line];
  }
  bool waitFor(const std::string& line, int count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    base::MutexLock lock(mutex_);
    while (counts_[line] < count) {
      if (!changed_.waitUntil(mutex_, deadline)) return false;
    }
    return true;
  }

 private:
  base::Mutex mutex_{base::LockRank::dispatch};
  base::ConditionVariable changed_;
  std::map<std::string, int> counts_ ZARN_GUARDED_BY(mutex_);
};

constexpr int kRounds = 3;
constexpr int kTransitions = 60;  // of a kind, in a round
constexpr int kTracksPerTransition = 100;

class ConcurrentPrivacyTest : public ::testing::Test {
 protected:
  ConcurrentPrivacyTest() {
    client_->configure("wk_live_x_shop_abc",
                       {.flushAt = 3, .apiHost = "http://collector.example", .debug = true});
  }
  ~ConcurrentPrivacyTest() override {
    client_.reset();
    defaults_.finish(base::seconds(5));
    secrets_.finish(base::seconds(5));
    EXPECT_TRUE(dispatch_.stop(base::seconds(10)));
  }

  void track() {
    const int number = next_++;
    client_->track("t", {{"n", number}});
    auto& known = known_[static_cast<std::size_t>(number)];
    known.optOuts = optOuts_.begun.load();
    known.resets = resets_.begun.load();
  }
  void optOutAndIn() {
    optOuts_.run([this] { client_->optOut(); });
    server_.isForbidden = true;
    for (int i = 0; i < 20; ++i) client_->flush();
    server_.isForbidden = false;
    client_->optIn();
  }
  void reset() {
    resets_.run([this] { client_->reset(); });
  }
  template <typename F>
  static void repeat(F transition) {
    for (int i = 0; i < kTransitions; ++i) transition();
  }
  /// Each on a thread of its own, while others track; then looks at what has come of it.
  void runBesidesTracking(const std::vector<std::function<void()>>& transitions);
  void trackAndMore(int tracker, int i);
  void checkBatches();
  void checkNothingIsLost();

  /// How many transitions had begun when a call had returned.
  struct Begun {
    std::atomic<int> optOuts = INT_MAX, resets = INT_MAX;
  };
  /// The least of those that is known of an event of a session: no later transition can have come
  /// before the session's end.
  struct Session {
    int optOuts = INT_MAX, resets = INT_MAX;
  };

  testing::TempDirectory directory_;
  desktop::ThreadDispatch dispatch_;
  desktop::ProcessEnvironment environment_;
  desktop::SystemClock clock_;
  desktop::KernelRandom random_;
  WaitingLog log_;
  std::unique_ptr<base::Executor> disk_ = dispatch_.makeThread("disk");
  base::SerialQueue diskQueue_{*disk_, "disk", base::LockRank::storeQueue};
  desktop::PosixFiles files_{
      {.dataDirectory = directory_.path(), .bundleId = ""}, environment_, log_};
  desktop::FileDefaults defaults_{directory_.path(), files_, diskQueue_, clock_, log_};
  desktop::FileSecureStore secrets_{directory_.path(), files_, diskQueue_, clock_, log_};
  desktop::OpensslCrypto crypto_;
  testing::FakeDevice device_;
  testing::FakePathMonitor paths_;
  testing::FakeLifeEvents life_;
  testing::FakeNameTagger names_;
  testing::FakeProducerServices sources_;
  testing::FakeToolkit ui_;
  Transitions optOuts_, resets_;
  BusyServer server_{dispatch_, optOuts_, resets_};
  platform::Host services_{dispatch_,
                           clock_,
                           random_,
                           log_,
                           environment_,
                           files_,
                           defaults_,
                           secrets_,
                           crypto_,
                           device_,
                           paths_,
                           life_,
                           server_,
                           names_,
                           sources_.requests,
                           sources_.diagnostics,
                           sources_.notifications,
                           sources_.clipboard,
                           sources_.receipt,
                           sources_.adNetwork,
                           sources_.opener,
                           ui_.screens,
                           ui_.windows,
                           ui_.input,
                           ui_.images};
  std::unique_ptr<Client> client_ =
      std::make_unique<Client>([this]() -> platform::Host& { return services_; });

  std::vector<Begun> known_{2 * kTracksPerTransition * kTransitions * (kRounds + 1)};
  std::atomic<int> next_ = 0;
  std::map<std::string, Session> sessions_;
  std::map<std::string, std::string> anonymousIdOf_;  // by session and by user
};

void ConcurrentPrivacyTest::runBesidesTracking(
    const std::vector<std::function<void()>>& transitions) {
  std::atomic<int> transitioning = static_cast<int>(transitions.size());
  std::vector<std::thread> threads;
  for (const auto& transition : transitions) {
    threads.emplace_back([&] {
      transition();
      --transitioning;
    });
  }
  for (int tracker = 0; tracker < 3; ++tracker) {
    threads.emplace_back([&, tracker] {
      for (int i = 0; transitioning > 0; ++i) {
        // Not so many that most come between two transitions.
        while (transitioning > 0 &&
               next_ > kTracksPerTransition * (optOuts_.begun + resets_.begun)) {
          std::this_thread::yield();
        }
        trackAndMore(tracker, i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  checkNothingIsLost();
  checkBatches();
}

void ConcurrentPrivacyTest::trackAndMore(int tracker, int i) {
  track();
  if (tracker == 0 && i % 5 == 0) client_->identify("user-" + std::to_string(next_), {});
  if (tracker == 1 && i % 7 == 0) client_->flush();
  if (tracker == 2 && i % 50 == 0) client_->flush(0.001);
  if (tracker == 2 && i % 20 == 0) {
    life_.tell(platform::LifeEvent::didEnterBackground);
    client_->diagnostics();
  }
}

void ConcurrentPrivacyTest::checkBatches() {
  EXPECT_EQ(server_.violations, 0) << "a request after an opt-out, or two batches at once";
  const auto text = [](const Properties& object, const char* key) {
    const Value* value = object.find(key);
    const auto found = value != nullptr ? value->asString() : std::nullopt;
    return found ? std::string(*found) : std::string();
  };
  const auto batches = server_.takeBatches();
  std::vector<std::pair<std::string, const BusyServer::Batch*>> sent;  // by session
  for (const auto& batch : batches) {
    const auto body = base::parseJson(batch.body);
    for (const Value& value : *body->asProperties()->find("batch")->asArray()) {
      const Properties& event = *value.asProperties();
      const Properties& properties = *event.find("properties")->asProperties();
      for (const char* key : {"session_id", "user_id"}) {
        const std::string owner = text(event, key);
        if (owner.empty()) continue;
        const auto id = text(event, "anonymous_id");
        ASSERT_EQ(anonymousIdOf_.try_emplace(owner, id).first->second, id) << key;
      }
      if (properties.find("user_id") != nullptr) {
        ASSERT_EQ(text(properties, "user_id"), text(event, "user_id"));
      }
      if (properties.find("n") == nullptr) continue;
      const Begun& known = known_[static_cast<std::size_t>(*properties.find("n")->asInt())];
      const std::string id = text(event, "session_id");
      Session& session = sessions_[id];
      session.optOuts = std::min<int>(session.optOuts, known.optOuts);
      session.resets = std::min<int>(session.resets, known.resets);
      sent.emplace_back(id, &batch);
    }
  }
  for (const auto& [id, batch] : sent) {
    ASSERT_GE(sessions_[id].optOuts, batch->optOuts) << "it was there before an opt-out";
    ASSERT_GE(sessions_[id].resets, batch->resets) << "it was there before a reset";
  }
}

void ConcurrentPrivacyTest::checkNothingIsLost() {
  const std::string line = "[Zarn] Lifecycle recovering → running";
  server_.isGood = true;
  client_->optOut();
  const int before = log_.count(line);
  client_->optIn();
  ASSERT_TRUE(log_.waitFor(line, before + 1));
  const int first = next_;
  for (int i = 0; i < 50; ++i) track();
  const auto isWaiting = [this] {
    const auto queue = client_->diagnostics().queue;
    return queue.bufferedEventCount > 0 || queue.isFlushing;
  };
  const auto deadline = clock_.monotonic() + base::seconds(20);
  while (isWaiting() && clock_.monotonic() < deadline) {
    if (!client_->flush(1.0)) std::this_thread::yield();
  }
  for (int number = first; number < next_; ++number) {
    ASSERT_TRUE(server_.hasAccepted(number)) << number;
  }
  server_.isGood = false;
}

TEST_F(ConcurrentPrivacyTest, ResetsHoldAgainstEverythingThatRunsBesides) {
  checkNothingIsLost();
  for (int round = 0; round < kRounds; ++round) {
    runBesidesTracking({[this] { repeat([this] { reset(); }); }});
    if (HasFatalFailure()) return;
  }
}

TEST_F(ConcurrentPrivacyTest, OptOutsHoldAgainstEverythingThatRunsBesides) {
  server_.mayPause = true;
  for (int round = 0; round < kRounds; ++round) {
    runBesidesTracking(
        {[this] { repeat([this] { optOutAndIn(); }); }, [this] { repeat([this] { reset(); }); }});
    if (HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace zarn::core
