// Tells whoever listens what happens, as server-sent events. Thread-safe.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::collector {

class LiveFeed {
 public:
  /// Messages that a slow listener may be behind; beyond it the oldest go, and it is told.
  static constexpr std::size_t kMostWaiting = 256;

  class Listener {
   public:
    /// The next messages, or a comment to keep the connection alive; nothing: the feed has closed.
    std::optional<std::string> next(int waitMs);

   private:
    friend class LiveFeed;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::shared_ptr<const std::string>> waiting_;  // guarded by mutex_
    std::size_t lost_ = 0;                                    // guarded by mutex_
    bool closed_ = false;                                     // guarded by mutex_
  };

  std::shared_ptr<Listener> listen();
  bool hasListeners() const;
  void publish(std::string_view event, std::string_view json);
  void close();

 private:
  mutable std::mutex mutex_;
  std::vector<std::weak_ptr<Listener>> listeners_;  // guarded by mutex_
  bool closed_ = false;                             // guarded by mutex_
};

}  // namespace zarn::collector
