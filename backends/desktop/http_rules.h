// Decisions of the HTTP client that need no socket and no clock.
#pragma once

#include <string>
#include <string_view>

#include "base/executor.h"

namespace zarn::desktop {

/// Whether `host`, as a URL spells it, can only be this machine. Such hosts need no network and are
/// never asked for through a proxy.
bool isLoopbackHost(std::string_view host);

/// Whether text can be a line of a request without ending it early.
bool isHeaderText(std::string_view text);

/// How one attempt ended: libcurl's code, and the system's error where it has one.
struct AttemptError {
  int curlCode = 0;
  long systemError = 0;
};

/// Whether the network was missing and not the server, so that nothing of the request has been
/// sent and trying again later makes sense. `offline` is what the path monitor says.
bool meansNoNetwork(AttemptError error, bool offline);

/// How long to wait before the next attempt, after `attempts` of them; a change of the path ends
/// the wait early.
base::Duration connectivityRetryDelay(int attempts);

/// A reason for the debug log; it holds nothing of the request.
std::string describe(AttemptError error);

}  // namespace zarn::desktop
