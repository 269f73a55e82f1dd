// The links of a client on virtual time, with all that they act on.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "desktop/crypto.h"
#include "links/links.h"
#include "model/remote_config.h"
#include "runtime/privacy_state.h"
#include "support/fake_producer_services.h"
#include "support/fake_services.h"
#include "support/manual_dispatch.h"
#include "support/scripted_http.h"

namespace zarn::testing {

struct LinksWorld {
  explicit LinksWorld(ConfigurationOptions options = {}, bool isFirstRun = true) {
    options.apiHost = "http://collector.example";
    options.projectId = "shop";
    const model::Configuration configuration{"wk_live_x_shop_abc", options};
    links.emplace(
        links::LinksParts{configuration, guard, crypto, clock, dispatch, defaults,
                          sources.clipboard, sources.opener},
        links::LinksActions{
            .admit =
                [this](model::EventType type, std::string_view name, const Properties& properties) {
                  EXPECT_EQ(type, model::EventType::deepLink);
                  EXPECT_EQ(name, "deep_link");
                  clicks.push_back(properties);
                  return true;
                },
            .isOptedOut = [this] { return privacy.optedOut(); },
            .keepInstallClickId = [this](const std::string& id) { kept.push_back(id); }},
        isFirstRun, platform::Log(log, true));
  }

  /// A handler that keeps what it is given.
  void listen() {
    links->onDeepLink([this](const ZarnDeepLink& link) { delivered.push_back(link); });
  }
  void answer(std::string body, int status = 200) {
    http.answerNext(status, std::move(body));
    dispatch.runUntilIdle();
  }
  void optOut() {
    runtime::writeOptOut(defaults);
    privacy.beginOptOut(runtime::PrivacyState::Origin::here);
    guard.cancelAllGuarded();
  }
  void optIn() {
    runtime::writeOptIn(defaults);
    privacy.beginOptIn();
    privacy.completeOptIn(runtime::PrivacyState::Origin::here);
  }

  ManualClock clock;
  ManualDispatch dispatch{clock};
  FakeLog log;
  FakeDefaults defaults;
  desktop::OpensslCrypto crypto;
  FakeProducerServices sources;
  ScriptedHttp http;
  base::SerialQueue controlQueue{dispatch.pool(), "control", base::LockRank::controlQueue};
  runtime::PrivacyState privacy{defaults};
  runtime::NetworkGuard guard{http, controlQueue, privacy};
  std::vector<Properties> clicks;
  std::vector<ZarnDeepLink> delivered;
  std::vector<std::string> kept;
  std::optional<links::Links> links;
};

}  // namespace zarn::testing
