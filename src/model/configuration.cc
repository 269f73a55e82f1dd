#include "model/configuration.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <sstream>

#include "base/text.h"

namespace zarn::model {
namespace {

constexpr double kLeastFlushInterval = 0.1;  // seconds; less would only keep a processor busy

/// Replaces `value` by the default of its field unless it passes.
template <typename T>
void requireThat(bool passes, T& value, T fallback, std::string_view name,
                 std::vector<std::string_view>& replaced) {
  if (passes) return;
  value = fallback;
  replaced.push_back(name);
}

void putNumbersInRange(ConfigurationOptions& options, std::vector<std::string_view>& replaced) {
  const ConfigurationOptions defaults;
  const auto positive = [](double value) { return std::isfinite(value) && value > 0; };
  requireThat(positive(options.flushInterval), options.flushInterval, defaults.flushInterval,
              "flushInterval", replaced);
  requireThat(options.flushAt >= 1, options.flushAt, defaults.flushAt, "flushAt", replaced);
  requireThat(options.maxBufferSize >= 1, options.maxBufferSize, defaults.maxBufferSize,
              "maxBufferSize", replaced);
  requireThat(std::isfinite(options.sessionTimeout) && options.sessionTimeout >= 0,
              options.sessionTimeout, defaults.sessionTimeout, "sessionTimeout", replaced);
  requireThat(std::isfinite(options.pushAttributionWindowSeconds) &&
                  options.pushAttributionWindowSeconds >= 0,
              options.pushAttributionWindowSeconds, defaults.pushAttributionWindowSeconds,
              "pushAttributionWindowSeconds", replaced);
  // In doubt nothing is recorded.
  if (options.replaySampleRate > 1) options.replaySampleRate = 1;
  requireThat(options.replaySampleRate >= 0, options.replaySampleRate, 0.0, "replaySampleRate",
              replaced);
  options.flushInterval = std::max(options.flushInterval, kLeastFlushInterval);
}

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kHostCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~:[]%";

/// "host", "host:port" or "[v6]:port"; an empty port counts as none.
bool isHostAndPort(std::string_view text) {
  if (text.empty() || text.find_first_not_of(kHostCharacters) != std::string_view::npos)
    return false;
  const auto bracket = text.rfind(']');
  const auto colon = text.find(':', bracket == std::string_view::npos ? 0 : bracket);
  if (colon == 0) return false;
  if (colon == std::string_view::npos) return true;
  const auto port = text.substr(colon + 1);
  if (port.size() > 5 || port.find_first_not_of(kDigits) != std::string_view::npos) return false;
  return port.empty() || std::stoi(std::string(port)) <= 65535;
}

/// Whether `url` is an absolute web address that a request can go to.
bool isRequestable(std::string_view url) {
  const auto separator = url.find("://");
  if (separator == std::string_view::npos) return false;
  const auto scheme = base::lowerCaseAscii(url.substr(0, separator));
  if (scheme != "http" && scheme != "https") return false;
  for (const char c : url) {
    const bool printable =
        static_cast<unsigned char>(c) > ' ' && static_cast<unsigned char>(c) < 0x7f;
    if (!printable || std::string_view("\"<>\\^`{|}").find(c) != std::string_view::npos)
      return false;
  }
  auto authority = url.substr(separator + 3);
  authority = authority.substr(0, authority.find_first_of("/?#"));
  const auto user = authority.rfind('@');
  return isHostAndPort(user == std::string_view::npos ? authority : authority.substr(user + 1));
}

}  // namespace

const Endpoints& builtInEndpoints() {
  // Never destroyed: a request may be made while the process ends.
  static const Endpoints& endpoints =
      *new Endpoints{ZARN_PRODUCTION_ENDPOINT, ZARN_DEVELOPMENT_ENDPOINT};
  return endpoints;
}

const std::vector<std::string>& ownDomains() {
  static const auto& domains = *new std::vector<std::string>([] {
    std::istringstream text(ZARN_OWN_DOMAINS);
    return std::vector<std::string>(std::istream_iterator<std::string>(text), {});
  }());
  return domains;
}

std::string Configuration::projectId() const {
  if (options.projectId) return *options.projectId;
  std::size_t begin = 0;
  int parts = 1;
  std::string_view fourth;
  const std::string_view key = writeKey;
  for (std::size_t end = key.find('_'); end != std::string_view::npos; end = key.find('_', begin)) {
    if (parts == 4) fourth = key.substr(begin, end - begin);
    ++parts;
    begin = end + 1;
  }
  return parts >= 5 ? std::string(fourth) : writeKey;
}

const std::string& Configuration::apiKey() const {
  return options.apiKeyOverride ? *options.apiKeyOverride : writeKey;
}

ResolvedConfiguration resolveConfiguration(std::string_view writeKey, ConfigurationOptions options,
                                           const std::optional<std::string>& internalDev,
                                           const Endpoints& endpoints) {
  ResolvedConfiguration resolved;
  options.environment = base::lowerCaseAscii(base::trimmed(options.environment));
  resolved.internalDevForced = internalDev == "1";
  if (resolved.internalDevForced) {
    options.environment = "development";
    options.apiHost = endpoints.development;
  } else if (!options.apiHost) {
    options.apiHost =
        options.environment == "development" ? endpoints.development : endpoints.production;
  }
  putNumbersInRange(options, resolved.replacedOptions);
  resolved.configuration = {std::string(writeKey), std::move(options)};
  return resolved;
}

bool isKnownEnvironment(std::string_view environment) {
  return environment == "production" || environment == "development";
}

bool isUsableHost(std::string_view apiHost) {
  return isRequestable(apiHost);
}

std::string endpointURL(std::string_view apiHost, std::string_view path,
                        const Endpoints& endpoints) {
  while (apiHost.ends_with('/')) apiHost.remove_suffix(1);
  std::string url(apiHost);
  url += path;
  return isRequestable(url) ? url : endpoints.production + std::string(path);
}

}  // namespace zarn::model
