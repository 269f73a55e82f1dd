// The calls of the client that go to one producer each.
#include <chrono>
#include <utility>

#include "core/client.h"
#include "core/pipeline.h"
#include "platform/clock.h"
#include "platform/defaults.h"
#include "platform/dispatch.h"
#include "zarn/network.h"

namespace zarn::core {
namespace {

constexpr const char* kAdvertisingConsentKey = "zarn_advertising_consent";
/// It goes into a file that is read on hosts' threads.
constexpr std::size_t kLongestConsent = 4096;  // bytes

}  // namespace

void Client::screenView(std::string_view name, const Properties& properties) {
  if (auto* running = pipeline()) running->capture->screenView(name, properties);
}

std::shared_ptr<ZarnNetworkDelegateProxy> Client::networkDelegate(
    std::shared_ptr<NetworkDelegate> wrapped) {
  return networkTracker_->makeProxy(std::move(wrapped));
}

void Client::addBreadcrumb(const Breadcrumb& breadcrumb) {
  const platform::Host* known = knownHost_.load(std::memory_order_acquire);
  breadcrumbs_.add(breadcrumb, known ? known->clock.now() : std::chrono::system_clock::now());
}

void Client::onDeepLink(DeepLinkHandler handler) {
  auto* running = pipeline();
  if (running == nullptr) {
    base::MutexLock lock(configureLock_);
    if (!pipeline_) {
      earlyLinkHandler_.swap(handler);
      return;
    }
    running = pipeline_.get();
  }
  running->links->onDeepLink(std::move(handler));
}

bool Client::handleURL(std::string_view url) {
  auto* running = pipeline();
  return running != nullptr && running->links->handleURL(url);
}

bool Client::handleUserActivity(const UserActivity& activity) {
  auto* running = pipeline();
  return running != nullptr && running->links->handleUserActivity(activity);
}

void Client::handleSceneConnection(const SceneConnection& connection) {
  if (auto* running = pipeline()) running->links->handleSceneConnection(connection);
}

void Client::resolveLink(std::string_view url, LinkAnswer answer) {
  if (!answer) return;
  if (auto* running = pipeline()) {
    running->links->resolveLink(url, std::move(answer));
  } else {
    host().dispatch.main().post([answer = std::move(answer)] {
      try {
        answer(std::nullopt);
      } catch (...) {
        // The host's own.
      }
    });
  }
}

void Client::setAdvertisingConsent(const std::optional<std::string>& consent) {
  platform::Defaults& defaults = host().defaults;
  if (consent && consent->size() > kLongestConsent) {
    if (auto* running = pipeline()) {
      running->log.debug({"[Zarn] setAdvertisingConsent: more than ",
                          std::to_string(kLongestConsent), " bytes — ignored."});
    }
  } else if (consent) {
    defaults.set(kAdvertisingConsentKey, *consent);
  } else {
    defaults.remove(kAdvertisingConsentKey);
  }
}

ZarnSKAN& Client::skan() {
  return skan_;
}

void Client::setPushToken(std::string_view token, PushProvider provider) {
  if (auto* running = pipeline()) running->pushTokens->setPushToken(token, provider);
}

void Client::logPushTokenInvalidated(std::string_view token, PushProvider provider) {
  if (auto* running = pipeline()) running->pushTokens->logPushTokenInvalidated(token, provider);
}

void Client::logPushReceived(const Properties& userInfo, std::string_view appState) {
  auto* running = pipeline();
  if (running && running->push) running->push->logPushReceived(userInfo, appState);
}

void Client::logPushOpened(const Properties& userInfo, std::string_view actionIdentifier) {
  auto* running = pipeline();
  if (running && running->push) running->push->logPushOpened(userInfo, actionIdentifier);
}

void Client::logPushDismissed(const Properties& userInfo) {
  auto* running = pipeline();
  if (running && running->push) running->push->logPushDismissed(userInfo);
}

void Client::logPushAction(const Properties& userInfo, std::string_view actionIdentifier) {
  auto* running = pipeline();
  if (running && running->push) running->push->logPushAction(userInfo, actionIdentifier);
}

}  // namespace zarn::core
