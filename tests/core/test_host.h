// A host for whole clients in tests: virtual time, scripted HTTP, and real files in a folder of its
// own.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/json.h"
#include "core/client.h"
#include "desktop/files.h"
#include "platform/host.h"
#include "support/fake_name_tagger.h"
#include "support/fake_producer_services.h"
#include "support/fake_services.h"
#include "support/fake_toolkit.h"
#include "support/manual_dispatch.h"
#include "support/scripted_http.h"
#include "support/temp_directory.h"

namespace zarn::testing {

struct TestHost {
  /// An app that has reported its installation, so that nothing is told that a test did not cause.
  TestHost() {
    defaults.set("zarn_install_emitted", true);
    defaults.commit();
  }

  TempDirectory directory;
  ManualClock clock;
  ManualDispatch dispatch{clock};
  FakeRandom random;
  FakeLog log;
  FakeEnvironment environment;
  desktop::PosixFiles files{{.dataDirectory = directory.path(), .bundleId = ""}, environment, log};
  FakeDefaults defaults;
  FakeSecureStore secrets;
  FakeCrypto crypto;
  FakeDevice device;
  FakePathMonitor paths;
  FakeLifeEvents life;
  ScriptedHttp http;
  FakeNameTagger names;
  FakeProducerServices sources;
  FakeToolkit ui;
  platform::Host services{dispatch,
                          clock,
                          random,
                          log,
                          environment,
                          files,
                          defaults,
                          secrets,
                          crypto,
                          device,
                          paths,
                          life,
                          http,
                          names,
                          sources.requests,
                          sources.diagnostics,
                          sources.notifications,
                          sources.clipboard,
                          sources.receipt,
                          sources.adNetwork,
                          sources.opener,
                          ui.screens,
                          ui.windows,
                          ui.input,
                          ui.images};
};

/// A client on a host that may have had clients before: a relaunch is a new one on the same host.
class TestClient {
 public:
  static constexpr const char* kKey = "wk_live_x_shop_abc";

  explicit TestClient(TestHost& host)
      : host_(host), client_([&]() -> platform::Host& { return host.services; }) {}

  static ConfigurationOptions options() {
    return {.autoTrackSessions = false,
            .flushAt = 3,
            .apiHost = "http://collector.example",
            .debug = true};
  }
  core::Client& operator*() { return client_; }
  core::Client* operator->() { return &client_; }

  TestClient& configure() {
    client_.configure(kKey, options());
    return *this;
  }
  /// Configured, with both first requests answered by this policy.
  TestClient& run(const std::string& policy = "{}") {
    configure();
    host_.http.answer("/init", 200,
                      R"({"release_id":"r1","app_id":"a1","data_collection":)" + policy + "}");
    answerConfig(policy);
    return *this;
  }
  void answerConfig(const std::string& policy = "{}", bool paused = false) {
    host_.http.answer(
        "/config", 200,
        R"({"dataCollection":)" + policy + (paused ? R"(,"paused":true})" : R"(,"paused":false})"));
    host_.dispatch.runUntilIdle();
    if (waitingEvents().empty()) acceptWaiting();  // the launch, which is not what a test is about
  }
  /// The events of the batch that waits for an answer, none when none waits. Those that tell of the
  /// app's own life are left out.
  std::vector<Properties> waitingEvents() {
    auto events = allWaitingEvents();
    std::erase_if(events, [](const Properties& event) {
      return *event.find("event_type")->asString() == "lifecycle";
    });
    return events;
  }
  std::vector<std::string> waitingNames() { return namesOf(waitingEvents()); }
  /// With those that tell of the app's own life.
  std::vector<Properties> allWaitingEvents() {
    if (host_.http.waitingCount("/batch") == 0) return {};
    const auto body = base::parseJson(host_.http.bodyOf("/batch"));
    std::vector<Properties> events;
    for (const Value& event : *body->asProperties()->find("batch")->asArray()) {
      events.push_back(*event.asProperties());
    }
    return events;
  }
  static std::vector<std::string> namesOf(const std::vector<Properties>& events) {
    std::vector<std::string> names;
    for (const auto& event : events) names.emplace_back(*event.find("event_name")->asString());
    return names;
  }
  /// Flushes, and answers that all was accepted.
  void deliver() {
    client_.flush();
    host_.dispatch.runUntilIdle();
    acceptWaiting();
  }
  void acceptWaiting() {
    if (host_.http.waitingCount("/batch") == 0) return;
    std::string ids;
    for (const auto& event : allWaitingEvents()) {
      if (!ids.empty()) ids += ',';
      ids += '"' + std::string(*event.find("event_id")->asString()) + '"';
    }
    host_.http.answer("/batch", 200, R"({"accepted_event_ids":[)" + ids + "]}");
    host_.dispatch.runUntilIdle();
  }

 private:
  TestHost& host_;
  core::Client client_;
};

/// What a next launch finds to send.
inline std::vector<std::string> leftoversIn(TestHost& host) {
  TestClient later(host);
  later.run();
  later->flush();
  host.dispatch.runUntilIdle();
  return later.waitingNames();
}

}  // namespace zarn::testing
