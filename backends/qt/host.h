// The host inside a Qt app: the plain one, with the services in its place that Qt does better.
#pragma once

namespace zarn::platform {
struct Host;
}

namespace zarn::qt {

/// Once, when the library first needs its host. Any thread.
platform::Host& extendHost(platform::Host& plain);

}  // namespace zarn::qt
