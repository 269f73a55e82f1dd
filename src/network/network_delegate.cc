#include "zarn/network.h"

#include <utility>

#include "base/fork_guard.h"
#include "base/mutex.h"
#include "network/network_tracker.h"

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {

NetworkTask::NetworkTask() noexcept {
  try {
    mark_ = std::make_shared<network::TaskMark>();
  } catch (...) {  // out of memory: it may be counted more than once
  }
}

NetworkDelegate::~NetworkDelegate() = default;

struct ZarnNetworkDelegateProxy::State {
  State(std::shared_ptr<network::NetworkTracker> owner, std::shared_ptr<NetworkDelegate> delegate)
      : tracker(std::move(owner)), isAround(delegate != nullptr), wrapped(std::move(delegate)) {}

  // A lock that another thread held at the fork stays locked in the child, which is alone.
  std::shared_ptr<NetworkDelegate> inChild() const ZARN_NO_THREAD_SAFETY_ANALYSIS {
    return wrapped;
  }
  void letGo() {
    if (base::inForkedChild()) return;
    std::shared_ptr<NetworkDelegate> last;  // dies after the lock: it is the host's
    base::MutexLock lock(wrappedLock);
    last.swap(wrapped);
  }

  const std::shared_ptr<network::NetworkTracker> tracker;  // null: requests are not counted
  const bool isAround;                                     // whether it was made around a delegate
  mutable base::Mutex wrappedLock{base::LockRank::leaf};
  std::shared_ptr<NetworkDelegate> wrapped ZARN_GUARDED_BY(wrappedLock);
};

ZarnNetworkDelegateProxy::ZarnNetworkDelegateProxy(std::shared_ptr<network::NetworkTracker> tracker,
                                                   std::shared_ptr<NetworkDelegate> wrapped)
    : state_(std::make_unique<State>(std::move(tracker), std::move(wrapped))) {}

ZarnNetworkDelegateProxy::~ZarnNetworkDelegateProxy() = default;

std::shared_ptr<NetworkDelegate> ZarnNetworkDelegateProxy::wrapped() const {
  if (!state_->isAround) return nullptr;
  if (base::inForkedChild()) return state_->inChild();
  base::MutexLock lock(state_->wrappedLock);
  return state_->wrapped;
}

void ZarnNetworkDelegateProxy::didFinishCollectingMetrics(const NetworkTask& task,
                                                          const NetworkMetrics& metrics) {
  if (state_->tracker) state_->tracker->finished(task, metrics);
  if (const auto delegate = wrapped()) delegate->didFinishCollectingMetrics(task, metrics);
}

void ZarnNetworkDelegateProxy::didBecomeInvalid(std::string_view error) {
  struct LetGo {
    ~LetGo() { state.letGo(); }
    State& state;
  };
  const auto delegate = wrapped();
  const LetGo afterwards{*state_};  // also when the delegate throws
  if (delegate) delegate->didBecomeInvalid(error);
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn
