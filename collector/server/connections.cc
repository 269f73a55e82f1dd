#include "server/connections.h"

#include <chrono>

namespace zarn::collector {

Connections::Lease::Lease(Connections& owner, std::string& error) : owner_(owner), error_(error) {
  {
    const std::lock_guard lock(owner_.mutex_);
    if (!owner_.idle_.empty()) {
      database_ = std::move(owner_.idle_.back());
      owner_.idle_.pop_back();
    }
  }
  if (!database_) database_ = Database::open(owner_.file_, Database::Mode::read, error_);
  if (database_) {
    database_->setDeadline(std::chrono::steady_clock::now() + std::chrono::seconds(10));
  }
}

Connections::Lease::~Lease() {
  constexpr std::size_t mostIdle = 8;
  if (!database_) return;
  const std::lock_guard lock(owner_.mutex_);
  if (owner_.idle_.size() < mostIdle) owner_.idle_.push_back(std::move(database_));
}

}  // namespace zarn::collector
