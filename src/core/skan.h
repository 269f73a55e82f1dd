// What stands behind ZarnSKAN: made at the first call, since a host may ask for it before it is
// configured.
#pragma once

#include <functional>
#include <memory>

#include "base/mutex.h"
#include "links/skan.h"
#include "zarn/skan.h"

namespace zarn::platform {
struct Host;
}

namespace zarn {
inline namespace ZARN_VERSION_NAMESPACE {

/// Any thread.
class ZarnSKAN::Impl {
 public:
  /// `host` is asked for at the first call that needs it; `debugLine` prints where the host has
  /// asked for debug lines.
  Impl(std::function<platform::Host&()> host, links::Skan::DebugLine debugLine);

  links::Skan& skan();

 private:
  const std::function<platform::Host&()> host_;
  const links::Skan::DebugLine debugLine_;

  base::Mutex lock_{base::LockRank::configure};
  std::unique_ptr<links::Skan> skan_ ZARN_GUARDED_BY(lock_);  // constant once made
};

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn
