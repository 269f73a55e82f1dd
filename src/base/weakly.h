// Scope and weakly: closures that may outlive the object they call into. A call through weakly does
// nothing once the scope has closed; closing waits for a call that is running on another thread.
//
//   http_.start(request, queue_, weakly(scope_, [this](HttpResult r) { answered(std::move(r)); }));
#pragma once

#include <memory>
#include <utility>

#include "base/mutex.h"

namespace zarn::base {

class Scope {
 public:
  Scope() : gate_(std::make_shared<Gate>()) {}
  ~Scope() { close(); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// No call begins after this. Waits for running ones, but for those which the caller is inside
  /// of. The caller must hold no lock that a running call may need.
  void close() { gate_->close(); }

  class Call;
  class Gate {
   public:
    void close();

   private:
    friend class Call;
    bool enter();
    void leave(bool isClosing);

    Mutex mutex_{LockRank::dispatch};
    ConditionVariable left_;
    int running_ ZARN_GUARDED_BY(mutex_) = 0;
    int closing_ ZARN_GUARDED_BY(mutex_) = 0;  // running calls whose threads closed or are closing
    bool isClosed_ ZARN_GUARDED_BY(mutex_) = false;
  };

  /// One call through the gate, on the stack of the thread that makes it.
  class Call {
   public:
    explicit Call(Gate& gate);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    explicit operator bool() const { return hasEntered_; }

   private:
    friend class Gate;
    Gate& gate_;
    const bool hasEntered_;
    bool isClosing_ = false;
    Call* const outer_;
  };
  const std::shared_ptr<Gate>& gate() const { return gate_; }

 private:
  const std::shared_ptr<Gate> gate_;
};

template <typename F>
auto weakly(const Scope& scope, F callable) {
  return [gate = scope.gate(), callable = std::move(callable)](auto&&... args) mutable {
    if (const Scope::Call call(*gate); call) callable(std::forward<decltype(args)>(args)...);
  };
}

}  // namespace zarn::base
