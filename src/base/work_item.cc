#include "base/work_item.h"

#include "base/work_item_state.h"

namespace zarn::base {

bool WorkItem::State::leavePending(Phase next) {
  Phase expected = Phase::pending;
  return phase_.compare_exchange_strong(expected, next, std::memory_order_acq_rel);
}

void WorkItem::State::run() {
  if (!leavePending(Phase::begun)) return;
  Closure item = std::move(item_);
  item();
}

void WorkItem::State::cancel() {
  if (!leavePending(Phase::cancelled)) return;
  executor_.cancel(task_);
  item_ = nullptr;
}

WorkItem& WorkItem::operator=(WorkItem&& other) noexcept {
  if (this != &other) {
    cancel();
    state_ = std::move(other.state_);
  }
  return *this;
}

void WorkItem::cancel() {
  if (const auto state = std::exchange(state_, nullptr)) state->cancel();
}

bool WorkItem::isPending() const {
  return state_ && state_->isPending();
}

}  // namespace zarn::base
