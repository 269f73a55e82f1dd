// NetworkTracker: makes a record of each request that the host app tells of or the platform sees,
// once, and puts it into the buffer. It exists before configure, so that hosts can make delegates
// early; nothing is recorded until it is connected and capture is switched on.
//
//   path      told by                                          recorded while
//   proxy     the host, through a ZarnNetworkDelegateProxy     proxy capture is on
//   swizzle   the platform's hook, at the start and the end    swizzle capture is on
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "network/network_record_buffer.h"
#include "platform/request_hook.h"
#include "zarn/network.h"

namespace zarn::platform {
class Clock;
}

namespace zarn::network {

/// Whether a request has been recorded, shared by all copies of its task.
struct TaskMark {
  std::atomic<bool> isClaimed = false;
};

/// Any thread. Nothing throws, and in a forked child nothing happens.
class NetworkTracker final : public platform::RequestWatcher,
                             public std::enable_shared_from_this<NetworkTracker> {
 public:
  struct Connection {
    const platform::Clock* clock = nullptr;
    /// Whether the user and the server allow that anything is recorded. On hosts' threads, for each
    /// request.
    std::function<bool()> mayRecord;
    /// A proxy was made. On the host's thread.
    std::function<void()> proxyMade;
  };
  /// Once, before capture is switched on. What is called must be safe to call for as long as
  /// proxies live.
  void connect(Connection connection);

  std::shared_ptr<ZarnNetworkDelegateProxy> makeProxy(std::shared_ptr<NetworkDelegate> wrapped);
  bool proxyInUse() const { return proxyInUse_.load(); }

  void setProxyCapture(bool isOn) { proxyCapture_.store(isOn, std::memory_order_release); }
  void setSwizzleCapture(bool isOn) { swizzleCapture_.store(isOn, std::memory_order_release); }
  /// Whether anything is recorded at all.
  bool isCapturing() const {
    return proxyCapture_.load(std::memory_order_acquire) ||
           swizzleCapture_.load(std::memory_order_acquire);
  }

  /// Puts the platform's hook in place, the first time; it is never taken away. Switches swizzle
  /// capture on.
  void installReplacement(platform::RequestHook& hook);
  /// False before, and where the platform has no hook.
  bool isHooked() const { return isHooked_.load(std::memory_order_acquire); }

  /// The proxies' path.
  void finished(const NetworkTask& task, const NetworkMetrics& metrics) noexcept;

  // RequestWatcher:
  std::unique_ptr<platform::WatchedRequest> started(const platform::RequestStart& start,
                                                    const NetworkTask& task) override;

  NetworkRecordBuffer& buffer() { return buffer_; }

 private:
  class Watched;
  /// False when the request has been recorded already.
  static bool claim(const NetworkTask& task);
  void recordMetrics(const NetworkTask& task, const NetworkMetrics& metrics);

  NetworkRecordBuffer buffer_;
  std::atomic<bool> proxyCapture_ = false;
  std::atomic<bool> proxyInUse_ = false;
  std::atomic<bool> swizzleCapture_ = false;
  std::atomic<bool> isReplacementAsked_ = false;
  std::atomic<bool> isHooked_ = false;
  /// Null until connected, then constant.
  std::unique_ptr<const Connection> ownConnection_;
  std::atomic<const Connection*> connection_ = nullptr;
};

}  // namespace zarn::network
