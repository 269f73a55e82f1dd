// What a desktop host can tell about itself.
#pragma once

#include <string>

#include "zarn/export.h"

namespace zarn::desktop {
inline namespace ZARN_VERSION_NAMESPACE {

/// Empty fields take sensible values from the executable and the environment.
struct HostInfo {
  /// Reverse-domain identifier, such as "com.example.shop". Default: the executable's name.
  std::string bundleId = {};
  /// Name to show. Default: the executable's name.
  std::string name = {};
  /// Version shown to users, such as "2.4.1". Default: unknown.
  std::string version = {};
  /// Build number. Default: unknown.
  std::string build = {};
  /// Where the library keeps its files, in a folder of its own that only the user can read.
  /// Default: a folder named after `bundleId` in XDG_DATA_HOME, or in ~/.local/share without it.
  /// A relative path counts from the folder that is current when describeHost is called. Where the
  /// folder can't be made or written to, a private one among the temporary files takes its place,
  /// the same at every launch: what is there may be gone after a restart of the system.
  std::string dataDirectory = {};
};

/// Call before Zarn::configure, and before the few calls that need the app's folder earlier
/// (optOut, optIn, setAdvertisingConsent, resolveLink and those of skan()), once; later calls have
/// no effect. Any thread. Never throws.
ZARN_API void describeHost(HostInfo info);

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn::desktop
