#include "qt/host.h"

#include "platform/host.h"

namespace zarn::qt {

platform::Host& extendHost(platform::Host& plain) {
  return plain;
}

}  // namespace zarn::qt
