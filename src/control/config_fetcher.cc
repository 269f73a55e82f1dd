#include "control/config_fetcher.h"

#include <atomic>
#include <memory>
#include <utility>

#include "base/json.h"
#include "base/percent_encoding.h"
#include "base/text.h"
#include "model/wire.h"

namespace zarn::control {
namespace {

constexpr std::string_view kPath = "/api/sdk/config";
constexpr std::size_t kShortestShownKey = 15;  // characters
constexpr std::size_t kShownAtStart = 8;
constexpr std::size_t kShownAtEnd = 4;

std::string makeURL(const model::Configuration& configuration, const platform::AppFacts& app,
                    std::string_view projectId) {
  std::string url = model::endpointURL(configuration.apiHost(), kPath);
  char separator = '?';
  const auto add = [&](std::string_view name, std::string_view value) {
    url += separator;
    url += name;
    url += '=';
    url += base::percentEncoded(value);
    separator = '&';
  };
  add("project_id", projectId);
  add("platform", model::kWirePlatform);
  add("bundle_id", shownBundleId(app));
  add("environment", configuration.environment());
  add("sdk_version", model::kSdkVersion);
  return url;
}

/// A key that does not name its project stands for it, and must not be read in the log then.
std::string shownProjectId(const model::Configuration& configuration) {
  std::string projectId = configuration.projectId();
  const bool isKey = projectId == configuration.writeKey || projectId == configuration.apiKey();
  return isKey ? maskedKey(projectId) : projectId;
}

/// Calls a completion no more than once, whoever comes first.
class OnceOnly {
 public:
  explicit OnceOnly(ConfigFetcher::Completion completion) : completion_(std::move(completion)) {}
  void operator()(std::optional<model::ConfigResponse> response) {
    if (!called_.exchange(true)) completion_(std::move(response));
  }

 private:
  std::atomic<bool> called_ = false;
  ConfigFetcher::Completion completion_;
};

}  // namespace

std::optional<platform::HttpRequest> makeConfigRequest(const model::Configuration& configuration,
                                                       const platform::AppFacts& app) {
  if (!model::isUsableHost(configuration.apiHost())) return std::nullopt;
  platform::HttpRequest request;
  request.method = "GET";
  request.url = makeURL(configuration, app, configuration.projectId());
  request.headers = {{"Accept", "application/json"}, {"Authorization", configuration.apiKey()}};
  request.timeout = base::seconds(10);
  return request;
}

std::string maskedKey(std::string_view key) {
  const std::size_t count = base::countCharacters(key, key.size());
  if (count < kShortestShownKey) return "…";
  std::string masked(base::prefixOfCharacters(key, kShownAtStart));
  masked += "…";
  masked += key.substr(base::prefixOfCharacters(key, count - kShownAtEnd).size());
  return masked;
}

ConfigFetcher::ConfigFetcher(const model::Configuration& configuration, platform::AppFacts app,
                             platform::Defaults& defaults, const platform::Clock& clock,
                             platform::Log log)
    : configuration_(configuration),
      app_(std::move(app)),
      log_(log),
      cache_(configuration_, app_, defaults, clock) {}

void ConfigFetcher::fetch(bool forceRefresh, Start start, Completion completion) {
  if (!forceRefresh) {
    if (auto cached = cache_.read()) {
      log_.debug({"[Zarn] Using cached remote config"});
      return completion(std::move(cached));
    }
  }
  auto request = makeConfigRequest(configuration_, app_);
  if (!request) {
    log_.debug({"[Zarn] Invalid config URL: ", configuration_.apiHost(), kPath,
                "?project_id=", shownProjectId(configuration_)});
    return completion(std::nullopt);
  }
  logRequest();
  const auto complete = std::make_shared<OnceOnly>(std::move(completion));
  const bool started = start(*std::move(request),
                             base::weakly(scope_, [this, complete](platform::HttpResult result) {
                               (*complete)(answered(result));
                             }));
  if (!started) (*complete)(std::nullopt);
}

void ConfigFetcher::logRequest() const {
  if (!log_.prints()) return;
  log_.debug(
      {"[Zarn] Config fetch: ", makeURL(configuration_, app_, shownProjectId(configuration_)),
       " (api_key=", maskedKey(configuration_.apiKey()), ")"});
}

std::optional<model::ConfigResponse> ConfigFetcher::answered(const platform::HttpResult& result) {
  if (const auto* failure = std::get_if<platform::HttpFailure>(&result)) {
    log_.debug({"[Zarn] Config fetch failed: ", failure->description});
    return std::nullopt;
  }
  const auto& answer = std::get<platform::HttpResponse>(result);
  if (answer.status != 200) {
    log_.debug({"[Zarn] Config fetch returned status ", std::to_string(answer.status)});
    return std::nullopt;
  }
  const auto json = base::parseJson(answer.body);
  std::string misfit;
  auto response = json ? model::decodeConfigResponse(*json, &misfit) : std::nullopt;
  if (!response) {
    log_.debug({"[Zarn] Config decode error: ", misfit.empty()
                                                    ? "the answer is no JSON object"
                                                    : misfit + " is missing or of another type"});
    return std::nullopt;
  }
  cache_.write(*response);
  log_.debug({"[Zarn] Remote config fetched and cached"});
  return response;
}

}  // namespace zarn::control
