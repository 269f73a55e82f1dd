// The guard on every public entry: nothing throws across it, and in a forked child nothing happens.
#pragma once

#include <utility>

#include "base/fork_guard.h"
#include "base/host_call.h"

namespace zarn::core {

/// What `call` returns, or a neutral value.
template <typename F>
auto publicCall(F&& call, base::HostCallKind kind = base::HostCallKind::prompt) noexcept
    -> decltype(call()) {
  using Result = decltype(call());
  if (base::inForkedChild()) return Result();
  try {
    const base::HostCall marker(kind);
    return std::forward<F>(call)();
  } catch (...) {
    return Result();  // out of memory, at most: the call had no effect
  }
}

}  // namespace zarn::core
