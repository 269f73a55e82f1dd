#include "network/network_observation.h"

#include <utility>

#include "base/timer.h"

namespace zarn::network {
namespace {

constexpr double kTickSeconds = 5;

}  // namespace

struct NetworkObservation::Running {
  NetworkAggregator aggregator;
  base::RepeatingTimer timer;
};

NetworkObservation::NetworkObservation(NetworkObservationParts parts)
    : tracker_(std::move(parts.tracker)),
      hook_(parts.hook),
      clock_(parts.clock),
      autoTrackNetwork_(parts.autoTrackNetwork),
      ownHosts_(std::move(parts.ownHosts)),
      events_(std::move(parts.events)),
      queue_(parts.executor, "io.zarn.network.aggregator", base::LockRank::networkAggregator) {
  tracker_->connect(
      {.clock = &clock_,
       .mayRecord =
           [gate = scope_.gate(), may = std::move(parts.mayRecord)] {
             const base::Scope::Call call(*gate);
             return call && may();
           },
       .proxyMade = base::weakly(scope_, [this] { ensureNetworkAggregator(false); })});
}

NetworkObservation::~NetworkObservation() {
  tracker_->setProxyCapture(false);
  tracker_->setSwizzleCapture(false);
}

void NetworkObservation::start() {
  tracker_->setProxyCapture(true);
  if (autoTrackNetwork_) installReplacement();
  ensureNetworkAggregator(false);
}

void NetworkObservation::ensureNetworkAggregator(bool force) {
  const auto since = events_.currentGeneration();
  const bool canCome = tracker_->isCapturing() &&
                       (tracker_->proxyInUse() || (autoTrackNetwork_ && tracker_->isHooked()));
  base::MutexLock lock(networkAggregatorLock_);
  if (hasAggregator_ || (!force && !canCome)) return;
  hasAggregator_ = true;
  // With the lock held, so that the queue sees beginnings and ends in their order.
  queue_.async(base::weakly(scope_, [this, since] { begin(since); }));
}

void NetworkObservation::begin(NetworkEvents::Token generation) {
  queue_.assertCurrent();
  running_.reset(
      new Running{{tracker_->buffer(), clock_, ownHosts_, events_, generation},
                  {queue_, base::seconds(kTickSeconds), base::weakly(scope_, [this] { tick(); })}});
  running_->timer.start();
}

void NetworkObservation::tick() {
  queue_.assertCurrent();
  if (running_) running_->aggregator.tick();
}

void NetworkObservation::stopAggregator() {
  base::MutexLock lock(networkAggregatorLock_);
  if (!std::exchange(hasAggregator_, false)) return;
  queue_.async(base::weakly(scope_, [this] { end(); }));
}

void NetworkObservation::end() {
  queue_.assertCurrent();
  running_.reset();
  tracker_->buffer().drain();
}

template <typename F>
void NetworkObservation::postToAggregator(F action) {
  queue_.async(base::weakly(scope_, [this, action = std::move(action)] {
    queue_.assertCurrent();
    if (running_) action(running_->aggregator);
  }));
}

void NetworkObservation::enableDiagnostics(double maxEventsPerMin,
                                           std::vector<std::string> allowlist) {
  postToAggregator([maxEventsPerMin, hosts = std::move(allowlist)](NetworkAggregator& aggregator) {
    aggregator.enableDiagnostics(maxEventsPerMin, hosts);
  });
}

void NetworkObservation::disableDiagnostics() {
  postToAggregator([](NetworkAggregator& aggregator) { aggregator.disableDiagnostics(); });
}

void NetworkObservation::didEnterBackground() {
  postToAggregator([](NetworkAggregator& aggregator) { aggregator.flush(); });
}

void NetworkObservation::willTerminate() {
  queue_.sync([this] {
    queue_.assertCurrent();
    if (running_) running_->aggregator.flush();
  });
}

}  // namespace zarn::network
