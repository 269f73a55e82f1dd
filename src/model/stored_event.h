// Reading an event back from the bytes that were stored.
#pragma once

#include <optional>
#include <string>

#include "model/event.h"

namespace zarn::model {

/// The event with its own bytes, once they have proved to decode as an event: every key that is
/// always there is there, with its type. Nothing otherwise. `time` has the wire's whole seconds.
std::optional<EncodedEvent> readStoredEvent(std::string json);

}  // namespace zarn::model
