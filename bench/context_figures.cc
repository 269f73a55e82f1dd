#include "context_figures.h"

#include "desktop/clock.h"
#include "desktop/crypto.h"
#include "desktop/device.h"
#include "desktop/dispatch.h"
#include "desktop/environment.h"
#include "identity/enriched_context_collector.h"
#include "latencies.h"
#include "platform/path_monitor.h"

namespace zarn::bench {
namespace {

constexpr int kCollections = 501;

/// What a collector stands on.
struct Surroundings {
  desktop::ThreadDispatch dispatch;
  base::SerialQueue reader{dispatch.pool(), "bench", base::LockRank::storeQueue};
  desktop::ProcessEnvironment environment;
  desktop::SystemClock clock;
  desktop::OpensslCrypto crypto;
  model::Published<model::RemoteDataCollectionConfig> config;
  model::Published<platform::NetworkPath> path;
};

template <typename F>
double medianMs(F&& collect) {
  Latencies latencies;
  collect();  // the first call of a process also loads what it needs
  for (int i = 0; i < kCollections; ++i) latencies.time(collect);
  return latencies.percentileMicroseconds(0.5) / 1000;
}

}  // namespace

double contextCollectMs() {
  Surroundings around;
  desktop::LinuxDevice device({}, around.environment, around.clock, around.reader);
  identity::EnrichedContextCollector collector(device, around.crypto, around.config, around.path);
  return medianMs([&] { collector.collect(); });
}

double contextFirstCollectMs() {
  Surroundings around;
  return medianMs([&] {
    desktop::LinuxDevice device({}, around.environment, around.clock, around.reader);
    identity::EnrichedContextCollector(device, around.crypto, around.config, around.path).collect();
  });
}

}  // namespace zarn::bench
