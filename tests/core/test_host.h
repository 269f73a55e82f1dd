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
  FakeToolkit ui{clock};
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
  }
  /// The events of the batch that waits for an answer.
  std::vector<Properties> waitingEvents() {
    const auto body = base::parseJson(host_.http.bodyOf("/batch"));
    std::vector<Properties> events;
    for (const Value& event : *body->asProperties()->find("batch")->asArray()) {
      events.push_back(*event.asProperties());
    }
    return events;
  }
  std::vector<std::string> waitingNames() {
    std::vector<std::string> names;
    for (const auto& event : waitingEvents())
      names.emplace_back(*event.find("event_name")->asString());
    return names;
  }
  /// Flushes, and answers that all was accepted.
  void deliver() {
    client_.flush();
    host_.dispatch.runUntilIdle();
    acceptWaiting();
  }
  void acceptWaiting() {
    std::string ids;
    for (const auto& event : waitingEvents()) {
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

}  // namespace zarn::testing
