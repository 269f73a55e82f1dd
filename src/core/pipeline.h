// Pipeline: every object of a configured client, by value and in the order of start-up; destruction
// runs backwards. It wires rooms to one another and decides nothing.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/serial_queue.h"
#include "base/weakly.h"
#include "capture/capture.h"
#include "capture/screenshot_capture.h"
#include "control/config_fetcher.h"
#include "control/policy_application.h"
#include "control/replay_policy_admission.h"
#include "control/replay_policy_keeper.h"
#include "control/replay_policy_store.h"
#include "core/masking_only.h"
#include "crash/crash_tracker.h"
#include "events/event_context.h"
#include "events/event_queue.h"
#include "events/own_store.h"
#include "events/transport.h"
#include "identity/enriched_context_collector.h"
#include "identity/fallback_session.h"
#include "identity/identity_manager.h"
#include "identity/session_ids.h"
#include "identity/session_tracker.h"
#include "links/install_tracker.h"
#include "links/install_validator.h"
#include "links/links.h"
#include "model/configuration.h"
#include "model/published.h"
#include "model/remote_config.h"
#include "network/network_observation.h"
#include "platform/host.h"
#include "platform/log.h"
#include "push/push_token_registration.h"
#include "push/push_tracking.h"
#include "redaction/pii_filter.h"
#include "redaction/redaction_engine.h"
#include "runtime/admission.h"
#include "runtime/config_refresh.h"
#include "runtime/control_plane.h"
#include "runtime/network_guard.h"
#include "runtime/privacy_state.h"
#include "runtime/privacy_transitions.h"
#include "runtime/property_sanitizer.h"
#include "runtime/recovery.h"
#include "runtime/run_state.h"
#include "runtime/user_dedupe.h"
#include "zarn/breadcrumb.h"

namespace zarn::core {

/// Any thread once it stands.
struct Pipeline {
  /// What was there before there was a pipeline, and may have been used by the host.
  struct Earlier {
    std::shared_ptr<network::NetworkTracker> networkTracker;
    std::function<void(const Breadcrumb&)> addBreadcrumb;
  };
  Pipeline(platform::Host& host, const model::Configuration& configuration, platform::Log log,
           Earlier earlier);
  ~Pipeline();

  /// Asks the server for its policy. Nothing is sent before its answer, and nothing is asked for a
  /// user who has opted out.
  void start();

  /// A policy has just been made the one in force; with the epoch's lock held.
  void policyPublished(const model::RemoteDataCollectionConfig& policy);

  platform::Host& host;
  const model::Configuration configuration;
  const platform::Log log;

  // Of their own, since both may wait for the disk: one for deliveries, one for the store's upkeep
  // and other files.
  const std::unique_ptr<base::Executor> deliveryThread;
  const std::unique_ptr<base::Executor> upkeepThread;
  base::SerialQueue controlQueue;
  base::SerialQueue workQueue;
  base::SerialQueue replayPolicyQueue;

  // Who may be tracked, and by which policy.
  runtime::PrivacyState privacy;
  const bool startedOptedOut;
  model::Published<model::RemoteDataCollectionConfig> remoteConfig;
  model::Published<platform::NetworkPath> path;
  model::Published<std::string> appId;

  // Who and what the events are about.
  identity::IdentityManager identity;
  identity::FallbackSession fallbackSession;
  std::optional<identity::SessionTracker> sessionTracker;
  identity::SessionIds session;
  runtime::UserDedupe dedupe;
  events::EventContextSource context;
  identity::EnrichedContextCollector enrichedContext;

  // Their way out.
  events::Transport transport;
  events::OwnStore ownStore;
  events::EventQueue queue;
  redaction::PiiFilter piiFilter;
  redaction::RedactionEngine redactionEngine;
  runtime::PropertySanitizer sanitizer;
  runtime::IdentityBoundary boundary;
  runtime::RunState runState;
  runtime::Admission admission;
  runtime::NetworkGuard guard;  // to the server's control plane

  // Producers, each made where it is wired. What follows acts on them and goes before them. Every
  // event asks the pushes what it is to be attributed to.
  std::optional<push::PushTracking> push;  // absent while pushes are not tracked
  std::optional<network::NetworkObservation> network;
  std::optional<crash::CrashTracker> crashTracker;  // absent while crashes are not tracked
  model::Published<std::string> deferredInstallClickId;
  std::optional<links::InstallTracker> installTracker;
  std::optional<links::InstallValidator> installValidator;  // on the first run only
  std::optional<links::Links> links;
  std::optional<push::PushTokenRegistration> pushTokens;
  std::optional<capture::ScreenshotCapture> screenshots;
  std::optional<capture::Capture> capture;

  // The server's word.
  MaskingOnly replay;
  control::ReplayPolicyFileStore replayPolicyStore;
  control::ReplayPolicyAdmissionCoordinator replayPolicyAdmission;
  control::ReplayPolicyKeeper replayPolicy;
  control::PolicyApplication policies;
  control::ConfigFetcher fetcher;
  runtime::ControlPlane controlPlane;
  runtime::Recovery recovery;
  runtime::ConfigRefresh refresh;
  runtime::PrivacyTransitions transitions;

  base::Scope wiring;  // last: what joins the rooms is cut before any of them goes

 private:
  void wireControl();
  void wireSessions();
  void wireNetwork(std::shared_ptr<network::NetworkTracker> tracker);
  void wireCrash();
  void wireInstall();
  void wireLinks();
  void wirePush();
  void wireScreenshots();
  void wireCapture(std::function<void(const Breadcrumb&)> addBreadcrumb);
  void wireLife();
  void wirePrivacy();
  void setAutoMask(const std::vector<std::string>& categories);
  void restoreAutoMask();
  /// Whether user and server allow what the event gates can't judge one by one.
  bool mayCollect() const {
    return !privacy.optedOut() && !privacy.awaitingFreshPolicyAfterOptIn() && !runState.isPaused();
  }
  /// The way in for the events of a producer.
  auto admitting() {
    return [this](model::EventType type, std::string_view name, const Properties& properties) {
      return admission.admitEvent(type, name, properties);
    };
  }
};

}  // namespace zarn::core
