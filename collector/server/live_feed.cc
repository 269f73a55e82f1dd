#include "server/live_feed.h"

#include <chrono>

namespace zarn::collector {

using Lock = std::unique_lock<std::mutex>;

std::optional<std::string> LiveFeed::Listener::next(int waitMs) {
  Lock lock(mutex_);
  arrived_.wait_for(lock, std::chrono::milliseconds(waitMs),
                    [this] { return closed_ || !waiting_.empty(); });
  if (closed_) return std::nullopt;
  if (waiting_.empty()) return ": still here\n\n";
  std::string text;
  if (lost_ > 0) text = "event: lagged\ndata: {\"lost\":" + std::to_string(lost_) + "}\n\n";
  lost_ = 0;
  for (const auto& message : waiting_) text += *message;
  waiting_.clear();
  return text;
}

std::shared_ptr<LiveFeed::Listener> LiveFeed::listen() {
  auto listener = std::make_shared<Listener>();
  const Lock lock(mutex_);
  listener->closed_ = closed_;
  std::erase_if(listeners_, [](const auto& each) { return each.expired(); });
  listeners_.push_back(listener);
  return listener;
}

bool LiveFeed::hasListeners() const {
  const Lock lock(mutex_);
  for (const auto& each : listeners_) {
    if (!each.expired()) return true;
  }
  return false;
}

void LiveFeed::publish(std::string_view event, std::string_view json) {
  const auto message = std::make_shared<const std::string>("event: " + std::string(event) +
                                                           "\ndata: " + std::string(json) + "\n\n");
  const Lock lock(mutex_);
  for (const auto& each : listeners_) {
    const auto listener = each.lock();
    if (!listener) continue;
    const Lock its(listener->mutex_);
    if (listener->waiting_.size() >= kMostWaiting) {
      listener->waiting_.pop_front();
      ++listener->lost_;
    }
    listener->waiting_.push_back(message);
    listener->arrived_.notify_all();
  }
}

void LiveFeed::close() {
  const Lock lock(mutex_);
  closed_ = true;
  for (const auto& each : listeners_) {
    const auto listener = each.lock();
    if (!listener) continue;
    const Lock its(listener->mutex_);
    listener->closed_ = true;
    listener->arrived_.notify_all();
  }
}

}  // namespace zarn::collector
