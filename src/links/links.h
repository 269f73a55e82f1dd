// Links: the room's front. It takes links from the host and from pushes, and asks about the one
// that led to the installation.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "links/deep_link_hosts.h"
#include "links/deep_link_router.h"
#include "links/deferred_clipboard_matcher.h"
#include "links/link_resolver.h"
#include "model/configuration.h"
#include "model/event.h"
#include "platform/log.h"
#include "runtime/network_guard.h"
#include "zarn/deep_link.h"

namespace zarn::model {
struct RemoteDataCollectionConfig;
}
namespace zarn::platform {
class Clipboard;
class Clock;
class Crypto;
class Defaults;
class Dispatch;
class UrlOpener;
}  // namespace zarn::platform

namespace zarn::links {

/// What links stand on.
struct LinksParts {
  const model::Configuration& configuration;
  runtime::NetworkGuard& guard;
  platform::Crypto& crypto;
  const platform::Clock& clock;
  platform::Dispatch& dispatch;
  platform::Defaults& defaults;
  platform::Clipboard& clipboard;
  platform::UrlOpener& opener;
};

struct LinksActions {
  std::function<bool(model::EventType, std::string_view name, const Properties&)> admit;
  std::function<bool()> isOptedOut;
  /// Keeps the click that led to the installation for the report of it. On the control queue.
  std::function<void(const std::string& clickId)> keepInstallClickId;
};

/// Any thread.
class Links {
 public:
  /// `isFirstRun`: no launch before this one has reported the installation.
  Links(const LinksParts& parts, LinksActions actions, bool isFirstRun, platform::Log log);

  /// Each is false when there was no link in it.
  bool handleURL(std::string_view url);
  bool handleUserActivity(const UserActivity& activity);
  void handleSceneConnection(const SceneConnection& connection);
  /// The link of a push that the user has opened.
  bool ingestPush(std::string_view url);

  /// See DeepLinkRouter::setHandler.
  void onDeepLink(DeepLinkRouter::Handler handler);
  /// See DeepLinkRouter::lookUp. What `callback` throws is lost.
  void resolveLink(std::string_view url, std::function<void(std::optional<ZarnDeepLink>)> callback);

  std::optional<ZarnDeepLink::Source> lastSource() const { return router_.lastSource(); }
  /// At a reset.
  void forgetUser() { router_.forgetUser(); }

  /// A policy of the server's holds from now on. The first one lets the clipboard be looked at;
  /// later calls do nothing. Only posts: the caller may hold locks.
  void policyApplied(const model::RemoteDataCollectionConfig& policy);
  /// Of the look at the clipboard.
  DeferredClipboardMatcher::Outcome clipboardOutcome() const { return clipboard_.lastOutcome(); }

 private:
  using Intake = DeepLinkRouter::Intake;
  DeepLinkActions routerActions(platform::UrlOpener& opener, base::Executor& main);
  void askDeferred(const std::string& token, runtime::NetworkGuard::Token network,
                   DeepLinkRouter::User::Token user);

  // Constant after construction.
  const model::Configuration configuration_;
  runtime::NetworkGuard& guard_;
  const LinksActions actions_;
  const bool isFirstRun_;
  const DeepLinkHosts hosts_;

  std::atomic<bool> hasPolicy_ = false;
  LinkResolver resolver_;
  DeepLinkRouter router_;
  DeferredClipboardMatcher clipboard_;
  base::Scope scope_;
};

}  // namespace zarn::links
