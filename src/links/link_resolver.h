// LinkResolver: asks the server what it knows of a link.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "base/closure.h"
#include "base/weakly.h"
#include "model/configuration.h"
#include "platform/http.h"
#include "platform/log.h"
#include "runtime/network_guard.h"
#include "zarn/deep_link.h"

namespace zarn::links {

struct ResolveResult {
  /// Whether the server knows the link; the rest is absent when it does not.
  bool resolved = false;
  std::optional<std::string> linkId, campaign, mediaSource, targetPath, matchMethod;
  std::optional<double> matchConfidence;
};

/// Unresolved unless the body says so, whatever the status.
ResolveResult readResolveAnswer(const platform::HttpResult& result);
/// `link` with what the server knows of it.
ZarnDeepLink merged(ZarnDeepLink link, const ResolveResult& result);

/// What the resolver has of the rest of the library.
struct LinkResolverHooks {
  std::function<bool()> isOptedOut;
  /// Keeps the click that a deferred link tells of for the report of the installation. On the
  /// control queue, before the result.
  std::function<void(const std::string& clickId)> keepInstallClickId;
};

/// Any thread.
class LinkResolver {
 public:
  /// Runs on the control queue, at most once. It is dropped unused, on any thread, when nothing was
  /// asked or a boundary has come: that counts as an unresolved result.
  using Completion = base::UniqueFunction<void(const ResolveResult&)>;

  LinkResolver(const model::Configuration& configuration, runtime::NetworkGuard& guard,
               LinkResolverHooks hooks, platform::Log log)
      : configuration_(configuration), guard_(guard), hooks_(std::move(hooks)), log_(log) {}

  /// Asks about the link's click id and the token from the clipboard. Nothing is asked where there
  /// is neither, after an opt-out, or when a boundary has come since `network` was read.
  void resolve(const ZarnDeepLink& link, const std::optional<std::string>& clipboardToken,
               runtime::NetworkGuard::Token network, Completion completion);

 private:
  // Constant after construction.
  const model::Configuration configuration_;
  runtime::NetworkGuard& guard_;
  const LinkResolverHooks hooks_;
  const platform::Log log_;

  base::Scope scope_;
};

}  // namespace zarn::links
