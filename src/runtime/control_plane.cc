#include "runtime/control_plane.h"

#include <utility>

#include "runtime/run_state.h"

namespace zarn::runtime {

using control::InitAnswer;
using control::InitOccasion;
using model::LifecycleState;

ControlPlane::ControlPlane(const model::Configuration& configuration, const platform::AppFacts& app,
                           NetworkGuard& guard, RunState& runState, PrivacyState& privacy,
                           control::ConfigFetcher& fetcher, control::PolicyApplication& policies,
                           AnswerTargets targets, platform::Log log)
    : configuration_(configuration),
      app_(app),
      guard_(guard),
      runState_(runState),
      privacy_(privacy),
      fetcher_(fetcher),
      policies_(policies),
      targets_(std::move(targets)),
      log_(log) {}

bool ControlPlane::send(platform::HttpRequest request, NetworkGuard::Token network,
                        Answered answered) {
  return epoch_.issue([&](control::ControlPlaneResponseEpoch::Token epoch) {
    const ControlTicket ticket{epoch, privacy_.transition(), runState_.pauses()};
    return guard_.startGuardedTask(std::move(request), network,
                                   base::weakly(scope_, [ticket, answered = std::move(answered)](
                                                            platform::HttpResult result) mutable {
                                     answered(std::move(result), ticket);
                                   }));
  });
}

void ControlPlane::sendInit() {
  send(control::makeInitRequest(configuration_, app_, InitOccasion::startUp), guard_.current(),
       [this](const platform::HttpResult& result, const ControlTicket& ticket) {
         initAnswered(result, ticket);
       });
}

void ControlPlane::sendRecoveryInit(NetworkGuard::Token network, Answered answered) {
  send(control::makeInitRequest(configuration_, app_, InitOccasion::recovery), network,
       std::move(answered));
}

void ControlPlane::fetchConfig(Fetch occasion) {
  const auto network = guard_.current();
  // Filled once the request has been answered; a refused one ends in silence.
  auto ticket = std::make_shared<std::optional<ControlTicket>>();
  fetcher_.fetch(
      true,
      [this, network, ticket](platform::HttpRequest request,
                              base::UniqueFunction<void(platform::HttpResult)> completion) {
        return send(std::move(request), network,
                    [ticket, completion = std::move(completion)](
                        platform::HttpResult result, const ControlTicket& issued) mutable {
                      ticket->emplace(issued);
                      completion(std::move(result));
                    });
      },
      base::weakly(scope_,
                   [this, ticket, occasion](const std::optional<model::ConfigResponse>& response) {
                     if (*ticket) configAnswered(response, **ticket, occasion);
                   }));
}

void ControlPlane::initAnswered(const platform::HttpResult& result, const ControlTicket& ticket) {
  const auto answer = control::readInitAnswer(result);
  if (!answer) {
    log_.debug({"[Zarn] Init failed (status ", std::to_string(control::statusOf(result)),
                ") — continuing without release_id"});
    epoch_.ifLatest(ticket.epoch, [&] {
      if (onRecoveryNeeded) onRecoveryNeeded("initial_init_failed");
    });
    return;
  }
  if (!answer->dataCollection) {
    log_.debug(
        {"[Zarn] Init: data_collection missing/undecodable — continuing with built-in "
         "defaults"});
  }
  if (answer->paused) {
    log_.debug(
        {"[Zarn] Init: SDK paused by server (", answer->pausedReason.value_or("unspecified"), ")"});
  }
  if (answer->releaseId) {
    targets_.setReleaseId(*answer->releaseId);
    log_.debug({"[Zarn] Init: release_id = ", *answer->releaseId});
  }
  if (answer->appId) targets_.setAppId(*answer->appId);
  Policy policy;
  if (answer->dataCollection) {
    policy = std::make_shared<const model::RemoteDataCollectionConfig>(*answer->dataCollection);
  } else {
    policy = targets_.latestRemoteConfig();
    if (!policy) policy = std::make_shared<const model::RemoteDataCollectionConfig>();
  }
  apply(ticket, std::move(policy), answer->dataCollection.has_value(), answer->paused);
}

void ControlPlane::applyRecovery(const InitAnswer& answer, const ControlTicket& ticket) {
  if (answer.releaseId && !answer.releaseId->empty()) targets_.setReleaseId(*answer.releaseId);
  if (answer.dataCollection) {
    apply(ticket, std::make_shared<const model::RemoteDataCollectionConfig>(*answer.dataCollection),
          true, answer.paused);
    return;
  }
  if (answer.paused) {
    epoch_.ifLatest(ticket.epoch, [&] {
      if (!privacy_.optedOut()) runState_.becomePaused();
    });
  }
  log_.debug({"[Zarn] Recovery init missing fresh data_collection — remaining fail-closed"});
}

void ControlPlane::configAnswered(const std::optional<model::ConfigResponse>& response,
                                  const ControlTicket& ticket, Fetch occasion) {
  if (!response) {
    log_.debug({"[Zarn] Config fetch failed — keeping last resolved policy"});
    epoch_.ifLatest(ticket.epoch, [&] {
      // A policy that is in force goes on.
      const auto state = runState_.current();
      const bool isNeeded = occasion == Fetch::startUp || state == LifecycleState::recovering ||
                            state == LifecycleState::initialising;
      if (isNeeded && onRecoveryNeeded) onRecoveryNeeded("config_fetch_failed");
    });
    return;
  }
  apply(ticket, std::make_shared<const model::RemoteDataCollectionConfig>(response->dataCollection),
        true, response->paused, "[Zarn] Config: SDK paused by server");
}

void ControlPlane::apply(const ControlTicket& ticket, Policy policy, bool authoritative,
                         bool paused, std::string_view onPause) {
  epoch_.ifLatest(ticket.epoch, [&] {
    if (!authoritative && privacy_.awaitingFreshPolicyAfterOptIn()) return;
    // A boundary that has begun will find what is done here already done, and undo it.
    if (privacy_.optedOut() || ticket.privacy != privacy_.transition()) return;
    if (paused) runState_.becomePaused();
    policies_.apply({.policy = std::move(policy),
                     .authoritative = authoritative,
                     .paused = paused,
                     .pauses = ticket.pauses});
    privacy_.acceptFreshPolicy(ticket.privacy);
    if (!paused) runState_.becomeRunning(ticket.pauses);
    if (paused && !onPause.empty()) log_.debug({onPause});
  });
}

}  // namespace zarn::runtime
