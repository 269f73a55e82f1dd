// A visitor and their privacy: one launch is one scene of an app that is opened by a link, gets a
// push message, asks for consent, is paused by its server, and signs its user out. Each call is
// noted in a journal with the time before and after it, so that a script can hold that against what
// a collector has recorded.
//
//   zarn-visitor API_HOST DATA_DIRECTORY JOURNAL SCENE [ARGUMENT]
//
// Scenes, in the order of the story: arrive, follow LINK, notify, browse PORT, withdraw, consent,
// pause, resume, leave, stranger. PORT is that of zarn-prints-origin.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include "journal.h"
#include "requests.h"
#include "zarn/desktop.h"
#include "zarn/zarn.h"

using zarn::Zarn;

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const char* argument = "";  // of the scene

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

/// Waits for a callback, which comes on a thread of the library.
template <typename Holds>
void await(const Holds& holds) {
  for (int i = 0; i < 500 && !holds(); ++i) std::this_thread::sleep_for(milliseconds(20));
}

std::atomic<int> linksHandled{0};

/// A real app would go to the place in it; here it is noted what would be known of the link.
void handleLinks(Journal& journal) {
  Zarn::onDeepLink([&journal](const zarn::ZarnDeepLink& link) {
    journal.note("link", std::string(rawValue(link.source)) + ", campaign " +
                             link.campaign.value_or("unknown") + ", to " +
                             link.targetPath.value_or("unknown"));
    ++linksHandled;
  });
}

/// Opens the app by a link in an e-mail. The server knows the click, and so the handler is called
/// again with what it knows.
void follow(Journal& journal) {
  handleLinks(journal);
  journal.note("mark", "follow", [] { Zarn::handleURL(argument); });
  await([] { return linksHandled == 2; });
  look(journal, 1);
  deliver();
}

/// A message comes and is opened; it has a link of its own.
void notify(Journal& journal) {
  handleLinks(journal);
  Zarn::setPushToken("raw-token-9b1c7e44a0d25f3386", zarn::PushProvider::apns);
  const zarn::Properties message{
      {"aps", zarn::Properties{{"alert", zarn::Properties{{"title", "Dear Eve, it is done"},
                                                          {"body", "Eve's poster can be fetched"}}},
                               {"category", "order_ready"}}},
      {"zarn", zarn::Properties{{"send_id", "c1d2e3f4-0516-4728-893a-4b5c6d7e8f90"},
                                {"campaign_id", "order-ready"},
                                {"deep_link",
                                 "https://links.prints.example/pickup/77120345?mail=eve%40friend."
                                 "example"}}},
      {"customer", "eve@friend.example"}};
  look(journal, 1);
  Zarn::logPushReceived(message, "background");
  journal.note("mark", "opened", [&] { Zarn::logPushOpened(message); });
  await([] { return linksHandled == 1; });
  look(journal, 2);
  deliver();
}

/// Looks around; the requests are counted, and told of when the app ends.
void browse(Journal& journal) {
  requestAll(argument, journal);
  look(journal, 1);
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
    {"arrive", arrive},     {"follow", follow},    {"notify", notify}, {"browse", browse},
    {"withdraw", withdraw}, {"consent", consent},  {"pause", pause},   {"resume", resume},
    {"leave", leave},       {"stranger", stranger}};

}  // namespace

int main(int argc, char** argv) {
  const auto scene = argc == 5 || argc == 6 ? kScenes.find(argv[4]) : kScenes.end();
  if (scene == kScenes.end()) {
    std::fprintf(stderr, "usage: zarn-visitor API_HOST DATA_DIRECTORY JOURNAL SCENE [ARGUMENT]\n");
    return 2;
  }
  if (argc == 6) argument = argv[5];
  // Never destroyed: a link may be handed over while the process ends.
  static Journal& journal = *new Journal(argv[3], argv[4]);
  zarn::desktop::describeHost({.bundleId = "com.example.prints",
                               .name = "Harbour Prints",
                               .version = "1.3.0",
                               .dataDirectory = argv[2]});
  journal.note("mark", "launch", [&] {
    Zarn::configure("wk_demo_x_prints_key",
                    {.apiHost = argv[1], .universalLinkHosts = {"prints.example"}});
  });
  scene->second(journal);
}
