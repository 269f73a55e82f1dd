#include "base/weakly.h"

namespace zarn::base {
namespace {

constinit thread_local Scope::Call* innermostCall = nullptr;

}  // namespace

bool Scope::Gate::enter() {
  MutexLock lock(mutex_);
  if (isClosed_) return false;
  ++running_;
  return true;
}

void Scope::Gate::leave(bool isClosing) {
  MutexLock lock(mutex_);
  --running_;
  if (isClosing) --closing_;
  left_.notifyAll();
}

void Scope::Gate::close() {
  MutexLock lock(mutex_);
  isClosed_ = true;
  // A call that closes its own scope is not waited for, neither here nor by another such call.
  for (Call* call = innermostCall; call; call = call->outer_) {
    if (&call->gate_ != this || std::exchange(call->isClosing_, true)) continue;
    ++closing_;
    left_.notifyAll();
  }
  while (running_ > closing_) left_.wait(mutex_);
}

Scope::Call::Call(Gate& gate) : gate_(gate), hasEntered_(gate.enter()), outer_(innermostCall) {
  if (hasEntered_) innermostCall = this;
}

Scope::Call::~Call() {
  if (!hasEntered_) return;
  innermostCall = outer_;
  gate_.leave(isClosing_);
}

}  // namespace zarn::base
