#include "push/push_token_registration.h"

#include <array>
#include <utility>
#include <variant>

#include "base/canonical_json.h"
#include "base/hex.h"
#include "base/json.h"
#include "base/value_access.h"
#include "model/remote_config.h"
#include "model/wire.h"
#include "platform/crypto.h"

namespace zarn::push {
namespace {

constexpr std::array<double, 2> kRetryDelays = {1, 5};  // seconds

std::size_t dedupHash(std::string_view token, PushProvider provider) {
  return std::hash<std::string>()(
      base::canonicalJson({{"push_token", token}, {"push_provider", rawValue(provider)}}));
}

Properties tokenProperties(platform::Crypto& crypto, std::string_view token,
                           PushProvider provider) {
  return {{"push_token_sha256", base::ValueAccess::opaque(base::lowerHex(crypto.sha256(token)))},
          {"push_provider", base::ValueAccess::opaque(std::string(rawValue(provider)))}};
}

bool isSuccess(int status) {
  return status >= 200 && status <= 299;
}

bool isRetryable(int status) {
  return status == 408 || status == 429 || status >= 500;
}

}  // namespace

class PushTokenRegistration::Run {
 public:
  Run(PushTokenRegistration& owner, Call taken, std::size_t hashOfCall)
      : call(std::move(taken)),
        hash(hashOfCall),
        end_(base::weakly(owner.scope_, [&owner, hashOfCall, user = call.user] {
          owner.release(hashOfCall, user);
        })) {}
  ~Run() { end_(); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  const Call call;
  const std::size_t hash;
  std::size_t attempt = 0;

 private:
  base::Closure end_;
};

PushTokenRegistration::PushTokenRegistration(const model::Configuration& configuration,
                                             const platform::AppFacts& app,
                                             base::Executor& executor, platform::Crypto& crypto,
                                             runtime::NetworkGuard& guard, PushTokenPorts ports,
                                             platform::Log log)
    : configuration_(configuration),
      bundleId_(app.bundleId),
      crypto_(crypto),
      guard_(guard),
      ports_(std::move(ports)),
      log_(log),
      queue_(executor, "io.zarn.push", base::LockRank::pushQueue) {}

void PushTokenRegistration::setPushToken(std::string_view token, PushProvider provider) {
  post("setPushToken", token, provider, &PushTokenRegistration::begin);
}

void PushTokenRegistration::logPushTokenInvalidated(std::string_view token, PushProvider provider) {
  post("logPushTokenInvalidated", token, provider, &PushTokenRegistration::invalidate);
}

void PushTokenRegistration::post(std::string_view caller, std::string_view token,
                                 PushProvider provider, Step step) {
  if (token.empty()) {
    return log_.debug({"[Zarn] ", caller, " called with an empty token — ignored."});
  }
  if (token.size() > kLongestToken) {
    return log_.debug({"[Zarn] ", caller, " called with a token of more than ",
                       std::to_string(kLongestToken), " bytes — ignored."});
  }
  // What a boundary voids is all that was asked for before it, not only what has begun.
  const auto network = guard_.current();
  const auto user = [this] {
    base::MutexLock lock(pushTokenDedupLock_);
    return users_.current();
  }();
  queue_.async(base::weakly(
      scope_, [this, step, call = Call{std::string(token), provider, user, network}]() mutable {
        (this->*step)(std::move(call));
      }));
}

bool PushTokenRegistration::isVoid(const Call& call) const {
  if (call.network != guard_.current()) return true;
  base::MutexLock lock(pushTokenDedupLock_);
  return call.user != users_.current();
}

bool PushTokenRegistration::isPendingLocked(const Run& run) const {
  return run.call.user == users_.current() && pendingPushTokenHashes_.count(run.hash) > 0;
}

bool PushTokenRegistration::mayCollect(std::string_view caller) const {
  if (!ports_.mayRegister()) return false;
  const auto config = ports_.latestRemoteConfig();
  if (!config || model::allows(config->identity, &model::IdentityConfig::collectPushTokens)) {
    return true;
  }
  log_.debug({"[Zarn] ", caller, " suppressed by remote config"});
  return false;
}

void PushTokenRegistration::begin(Call call) {
  queue_.assertCurrent();
  if (isVoid(call) || !mayCollect("setPushToken")) return;
  auto run = claim(std::move(call));
  if (!run) return;
  const auto properties = tokenProperties(crypto_, run->call.token, run->call.provider);
  if (ports_.admit(model::EventType::userProperty, "push_token", properties)) send(std::move(run));
}

void PushTokenRegistration::invalidate(Call call) {
  queue_.assertCurrent();
  if (isVoid(call)) return;
  const std::size_t hash = dedupHash(call.token, call.provider);
  {
    base::MutexLock lock(pushTokenDedupLock_);
    lastPushTokenHash_.reset();
    pendingPushTokenHashes_.erase(hash);
  }
  if (!mayCollect("logPushTokenInvalidated")) return;
  constexpr auto kType = model::EventType::pushTokenInvalidated;
  ports_.admit(kType, model::wireName(kType), tokenProperties(crypto_, call.token, call.provider));
}

void PushTokenRegistration::forgetUser() {
  {
    base::MutexLock lock(pushTokenDedupLock_);
    users_.bump();
    lastPushTokenHash_.reset();
    pendingPushTokenHashes_.clear();
  }
  queue_.sync([] {});  // an attempt that had looked at the user before has begun now
}

std::unique_ptr<PushTokenRegistration::Run> PushTokenRegistration::claim(Call call) {
  const std::size_t hash = dedupHash(call.token, call.provider);
  {
    base::MutexLock lock(pushTokenDedupLock_);
    if (call.user != users_.current() || hash == lastPushTokenHash_) return nullptr;
    if (!pendingPushTokenHashes_.insert(hash).second) return nullptr;
  }
  return std::make_unique<Run>(*this, std::move(call), hash);
}

void PushTokenRegistration::release(std::size_t hash, Users::Token user) {
  base::MutexLock lock(pushTokenDedupLock_);
  if (user == users_.current()) pendingPushTokenHashes_.erase(hash);
}

void PushTokenRegistration::send(std::unique_ptr<Run> run) {
  queue_.assertCurrent();
  if (isVoid(run->call)) return;
  {
    base::MutexLock lock(pushTokenDedupLock_);
    if (!isPendingLocked(*run)) return;
  }
  auto request = makeRequest(*run);
  const auto network = run->call.network;
  guard_.startGuardedTask(std::move(request), network,
                          base::weakly(scope_, [this, run = std::move(run)](
                                                   const platform::HttpResult& result) mutable {
                            answered(std::move(run), result);
                          }));
}

platform::HttpRequest PushTokenRegistration::makeRequest(const Run& run) const {
  const PushRegistrant registrant = ports_.registrant();
  std::string body;
  base::JsonWriter json(body);
  const auto add = [&](std::string_view name, const std::optional<std::string>& text) {
    if (text && !text->empty()) json.member(name, *text);
  };
  json.beginObject()
      .member("project_id", configuration_.projectId())
      .member("api_key", configuration_.apiKey())
      .member("device_id", registrant.deviceId);
  add("user_id", registrant.userId);
  json.member("token", run.call.token)
      .member("platform", model::kWirePlatform)
      .member("provider", rawValue(run.call.provider));
  add("app_id", registrant.appId);
  add("release_id", registrant.releaseId);
  json.member("bundle_id", bundleId_)
      .member("environment", configuration_.environment())
      .member("sdk_version", model::kSdkVersion)
      .endObject();
  platform::HttpRequest request;
  request.method = "POST";
  request.url = model::endpointURL(configuration_.apiHost(), "/api/sdk/push/register");
  request.headers = {{"Content-Type", "application/json"}};
  request.body = {std::make_shared<const std::string>(std::move(body))};
  request.timeout = base::seconds(10);
  return request;
}

void PushTokenRegistration::answered(std::unique_ptr<Run> run, const platform::HttpResult& result) {
  if (const auto* failure = std::get_if<platform::HttpFailure>(&result)) {
    return retryOrGiveUp(std::move(run), ": " + failure->description, true);
  }
  const int status = std::get<platform::HttpResponse>(result).status;
  if (!isSuccess(status)) {
    return retryOrGiveUp(std::move(run), ", status: " + std::to_string(status),
                         isRetryable(status));
  }
  {
    base::MutexLock lock(pushTokenDedupLock_);
    if (!isPendingLocked(*run)) return;
    lastPushTokenHash_ = run->hash;
  }
  log_.debug({"[Zarn] Push token registered, status: ", std::to_string(status)});
}

void PushTokenRegistration::retryOrGiveUp(std::unique_ptr<Run> run, std::string_view outcome,
                                          bool isRetryable) {
  if (!isRetryable || run->attempt == kRetryDelays.size()) {
    return log_.debug({"[Zarn] Push token registration failed", outcome});
  }
  const auto delay = base::seconds(kRetryDelays[run->attempt++]);
  const auto network = run->call.network;
  auto again = base::weakly(scope_, [this, run = std::move(run)]() mutable {
    if (mayCollect("setPushToken")) send(std::move(run));
  });
  guard_.scheduleGuardedWork(delay, network,
                             base::weakly(scope_, [this, again = std::move(again)]() mutable {
                               queue_.async(std::move(again));
                             }));
}

}  // namespace zarn::push
