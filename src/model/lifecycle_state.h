// Whether events may flow.
#pragma once

#include <cstdint>
#include <string_view>

namespace zarn::model {

enum class LifecycleState : std::uint8_t {
  initialising,    // before the server's first answer: events are kept, nothing is sent
  running,         // events flow
  recovering,      // the server can't be reached or trusted: events are kept, nothing is sent
  pausedByServer,  // the server wants no events: none is taken
};

constexpr std::string_view name(LifecycleState state) {
  switch (state) {
    case LifecycleState::initialising:
      return "initialising";
    case LifecycleState::running:
      return "running";
    case LifecycleState::recovering:
      return "recovering";
    case LifecycleState::pausedByServer:
      return "pausedByServer";
  }
  return "";
}

}  // namespace zarn::model
