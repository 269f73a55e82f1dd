// WorkItem: a handle on delayed work. The work is cancelled when its handle dies, so that nothing
// can fire into an owner that is gone.
#pragma once

#include <memory>
#include <utility>

namespace zarn::base {

class WorkItem {
 public:
  class State;

  WorkItem() = default;
  explicit WorkItem(std::shared_ptr<State> state) : state_(std::move(state)) {}
  WorkItem(WorkItem&&) noexcept = default;
  WorkItem& operator=(WorkItem&& other) noexcept;
  ~WorkItem() { cancel(); }

  /// The work will not begin any more; one that has begun goes on. Never waits.
  void cancel();
  /// Whether the work has neither begun nor been cancelled.
  bool isPending() const;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace zarn::base
