// A visitor and their privacy: one launch is one scene of an app that asks for consent, is paused
// by its server, and signs its user out. Each call is noted in a journal with the time before and
// after it, so that a script can hold that against what a collector has recorded.
//
//   zarn-visitor API_HOST DATA_DIRECTORY JOURNAL SCENE
//
// Scenes, in the order of the story: arrive, withdraw, consent, pause, resume, leave, stranger.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include "zarn/desktop.h"
#include "zarn/zarn.h"

using zarn::Zarn;

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// One line of JSON for each call, written once it has returned.
class Journal {
 public:
  Journal(const std::string& path, std::string scene)
      : file_(path, std::ios::app), scene_(std::move(scene)) {}

  /// What holds for the calls from now on.
  void setPhase(std::string phase) { phase_ = std::move(phase); }

  /// A call that makes an event; `call` gets the step that the event is to carry.
  void track(const std::function<void(const std::string& step)>& call) {
    const std::string step = scene_ + "-" + std::to_string(++count_);
    note("step", step, [&] { call(step); });
    std::this_thread::sleep_for(milliseconds(5));
  }
  void note(std::string_view kind, std::string_view what, const std::function<void()>& call = {}) {
    const long long before = now();
    if (call) call();
    file_ << R"({"scene":")" << scene_ << R"(","phase":")" << phase_ << R"(",")" << kind << R"(":")"
          << what << R"(","from":)" << before << R"(,"to":)" << now() << "}" << std::endl;
  }

 private:
  static long long now() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<milliseconds>(since).count();
  }

  std::ofstream file_;
  const std::string scene_;
  std::string phase_ = "allowed";
  int count_ = 0;
};

/// Waits for what the server has to say first, such as its policy. A host need not: the next launch
/// would deliver.
void deliver() {
  const auto deadline = std::chrono::steady_clock::now() + seconds(15);
  while (!Zarn::flush(5.0) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(20));
  }
}

void look(Journal& journal, int times = 3) {
  for (int page = 1; page <= times; ++page) {
    journal.track([&](const std::string& step) {
      Zarn::track("page_read", {{"step", step}, {"page", page}});
    });
  }
}

void buy(Journal& journal) {
  journal.track([](const std::string& step) {
    Zarn::trackPurchase({.amount = 24.5,
                         .currency = "EUR",
                         .productId = "print-7",
                         .quantity = 2,
                         .properties = {{"step", step}}});
  });
}

/// Signs in, says what is known of the user, and what goes with every event from here on.
void arrive(Journal& journal) {
  journal.track([](const std::string& step) {
    Zarn::identify("ada-17", {{"email", "ada@visitor.example"}, {"step", step}});
  });
  Zarn::setSuperProperty("club", "harbour club");
  Zarn::setExperimentVariant("checkout", "one page");
  journal.track([](const std::string& step) {
    Zarn::setUserProperties({{"$plan", "gold"}, {"$loyalty_points", 1700}, {"step", step}});
  });
  journal.track([](const std::string& step) {
    Zarn::trackSignup({.method = "e-mail", .plan = "gold", .properties = {{"step", step}}});
  });
  buy(journal);
  journal.track([](const std::string& step) {
    Zarn::markGoal("first_order",
                   {.value = 24.5, .currency = "EUR", .properties = {{"step", step}}});
  });
  deliver();
}

/// A launch later the user is still known, and says no to tracking.
void withdraw(Journal& journal) {
  look(journal);
  buy(journal);
  deliver();
  journal.note("mark", "optOut", [] { Zarn::optOut(); });
  journal.setPhase("opted out");
  look(journal);
  Zarn::flush();
}

/// The no outlives the launch. A yes holds once the server has said what may be collected.
void consent(Journal& journal) {
  journal.setPhase("opted out");
  look(journal);
  std::this_thread::sleep_for(milliseconds(500));
  journal.note("mark", "optIn", [] { Zarn::optIn(); });
  journal.setPhase("consenting");
  for (int i = 0; i < 200 && Zarn::diagnostics().queue.bufferedEventCount == 0; ++i) {
    look(journal, 1);  // dropped, as long as nothing has been heard
    std::this_thread::sleep_for(milliseconds(50));
  }
  journal.setPhase("allowed");
  buy(journal);
  deliver();
}

/// The server pauses while the app runs; the app hears of it with the answer to its next batch.
void pause(Journal& journal) {
  look(journal);
  deliver();
  journal.note("mark", "delivered");
  std::string line;
  std::getline(std::cin, line);  // until it is paused
  journal.setPhase("paused");
  for (int i = 0; i < 200 && !Zarn::diagnostics().paused; ++i) {
    look(journal, 1);
    Zarn::flush(1.0);
  }
  journal.note("mark", Zarn::diagnostics().paused ? "paused" : "not paused");
  look(journal);
}

void resume(Journal& journal) {
  look(journal);
  deliver();
}

/// Signs out; somebody else goes on at the same device, at first without a name.
void leave(Journal& journal) {
  buy(journal);
  deliver();
  journal.note("mark", "reset", [] { Zarn::reset(); });
  look(journal);
  journal.track([](const std::string& step) { Zarn::identify("bo-42", {{"step", step}}); });
  buy(journal);
  deliver();
}

void stranger(Journal& journal) {
  look(journal);
  deliver();
}

const std::map<std::string_view, void (*)(Journal&)> kScenes = {
    {"arrive", arrive}, {"withdraw", withdraw}, {"consent", consent},  {"pause", pause},
    {"resume", resume}, {"leave", leave},       {"stranger", stranger}};

}  // namespace

int main(int argc, char** argv) {
  const auto scene = argc == 5 ? kScenes.find(argv[4]) : kScenes.end();
  if (scene == kScenes.end()) {
    std::fprintf(stderr, "usage: zarn-visitor API_HOST DATA_DIRECTORY JOURNAL SCENE\n");
    return 2;
  }
  Journal journal(argv[3], argv[4]);
  zarn::desktop::describeHost({.bundleId = "com.example.prints",
                               .name = "Harbour Prints",
                               .version = "1.3.0",
                               .dataDirectory = argv[2]});
  journal.note("mark", "launch",
               [&] { Zarn::configure("wk_demo_x_prints_key", {.apiHost = argv[1]}); });
  scene->second(journal);
}
