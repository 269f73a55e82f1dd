#include "desktop/process.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "base/fork_guard.h"
#include "base/mutex.h"

namespace zarn::desktop {
namespace {

/// However slow the others are, each gets this much of the budget: enough for threads that sleep.
constexpr base::Duration kLeastShare = base::seconds(0.02);

using ExitFunction = base::UniqueFunction<void(base::Duration)>;

struct ExitRegistry {
  base::Mutex mutex{base::LockRank::dispatch};
  std::vector<ExitFunction> stops ZARN_GUARDED_BY(mutex);

  /// Empty at the end; `others` are still to come.
  ExitFunction takeNewest(int& others) {
    base::MutexLock lock(mutex);
    if (stops.empty()) return nullptr;
    ExitFunction newest = std::move(stops.back());
    stops.pop_back();
    others = static_cast<int>(stops.size());
    return newest;
  }
};

ExitRegistry& exitRegistry();

void stopAll() {
  if (base::inForkedChild()) return;  // its threads and locks are the parent's
  const auto deadline = std::chrono::steady_clock::now() + kExitBudget;
  int others = 0;
  while (ExitFunction stop = exitRegistry().takeNewest(others)) {
    const base::Duration left = deadline - std::chrono::steady_clock::now();
    try {
      stop(std::max<base::Duration>(left - kLeastShare * others, kLeastShare));
    } catch (...) {
    }
  }
}

ExitRegistry* makeExitRegistry() {
  base::watchForks();
  // OpenSSL keeps its state to the end: it would take locks to free it, and in a forked child they
  // may be held by threads that are not there. Where the host has initialised it before, its
  // handler is there, and older than ours: handlers run newest first. Asked for nothing else,
  // OpenSSL would initialise nothing.
  OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS | OPENSSL_INIT_NO_ATEXIT, nullptr);
  std::atexit(stopAll);
  return new ExitRegistry;  // never destroyed: registered to as late as in static destructors
}

ExitRegistry& exitRegistry() {
  static ExitRegistry* const registry = makeExitRegistry();
  return *registry;
}

}  // namespace

void onProcessExit(ExitFunction stop) {
  ExitRegistry& registry = exitRegistry();
  base::MutexLock lock(registry.mutex);
  registry.stops.push_back(std::move(stop));
}

}  // namespace zarn::desktop
