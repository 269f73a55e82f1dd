// What a forked child must know and must not keep. Locks that other threads held at the fork stay
// locked in the child for ever, and threads are gone: a child leaves the library alone.
#pragma once

#include <atomic>

namespace zarn::base {

namespace internal {
extern std::atomic<bool> isForkedChild;
}

/// True in a child that was forked after watchForks, until it replaces its program.
inline bool inForkedChild() {
  return internal::isForkedChild.load(std::memory_order_relaxed);
}

/// From now on forks are noticed. Any thread, any number of times.
void watchForks();

/// While it lives, a forked child closes its copy of `fd`: a file lock would otherwise outlive its
/// process in the child. Must die before the descriptor is closed, or the child could close another
/// file that got the same number. Any thread.
class ClosedInChild {
 public:
  explicit ClosedInChild(int fd);
  ~ClosedInChild();
  ClosedInChild(const ClosedInChild&) = delete;
  ClosedInChild& operator=(const ClosedInChild&) = delete;

 private:
  std::atomic<int>* slot_;
};

}  // namespace zarn::base
