#include "zarn/zarn.h"

#include "core/client.h"
#include "core/public_call.h"
#include "platform/host.h"

namespace zarn {
namespace core {

Client& sharedClient() {
  static Client& client = *new Client([]() -> platform::Host& {
    base::watchForks();
    return platform::processHost();
  });
  return client;
}

}  // namespace core

inline namespace ZARN_VERSION_NAMESPACE {

using base::HostCallKind;
using core::publicCall;
using core::sharedClient;

void Zarn::configure(Text writeKey, ConfigurationOptions options) noexcept {
  publicCall([&] { sharedClient().configure(writeKey, std::move(options)); },
             HostCallKind::mayBlock);
}

void Zarn::configure(Text projectId, Text apiKey, ConfigurationOptions options) noexcept {
  publicCall([&] { sharedClient().configure(projectId, apiKey, std::move(options)); },
             HostCallKind::mayBlock);
}

void Zarn::track(Text name, const Properties& properties) noexcept {
  publicCall([&] { sharedClient().track(name, properties); });
}

void Zarn::screenView(Text name, const Properties& properties) noexcept {
  publicCall([&] { sharedClient().screenView(name, properties); });
}

void Zarn::identify(Text userId, const Properties& traits) noexcept {
  publicCall([&] { sharedClient().identify(userId, traits); });
}

void Zarn::group(Text groupId, const Properties& traits) noexcept {
  publicCall([&] { sharedClient().group(groupId, traits); });
}

void Zarn::setSuperProperty(Text key, Value value) noexcept {
  publicCall([&] {
    Properties single;
    single.set(key, std::move(value));
    sharedClient().setSuperProperties(single);
  });
}

void Zarn::setSuperProperties(const Properties& properties) noexcept {
  publicCall([&] { sharedClient().setSuperProperties(properties); });
}

void Zarn::unsetSuperProperty(Text key) noexcept {
  publicCall([&] { sharedClient().unsetSuperProperty(key); });
}

void Zarn::clearSuperProperties() noexcept {
  publicCall([] { sharedClient().clearSuperProperties(); });
}

void Zarn::setUserProperty(Text key, Value value) noexcept {
  publicCall([&] {
    Properties single;
    single.set(key, std::move(value));
    sharedClient().setUserProperties(single);
  });
}

void Zarn::setUserProperty(StandardProperty property, Value value) noexcept {
  setUserProperty(rawValue(property), std::move(value));
}

void Zarn::setUserProperties(const Properties& properties) noexcept {
  publicCall([&] { sharedClient().setUserProperties(properties); });
}

void Zarn::setExperimentVariant(Text experiment, Text variant) noexcept {
  publicCall([&] {
    Properties single;
    single.set("experiment_" + std::string(experiment), variant);
    sharedClient().setSuperProperties(single);
  });
}

void Zarn::trackPurchase(const Purchase& purchase) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(purchase)); });
}

void Zarn::trackSubscriptionStart(const SubscriptionStart& start) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(start)); });
}

void Zarn::trackTrialStart(const TrialStart& start) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(start)); });
}

void Zarn::trackCancel(const Cancellation& cancellation) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(cancellation)); });
}

void Zarn::trackUpgrade(const Upgrade& upgrade) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(upgrade)); });
}

void Zarn::trackSignup(const Signup& signup) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(signup)); });
}

void Zarn::trackActivation(const Activation& activation) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(activation)); });
}

void Zarn::trackShare(const Share& share) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(share)); });
}

void Zarn::trackInvite(const Invite& invite) noexcept {
  publicCall([&] { sharedClient().trackTyped(core::eventOf(invite)); });
}

void Zarn::markGoal(Text name, const Goal& goal) noexcept {
  publicCall([&] { sharedClient().markGoal(name, goal); });
}

std::shared_ptr<ZarnNetworkDelegateProxy> Zarn::networkDelegate(
    std::shared_ptr<NetworkDelegate> wrapped) noexcept {
  if (auto proxy = publicCall([&] { return sharedClient().networkDelegate(wrapped); }))
    return proxy;
  try {  // in a forked child: the host's requests go on as without us
    return std::make_shared<ZarnNetworkDelegateProxy>(nullptr, std::move(wrapped));
  } catch (...) {
    return nullptr;
  }
}

void Zarn::addBreadcrumb(const Breadcrumb& breadcrumb) noexcept {
  publicCall([&] { sharedClient().addBreadcrumb(breadcrumb); });
}

void Zarn::onDeepLink(std::function<void(const ZarnDeepLink&)> handler) noexcept {
  publicCall([&] { sharedClient().onDeepLink(std::move(handler)); });
}

bool Zarn::handleURL(Text url) noexcept {
  return publicCall([&] { return sharedClient().handleURL(url); });
}

bool Zarn::handleUserActivity(const UserActivity& activity) noexcept {
  return publicCall([&] { return sharedClient().handleUserActivity(activity); });
}

void Zarn::handleSceneConnection(const SceneConnection& connection) noexcept {
  publicCall([&] { sharedClient().handleSceneConnection(connection); });
}

void Zarn::resolveLink(Text url, std::function<void(std::optional<ZarnDeepLink>)> answer) noexcept {
  publicCall([&] { sharedClient().resolveLink(url, std::move(answer)); });
}

void Zarn::setAdvertisingConsent(std::optional<std::string> consent) noexcept {
  publicCall([&] { sharedClient().setAdvertisingConsent(consent); });
}

ZarnSKAN& Zarn::skan() noexcept {
  return sharedClient().skan();
}

void Zarn::setPushToken(Text token, PushProvider provider) noexcept {
  publicCall([&] { sharedClient().setPushToken(token, provider); });
}

void Zarn::logPushTokenInvalidated(Text token, PushProvider provider) noexcept {
  publicCall([&] { sharedClient().logPushTokenInvalidated(token, provider); });
}

void Zarn::logPushReceived(const Properties& userInfo, Text appState) noexcept {
  publicCall([&] { sharedClient().logPushReceived(userInfo, appState); });
}

void Zarn::logPushOpened(const Properties& userInfo, Text actionIdentifier) noexcept {
  publicCall([&] { sharedClient().logPushOpened(userInfo, actionIdentifier); });
}

void Zarn::logPushDismissed(const Properties& userInfo) noexcept {
  publicCall([&] { sharedClient().logPushDismissed(userInfo); });
}

void Zarn::logPushAction(const Properties& userInfo, Text actionIdentifier) noexcept {
  publicCall([&] { sharedClient().logPushAction(userInfo, actionIdentifier); });
}

void Zarn::optOut() noexcept {
  publicCall([] { sharedClient().optOut(); });
}

void Zarn::optIn() noexcept {
  publicCall([] { sharedClient().optIn(); });
}

void Zarn::reset() noexcept {
  publicCall([] { sharedClient().reset(); });
}

ZarnDiagnostics Zarn::diagnostics() noexcept {
  return publicCall([] { return sharedClient().diagnostics(); });
}

void Zarn::flush() noexcept {
  publicCall([] { sharedClient().flush(); });
}

bool Zarn::flush(double timeoutSeconds) noexcept {
  return publicCall([&] { return sharedClient().flush(timeoutSeconds); }, HostCallKind::mayBlock);
}

}  // namespace ZARN_VERSION_NAMESPACE
}  // namespace zarn
