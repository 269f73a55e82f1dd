// Client: what the facade forwards to. Idle until it is configured; then it owns a pipeline.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "core/typed_events.h"
#include "crash/breadcrumb_trail.h"
#include "links/deep_link_router.h"
#include "zarn/deep_link.h"
#include "zarn/diagnostics.h"
#include "zarn/network.h"
#include "zarn/options.h"
#include "zarn/push.h"
#include "zarn/skan.h"
#include "zarn/value.h"

namespace zarn::network {
class NetworkTracker;
}
namespace zarn::platform {
struct Host;
}

namespace zarn::core {

struct Pipeline;

/// Any thread. Two whole clients can live side by side in one process, each on a host of its own: a
/// path monitor tells one client at a time.
class Client {
 public:
  /// `host` is asked for at the first configure, so that the app can describe itself before.
  explicit Client(std::function<platform::Host&()> host);
  ~Client();

  void configure(std::string_view writeKey, ConfigurationOptions options);
  void configure(std::string_view projectId, std::string_view apiKey, ConfigurationOptions options);

  void track(std::string_view name, const Properties& properties);
  void screenView(std::string_view name, const Properties& properties);
  void identify(std::string_view userId, const Properties& traits);
  void group(std::string_view groupId, const Properties& traits);

  void setUserProperties(const Properties& properties);
  void setSuperProperties(const Properties& properties);
  void unsetSuperProperty(std::string_view key);
  void clearSuperProperties();

  void trackTyped(const NamedEvent& event) { track(event.name, event.properties); }
  void markGoal(std::string_view name, const Goal& goal);

  std::shared_ptr<ZarnNetworkDelegateProxy> networkDelegate(
      std::shared_ptr<NetworkDelegate> wrapped);
  void addBreadcrumb(const Breadcrumb& breadcrumb);

  using DeepLinkHandler = links::DeepLinkRouter::Handler;
  using LinkAnswer = std::function<void(std::optional<ZarnDeepLink>)>;
  void onDeepLink(DeepLinkHandler handler);
  bool handleURL(std::string_view url);
  bool handleUserActivity(const UserActivity& activity);
  void handleSceneConnection(const SceneConnection& connection);
  void resolveLink(std::string_view url, LinkAnswer answer);
  void setAdvertisingConsent(const std::optional<std::string>& consent);
  ZarnSKAN& skan();

  void setPushToken(std::string_view token, PushProvider provider);
  void logPushTokenInvalidated(std::string_view token, PushProvider provider);
  void logPushReceived(const Properties& userInfo, std::string_view appState);
  void logPushOpened(const Properties& userInfo, std::string_view actionIdentifier);
  void logPushDismissed(const Properties& userInfo);
  void logPushAction(const Properties& userInfo, std::string_view actionIdentifier);

  void flush();
  bool flush(double timeoutSeconds);

  /// Before configure, opt-out and opt-in write down what the user wants, and reset does nothing.
  void optOut();
  void optIn();
  void reset();
  ZarnDiagnostics diagnostics();

 private:
  /// Null before configure.
  Pipeline* pipeline() const { return running_.load(std::memory_order_acquire); }
  /// The same once a configure that is under way has ended.
  Pipeline* pipelineOrNever();

  platform::Host& host();

  const std::function<platform::Host&()> findHost_;
  /// Null until it was asked for: a diagnosis must not keep the app from describing itself.
  std::atomic<platform::Host*> knownHost_ = nullptr;

  // There before configure.
  const std::shared_ptr<network::NetworkTracker> networkTracker_;
  crash::BreadcrumbTrail breadcrumbs_;
  ZarnSKAN skan_;

  base::Mutex configureLock_{base::LockRank::configure};
  /// Given before there was a pipeline.
  DeepLinkHandler earlyLinkHandler_ ZARN_GUARDED_BY(configureLock_);
  std::unique_ptr<Pipeline> pipeline_ ZARN_GUARDED_BY(configureLock_);
  std::atomic<Pipeline*> running_ = nullptr;
};

/// The one that the facade uses: made once, never destroyed.
Client& sharedClient();

}  // namespace zarn::core
