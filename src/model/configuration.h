// The host's options, put in order, with the write key they came with.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zarn/options.h"

namespace zarn::model {

struct Endpoints {
  std::string production;
  std::string development;
};

/// The server addresses that the library was built with.
const Endpoints& builtInEndpoints();
/// The domains under which the library's servers stand, in lower case: traffic to them is not the
/// host app's.
const std::vector<std::string>& ownDomains();

/// Copied into whatever needs it; nothing changes it after configure.
struct Configuration {
  std::string writeKey;
  /// `environment` is trimmed and in lower case, `apiHost` is set, numbers are in their ranges.
  ConfigurationOptions options;

  const std::string& apiHost() const { return *options.apiHost; }
  const std::string& environment() const { return options.environment; }
  /// The option, else the fourth of at least five parts of the write key, else the whole write key.
  std::string projectId() const;
  /// The override, else the write key.
  const std::string& apiKey() const;
};

struct ResolvedConfiguration {
  Configuration configuration;
  /// Environment was forced to development by ZARN_INTERNAL_DEV.
  bool internalDevForced = false;
  /// Names of options whose numbers were replaced by their defaults.
  std::vector<std::string_view> replacedOptions;
};

/// `internalDev` is the value of ZARN_INTERNAL_DEV, if any. An unknown environment passes, see
/// below.
ResolvedConfiguration resolveConfiguration(std::string_view writeKey, ConfigurationOptions options,
                                           const std::optional<std::string>& internalDev,
                                           const Endpoints& endpoints = builtInEndpoints());

/// Whether the (resolved) environment is one that exists.
bool isKnownEnvironment(std::string_view environment);

/// Whether the host forms an address that a request can go to.
bool isUsableHost(std::string_view apiHost);

/// `apiHost` and `path` as one address; with a host that forms none, the production endpoint takes
/// its place, so that a malformed host never stops the library.
std::string endpointURL(std::string_view apiHost, std::string_view path,
                        const Endpoints& endpoints = builtInEndpoints());

}  // namespace zarn::model
