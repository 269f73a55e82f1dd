// Descriptors that libcurl opens for itself.
#pragma once

#include <curl/curl.h>

namespace zarn::desktop {

/// Keeps the pair of sockets by which `multi` is woken from programs that the host starts. libcurl
/// offers no way to ask for them: they are recognised by what one wake-up changes about them, and
/// left alone unless exactly one pair fits. Wakes `multi` once.
void closeWakeupSocketsOnExec(CURLM* multi);

}  // namespace zarn::desktop
