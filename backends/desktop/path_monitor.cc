#include "desktop/path_monitor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <atomic>

#include "base/fork_guard.h"
#include "base/mutex.h"
#include "desktop/network_state.h"
#include "desktop/thread.h"

namespace zarn::desktop {
namespace {

/// Changes come in bursts; at most one look at the state in this time.
constexpr int kSettleMilliseconds = 200;

std::optional<platform::NetworkPath> readPath() {
  const auto state = readNetworkState();
  if (!state) return std::nullopt;
  return pathOf(*state);
}

/// A handler and where it runs; `active` goes off when another takes its place.
struct Listener {
  base::SerialQueue& queue;
  std::function<void(platform::NetworkPath)> changed;
  std::atomic<bool> active = true;
};

}  // namespace

class PathWatch : public std::enable_shared_from_this<PathWatch> {
 public:
  void listen(std::shared_ptr<Listener> listener) {
    base::MutexLock lock(mutex_);
    if (listener_) listener_->active = false;
    listener_ = std::move(listener);
    if (!listener_) return;
    ensureThread();
    // Without a watch the first look is the only one.
    if (!path_ && !thread_) path_ = readPath();
    if (path_) tell(*path_);
  }

  std::optional<platform::NetworkPath> current() {
    {
      base::MutexLock lock(mutex_);
      if (thread_ && path_) return path_;
    }
    return readPath();
  }

  void observe(std::function<void()> changed) {
    base::MutexLock lock(observerMutex_);
    observer_ = std::move(changed);
    if (!observer_) return;
    base::MutexLock stateLock(mutex_);
    ensureThread();
  }

  void stop() {
    listen(nullptr);
    observe(nullptr);
    Thread thread;
    {
      base::MutexLock lock(mutex_);
      stopping_ = true;
      if (thread_) eventfd_write(wakeup_.get(), 1);
      thread = std::move(thread_);
    }
    thread.join(base::seconds(5));
  }

 private:
  void ensureThread() ZARN_REQUIRES(mutex_) {
    if (thread_ || stopping_) return;
    // Open before the first look, so that no change falls between the two.
    changes_ = openNetworkChanges();
    wakeup_ = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!changes_ || !wakeup_) return;
    thread_ = Thread::start("zarn-path", [self = shared_from_this()] { self->run(); });
  }

  void run() {
    do {
      look();
    } while (sleepUntilChange());
  }

  void look() {
    const auto path = readPath();
    if (!path) return;
    {
      base::MutexLock lock(mutex_);
      if (path_ == path) return;
      path_ = path;
      tell(*path);
    }
    base::MutexLock lock(observerMutex_);
    if (observer_) observer_();
  }

  /// False when it is time to end.
  bool sleepUntilChange() {
    std::array<pollfd, 2> sources{pollfd{.fd = wakeup_.get(), .events = POLLIN, .revents = 0},
                                  pollfd{.fd = changes_.get(), .events = POLLIN, .revents = 0}};
    if (::poll(sources.data(), 1, kSettleMilliseconds) > 0) return false;
    if (::poll(sources.data(), 2, -1) < 0 || sources[0].revents != 0) return false;
    std::array<char, 8192> ignored;
    while (::recv(changes_.get(), ignored.data(), ignored.size(), 0) > 0) {
    }
    return true;
  }

  void tell(platform::NetworkPath path) ZARN_REQUIRES(mutex_) {
    if (!listener_) return;
    listener_->queue.async([listener = listener_, path] {
      if (listener->active) listener->changed(path);
    });
  }

  // Set before the thread starts, constant while it runs.
  Descriptor changes_;
  Descriptor wakeup_;

  base::Mutex mutex_{base::LockRank::leaf};
  std::shared_ptr<Listener> listener_ ZARN_GUARDED_BY(mutex_);
  std::optional<platform::NetworkPath> path_ ZARN_GUARDED_BY(mutex_);
  bool stopping_ ZARN_GUARDED_BY(mutex_) = false;
  Thread thread_ ZARN_GUARDED_BY(mutex_);

  // Held while the observer runs, so that taking it away waits for it.
  base::Mutex observerMutex_{base::LockRank::transport};
  std::function<void()> observer_ ZARN_GUARDED_BY(observerMutex_);
};

NetlinkPathMonitor::NetlinkPathMonitor() : watch_(std::make_shared<PathWatch>()) {}

NetlinkPathMonitor::~NetlinkPathMonitor() {
  if (!base::inForkedChild()) watch_->stop();
}

void NetlinkPathMonitor::start(base::SerialQueue& queue,
                               std::function<void(platform::NetworkPath)> changed) {
  if (base::inForkedChild()) return;
  watch_->listen(std::shared_ptr<Listener>(new Listener{queue, std::move(changed)}));
}

void NetlinkPathMonitor::stop() {
  if (!base::inForkedChild()) watch_->listen(nullptr);
}

std::optional<platform::NetworkPath> NetlinkPathMonitor::current() {
  return watch_->current();
}

void NetlinkPathMonitor::observe(std::function<void()> changed) {
  watch_->observe(std::move(changed));
}

}  // namespace zarn::desktop
