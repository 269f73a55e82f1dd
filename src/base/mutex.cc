#include "base/mutex.h"

#if defined(ZARN_LOCK_CHECKS)

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace zarn::base {
namespace {

struct Held {
  const void* owner;
  LockRank rank;
};

// Without a destructor, so that locks taken while the process exits find it intact.
struct HeldLocks {
  std::array<Held, 32> locks;
  std::size_t count;
};
constinit thread_local HeldLocks held{};

}  // namespace

void noteLocked(const void* owner, LockRank rank) {
  for (std::size_t i = 0; i < held.count; ++i) {
    if (held.locks[i].rank < rank) continue;
    std::fprintf(stderr, "[Zarn] wrong lock order: rank %d is taken while rank %d is held\n",
                 static_cast<int>(rank), static_cast<int>(held.locks[i].rank));
    std::abort();
  }
  if (held.count == held.locks.size()) std::abort();
  held.locks[held.count++] = {owner, rank};
}

void noteUnlocked(const void* owner) {
  for (std::size_t i = held.count; i-- > 0;) {
    if (held.locks[i].owner != owner) continue;
    for (std::size_t j = i + 1; j < held.count; ++j) held.locks[j - 1] = held.locks[j];
    --held.count;
    return;
  }
}

}  // namespace zarn::base

#endif
