#include "base/fork_guard.h"

#include <pthread.h>
#include <unistd.h>

namespace zarn::base {

namespace internal {
constinit std::atomic<bool> isForkedChild = false;
}

namespace {

// The child may not take locks or free memory, so slots are only ever added, and found without any.
struct FdSlots {
  std::atomic<int> fds[32];
  std::atomic<FdSlots*> next;
};
constexpr int kFreeSlot = 0;  // slots hold descriptor + 1, so that zeroed ones are free
constinit FdSlots firstSlots{};

std::atomic<int>& takeSlot(int value) {
  FdSlots* slots = &firstSlots;
  while (true) {
    for (auto& slot : slots->fds) {
      int expected = kFreeSlot;
      if (slot.compare_exchange_strong(expected, value)) return slot;
    }
    FdSlots* next = slots->next.load();
    if (!next) {
      auto* added = new FdSlots{};
      if (slots->next.compare_exchange_strong(next, added)) {
        next = added;
      } else {
        delete added;
      }
    }
    slots = next;
  }
}

void becomeForkedChild() {
  internal::isForkedChild.store(true, std::memory_order_relaxed);
  for (FdSlots* slots = &firstSlots; slots; slots = slots->next.load()) {
    for (auto& slot : slots->fds) {
      const int value = slot.exchange(kFreeSlot);
      if (value != kFreeSlot) ::close(value - 1);
    }
  }
}

}  // namespace

void watchForks() {
  static const int watching = pthread_atfork(nullptr, nullptr, becomeForkedChild);
  static_cast<void>(watching);
}

ClosedInChild::ClosedInChild(int fd) : slot_(&takeSlot(fd + 1)) {
  watchForks();
}

ClosedInChild::~ClosedInChild() {
  slot_->store(kFreeSlot);
}

}  // namespace zarn::base
