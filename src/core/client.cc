#include "core/client.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/text.h"
#include "core/diagnostics.h"
#include "core/pipeline.h"
#include "core/skan.h"
#include "platform/defaults.h"
#include "platform/dispatch.h"
#include "platform/environment.h"

namespace zarn::core {
namespace {

using model::EventType;

/// An id goes with every event and into a file that is read on hosts' threads.
constexpr std::size_t kLongestUserId = 1024;  // bytes

platform::Log logFor(platform::Host& host, const model::Configuration& configuration) {
  return {host.log, configuration.options.debug};
}

[[noreturn]] void failBlockingFlushOnMain() {
  std::fputs(
      "[Zarn] flush(timeout) was called on the thread of the main queue, which it would block. "
      "Call "
      "flush() there, or flush(timeout) on another thread.\n",
      stderr);
  std::abort();
}

}  // namespace

Client::Client(std::function<platform::Host&()> host)
    : findHost_(std::move(host)),
      networkTracker_(std::make_shared<network::NetworkTracker>()),
      skan_(std::make_unique<ZarnSKAN::Impl>([this]() -> platform::Host& { return this->host(); },
                                             [this](std::string_view line) {
                                               if (auto* running = pipeline()) {
                                                 running->log.debug({line});
                                               }
                                             })) {}

platform::Host& Client::host() {
  platform::Host& found = findHost_();
  knownHost_.store(&found, std::memory_order_release);
  return found;
}

Client::~Client() = default;

void Client::configure(std::string_view writeKey, ConfigurationOptions options) {
  base::MutexLock lock(configureLock_);
  if (pipeline_) return;
  platform::Host& host = this->host();
  const std::string environmentAsGiven = options.environment;
  auto resolved = model::resolveConfiguration(writeKey, std::move(options),
                                              host.environment.variable("ZARN_INTERNAL_DEV"));
  const auto& configuration = resolved.configuration;
  const platform::Log log = logFor(host, configuration);
  host.log.setDebug(configuration.options.debug);
  if (!model::isKnownEnvironment(configuration.environment())) {
    log.always(
        {"[Zarn] Configuration rejected: Unsupported Zarn environment '", environmentAsGiven,
         "'. Use 'production' or 'development', and apiHost for a custom endpoint. Staging is "
         "not provisioned."});
    return;
  }
  for (const auto option : resolved.replacedOptions) {
    log.debug({"[Zarn] Option ", option, " is out of its range: its default is used"});
  }
  if (!model::isUsableHost(configuration.apiHost())) {
    log.debug({"[Zarn] apiHost forms no address: the production endpoint is used"});
  }
  pipeline_ = std::make_unique<Pipeline>(
      host, configuration, log,
      Pipeline::Earlier{
          .networkTracker = networkTracker_,
          .addBreadcrumb = [this](const Breadcrumb& crumb) { addBreadcrumb(crumb); }});
  if (earlyLinkHandler_) pipeline_->links->onDeepLink(std::exchange(earlyLinkHandler_, nullptr));
  running_.store(pipeline_.get(), std::memory_order_release);
  pipeline_->start();
}

void Client::configure(std::string_view projectId, std::string_view apiKey,
                       ConfigurationOptions options) {
  options.projectId = projectId;
  options.apiKeyOverride = apiKey;
  configure(std::string(projectId) + "_" + std::string(apiKey), std::move(options));
}

void Client::track(std::string_view name, const Properties& properties) {
  if (auto* running = pipeline()) {
    running->admission.admitEvent(EventType::custom, name, properties);
  }
}

void Client::identify(std::string_view userId, const Properties& traits) {
  auto* running = pipeline();
  if (running == nullptr) return;
  const auto id = base::trimmed(userId);
  if (id.empty()) {
    running->log.debug({"[Zarn] identify() called with empty userId — ignored."});
    return;
  }
  if (id.size() > kLongestUserId) {
    running->log.debug({"[Zarn] identify() called with a userId of more than ",
                        std::to_string(kLongestUserId), " bytes — ignored."});
    return;
  }
  Properties properties{{"user_id", id}};
  const auto generation = running->admission.change([&] {
    for (const auto& [key, value] :
         running->identity.identify(id, traits, running->remoteConfig.get())) {
      properties.set(key, value);
    }
  });
  if (!running->dedupe.isNewIdentify(properties)) return;
  if (!running->admission.admitEvent(EventType::identify, "identify", properties, generation)) {
    running->dedupe.forgetIdentify();
  }
}

void Client::group(std::string_view groupId, const Properties& traits) {
  auto* running = pipeline();
  if (running == nullptr) return;
  Properties properties{{"group_id", groupId}};
  for (const auto& [key, value] : traits) properties.set(key, value);
  running->admission.admitEvent(EventType::group, "group", properties);
}

void Client::setUserProperties(const Properties& properties) {
  auto* running = pipeline();
  if (running == nullptr) return;
  Properties allowed;
  const auto generation = running->admission.change([&] {
    allowed = running->identity.setUserProperties(properties, running->remoteConfig.get());
  });
  const Properties changed = running->dedupe.newUserProperties(allowed);
  if (changed.empty()) return;
  if (!running->admission.admitEvent(EventType::userProperty, "user_property", changed,
                                     generation)) {
    running->dedupe.forgetUserProperties(changed);
  }
}

void Client::setSuperProperties(const Properties& properties) {
  if (auto* running = pipeline()) running->identity.setSuperProperties(properties);
}

void Client::unsetSuperProperty(std::string_view key) {
  if (auto* running = pipeline()) running->identity.unsetSuperProperty(key);
}

void Client::clearSuperProperties() {
  if (auto* running = pipeline()) running->identity.clearSuperProperties();
}

void Client::markGoal(std::string_view name, const Goal& goal) {
  auto* running = pipeline();
  if (running == nullptr) return;
  if (!isGoalName(name)) {
    running->log.always({"[Zarn] markGoal: invalid name '", name,
                         "' — must match ^[a-z0-9_-]{3,64}$. Event dropped."});
    return;
  }
  running->admission.admitEvent(EventType::goal, name, propertiesOf(goal));
}

void Client::flush() {
  if (auto* running = pipeline()) running->queue.flush();
}

bool Client::flush(double timeoutSeconds) {
  auto* running = pipeline();
  if (running == nullptr) return false;
  if (running->host.dispatch.main().isCurrent()) failBlockingFlushOnMain();
  return running->queue.flush(timeoutSeconds);
}

Pipeline* Client::pipelineOrNever() {
  if (auto* running = pipeline()) return running;
  base::MutexLock lock(configureLock_);
  return pipeline_.get();
}

void Client::optOut() {
  // At once, since a configure that is under way would otherwise go on to ask the server.
  if (pipeline() == nullptr) runtime::writeOptOut(host().defaults);
  if (auto* running = pipelineOrNever()) running->transitions.optOut();
}

void Client::optIn() {
  auto* running = pipeline();
  if (running == nullptr) {
    base::MutexLock lock(configureLock_);
    if (!pipeline_) return runtime::writeOptIn(host().defaults);
    running = pipeline_.get();
  }
  running->transitions.optIn();
}

void Client::reset() {
  if (auto* running = pipelineOrNever()) running->transitions.reset();
}

ZarnDiagnostics Client::diagnostics() {
  if (const auto* running = pipeline()) return diagnosticsOf(*running);
  ZarnDiagnostics none;
  if (platform::Host* known = knownHost_.load(std::memory_order_acquire)) {
    if (runtime::PrivacyState(known->defaults).optedOut()) none.replayStatus = "opted_out";
  }
  return none;
}

}  // namespace zarn::core
