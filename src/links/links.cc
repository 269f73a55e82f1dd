#include "links/links.h"

#include <utility>

#include "base/executor.h"
#include "model/remote_config.h"
#include "platform/dispatch.h"
#include "platform/url_opener.h"

namespace zarn::links {

Links::Links(const LinksParts& parts, LinksActions actions, bool isFirstRun, platform::Log log)
    : configuration_(parts.configuration),
      guard_(parts.guard),
      actions_(std::move(actions)),
      isFirstRun_(isFirstRun),
      hosts_(configuration_.options.universalLinkHosts),
      resolver_(
          configuration_, guard_,
          {.isOptedOut = actions_.isOptedOut, .keepInstallClickId = actions_.keepInstallClickId},
          log),
      router_(routerActions(parts.opener, parts.dispatch.main()), parts.crypto, parts.clock,
              parts.dispatch.main(), log),
      clipboard_(parts.dispatch.pool(), parts.clipboard, parts.defaults, parts.clock,
                 actions_.isOptedOut, log) {}

DeepLinkActions Links::routerActions(platform::UrlOpener& opener, base::Executor& main) {
  DeepLinkActions actions;
  actions.enqueueClick = [this](const Properties& properties) {
    actions_.admit(model::EventType::deepLink, "deep_link", properties);
  };
  actions.resolve = [this](const ZarnDeepLink& link, LinkResolver::Completion completion) {
    resolver_.resolve(link, std::nullopt, guard_.current(), std::move(completion));
  };
  actions.isAllowlistedHost = [this](std::string_view url) { return hosts_.allow(url); };
  if (configuration_.options.deepLinkAutoOpen) {
    actions.autoOpen = [&opener, &main](const std::string& url) {
      main.post([&opener, url] { opener.open(url); });
    };
  }
  return actions;
}

bool Links::handleURL(std::string_view url) {
  const Intake intake = router_.ingest(url);
  // What is opened elsewhere may come back here, and must not go round for ever.
  if (intake == Intake::taken) router_.autoOpen(url);
  return intake != Intake::noLink;
}

bool Links::handleUserActivity(const UserActivity& activity) {
  if (activity.activityType != UserActivity::kBrowsingWeb || !activity.webpageUrl) return false;
  return router_.ingest(*activity.webpageUrl, ZarnDeepLink::Source::universalLink) !=
         Intake::noLink;
}

void Links::handleSceneConnection(const SceneConnection& connection) {
  for (const UserActivity& activity : connection.userActivities) handleUserActivity(activity);
  for (const std::string& url : connection.urls) router_.ingest(url);
}

bool Links::ingestPush(std::string_view url) {
  return router_.ingest(url, ZarnDeepLink::Source::push) != Intake::noLink;
}

void Links::onDeepLink(DeepLinkRouter::Handler handler) {
  router_.setHandler(std::move(handler));
}

void Links::resolveLink(std::string_view url,
                        std::function<void(std::optional<ZarnDeepLink>)> callback) {
  if (!callback) callback = [](const std::optional<ZarnDeepLink>&) {};
  router_.lookUp(url, std::move(callback));
}

void Links::policyApplied(const model::RemoteDataCollectionConfig& policy) {
  if (hasPolicy_.exchange(true)) return;
  const ClipboardGates gates{
      .customerEnabled = configuration_.options.deferredClipboardMatchEnabled,
      .serverEnabled = model::allows(policy.deeplink, &model::DeepLinkConfig::clipboardEnabled),
      .isFirstRun = isFirstRun_,
      .trackingEnabled = !actions_.isOptedOut()};
  clipboard_.check(gates, base::weakly(scope_, [this, network = guard_.current(),
                                                user = router_.user()](const std::string& token) {
                     askDeferred(token, network, user);
                   }));
}

void Links::askDeferred(const std::string& token, runtime::NetworkGuard::Token network,
                        DeepLinkRouter::User::Token user) {
  const auto& hosts = configuration_.options.universalLinkHosts;
  if (hosts.empty()) return;
  constexpr std::string_view kPath = "/link/deferred";
  ZarnDeepLink link;
  link.path = kPath;
  link.url = {"https://" + hosts.front() + link.path};
  link.source = ZarnDeepLink::Source::deferredClipboard;
  link.isDeferred = true;  // and no id: only the server knows which link it was
  auto ingest = base::weakly(scope_, [this, link, user](const ResolveResult& result) {
    router_.ingestDeferred(merged(link, result), user);
  });
  resolver_.resolve(link, token, network,
                    [ingest = std::move(ingest)](const ResolveResult& result) mutable {
                      if (result.resolved) ingest(result);
                    });
}

}  // namespace zarn::links
