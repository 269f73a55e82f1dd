#include "desktop/thread.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>

#include "base/fork_guard.h"

namespace zarn::desktop {
namespace {

constexpr base::Duration kLongestWait = std::chrono::hours(24);

struct ThreadStart {
  char name[16];
  base::Closure body;
};

void* threadMain(void* argument) {
  const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(argument));
  pthread_setname_np(pthread_self(), start->name);
  try {
    start->body();
  } catch (...) {  // must not end the host's process
  }
  return nullptr;
}

}  // namespace

HostSignalsBlocked::HostSignalsBlocked() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
    sigdelset(&signals, fault);
  }
  pthread_sigmask(SIG_SETMASK, &signals, &before_);
}

HostSignalsBlocked::~HostSignalsBlocked() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

Thread Thread::start(const char* name, base::Closure body) {
  Thread thread;
  if (base::inForkedChild()) return thread;
  auto start = std::make_unique<ThreadStart>();
  std::snprintf(start->name, sizeof start->name, "%s", name);
  start->body = std::move(body);

  const HostSignalsBlocked blocked;
  pthread_t started;
  if (pthread_create(&started, nullptr, threadMain, start.get()) != 0) return thread;
  start.release();  // belongs to the thread now
  thread.started_ = started;
  return thread;
}

Thread::~Thread() {
  if (started_ && !base::inForkedChild()) pthread_detach(*started_);
}

bool Thread::join(base::Duration patience) {
  if (!started_) return true;
  if (base::inForkedChild() || isCurrent()) return false;
  timespec deadline;
  clock_gettime(CLOCK_REALTIME, &deadline);
  const auto wait = std::clamp(patience, base::Duration::zero(), kLongestWait);
  const auto end = deadline.tv_nsec + wait.count();
  deadline.tv_sec += end / 1'000'000'000;
  deadline.tv_nsec = end % 1'000'000'000;
  if (pthread_timedjoin_np(*started_, nullptr, &deadline) != 0) return false;
  started_.reset();
  return true;
}

}  // namespace zarn::desktop
