#include <utility>

#include "core/pipeline.h"
#include "core/wiring.h"
#include "platform/dispatch.h"

namespace zarn::core {

void Pipeline::wireNetwork(std::shared_ptr<network::NetworkTracker> tracker) {
  const auto currentGeneration = [this] { return admission.change([] {}); };
  const auto emit = [this](std::string_view name, const Properties& properties,
                           network::NetworkEvents::Token generation) {
    admission.admitEvent(model::EventType::network, name, properties, generation);
  };
  network.emplace(network::NetworkObservationParts{
      .executor = host.dispatch.pool(),
      .clock = host.clock,
      .hook = host.requests,
      .tracker = std::move(tracker),
      .autoTrackNetwork = configuration.options.autoTrackNetwork,
      .ownHosts = network::ownHostsOf(configuration),
      .mayRecord = [this] { return mayCollect(); },
      .events = {.currentGeneration = currentGeneration, .emit = emit}});
  network->start();
}

control::NetworkTargets networkTargets(Pipeline& pipeline) {
  auto& network = pipeline.network;
  return {.setProxyCapture = [&](bool isOn) { network->tracker().setProxyCapture(isOn); },
          .setSwizzleCapture = [&](bool isOn) { network->tracker().setSwizzleCapture(isOn); },
          .installReplacement = [&] { network->installReplacement(); },
          .proxyInUse = [&] { return network->tracker().proxyInUse(); },
          .ensureAggregator = [&](bool force) { network->ensureNetworkAggregator(force); },
          .stopAggregator = [&] { network->stopAggregator(); },
          .disableDiagnostics = [&] { network->disableDiagnostics(); },
          .enableDiagnostics =
              [&](const control::NetworkDiagnostics& diagnostics) {
                network->enableDiagnostics(diagnostics.maxEventsPerMin, diagnostics.hostAllowlist);
              }};
}

}  // namespace zarn::core
