// Scope and weakly: closures that may outlive the object they call into. A call through weakly does
// nothing once the scope has closed; closing waits for a call that is running on another thread.
//
//   http_.start(request, queue_, weakly(scope_, [this](HttpResult r) { answered(std::move(r)); }));
#pragma once

#include <memory>
#include <thread>
#include <utility>

#include "base/mutex.h"

namespace zarn::base {

class Scope {
 public:
  Scope() : gate_(std::make_shared<Gate>()) {}
  ~Scope() { close(); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// No call begins after this. Waits for running ones, but for that which the caller is inside of.
  void close() { gate_->close(); }

  class Gate {
   public:
    bool enter();
    void leave();
    void close();

   private:
    Mutex mutex_{LockRank::dispatch};
    ConditionVariable left_;
    int running_ ZARN_GUARDED_BY(mutex_) = 0;
    bool closed_ ZARN_GUARDED_BY(mutex_) = false;
  };
  const std::shared_ptr<Gate>& gate() const { return gate_; }

 private:
  std::shared_ptr<Gate> gate_;
};

template <typename F>
auto weakly(const Scope& scope, F callable) {
  return [gate = scope.gate(), callable = std::move(callable)](auto&&... args) mutable {
    if (!gate->enter()) return;
    struct Leave {
      Scope::Gate& gate;
      ~Leave() { gate.leave(); }
    } leave{*gate};
    callable(std::forward<decltype(args)>(args)...);
  };
}

}  // namespace zarn::base
