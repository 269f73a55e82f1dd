// hooked: what the toolkit calls on the host's thread for as long as the process lives. Nothing
// throws into it, nothing happens once the scope has closed, and nothing in a forked child.
#pragma once

#include <utility>

#include "base/fork_guard.h"
#include "base/host_call.h"
#include "base/weakly.h"

namespace zarn::capture {

template <typename F>
auto hooked(const base::Scope& scope, F callable) {
  return [call = base::weakly(scope, std::move(callable))](const auto&... what) mutable {
    if (base::inForkedChild()) return;
    try {
      const base::HostCall marker;
      call(what...);
    } catch (...) {  // out of memory, at most: this one is not told
    }
  };
}

}  // namespace zarn::capture
