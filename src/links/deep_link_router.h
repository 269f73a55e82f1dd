// DeepLinkRouter: every way a link can reach the app ends here. A link that is no repeat is handed
// to the host, told as an event, and handed over once more when the server knows more of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/closure.h"
#include "base/generation.h"
#include "base/mutex.h"
#include "base/weakly.h"
#include "links/link_parser.h"
#include "links/link_resolver.h"
#include "platform/log.h"
#include "zarn/deep_link.h"

namespace zarn::base {
class Executor;
}
namespace zarn::platform {
class Clock;
}

namespace zarn::links {

/// What the router does to the rest of the library.
struct DeepLinkActions {
  /// Tells of a link by an event with these properties.
  std::function<void(const Properties&)> enqueueClick;
  std::function<void(const ZarnDeepLink&, LinkResolver::Completion)> resolve;
  std::function<bool(std::string_view url)> isAllowlistedHost;
  /// Opens the address elsewhere, such as in the browser; empty when the host wants none opened.
  std::function<void(const std::string& url)> autoOpen;
};

/// Any thread.
class DeepLinkRouter {
 public:
  using Source = ZarnDeepLink::Source;
  using Handler = std::function<void(const ZarnDeepLink&)>;
  using Answer = base::UniqueFunction<void(std::optional<ZarnDeepLink>)>;
  using User = base::Generation<DeepLinkRouter>;

  /// A key that comes again within this time of its first coming is a repeat. Milliseconds.
  static constexpr std::int64_t kRepeatWindow = 90'000;
  static constexpr std::size_t kMostKeys = 64;

  DeepLinkRouter(DeepLinkActions actions, platform::Crypto& crypto, const platform::Clock& clock,
                 base::Executor& main, platform::Log log);

  enum class Intake : std::uint8_t { noLink, repeat, taken };
  /// A link has come in; without `source` by its scheme.
  Intake ingest(std::string_view url, std::optional<Source> source = std::nullopt);
  /// A link that the server has matched to this installation; nothing when the user is no longer
  /// the one it was asked for.
  void ingestDeferred(const ZarnDeepLink& link, User::Token user);
  /// Opens the link elsewhere, if the host wants that and it leads to a host of the list.
  void autoOpen(std::string_view url) const;

  /// Called on main, also inside `ingest` there, without locks; what it throws is lost. Links that
  /// come while there is none wait, but only the latest. An empty one is none.
  void setHandler(Handler handler);

  /// What the host asks about itself. `answer` runs exactly once, on main and never inside the
  /// call: with nothing when the text is no link, and with what the server knows of the link unless
  /// the user has been reset meanwhile.
  void lookUp(std::string_view url, Answer answer);

  std::optional<Source> lastSource() const;
  User::Token user() const;
  /// Forgets the links of the user so far, those that are still to be handed over included.
  void forgetUser();

 private:
  struct Seen {
    std::string key;
    std::int64_t atMs;
  };
  class LookUp;

  bool seenLocked(const std::string& key) ZARN_REQUIRES(lock_);
  void deliver(const ZarnDeepLink& link, User::Token user);
  void handOver(const ZarnDeepLink& link, User::Token user);
  void tellClick(const ZarnDeepLink& link, const ParsedLink& parsed);
  bool isCurrent(User::Token user) const;

  // Constant after construction.
  const DeepLinkActions actions_;
  const LinkParser parser_;
  platform::Crypto& crypto_;
  const platform::Clock& clock_;
  base::Executor& main_;
  const platform::Log log_;

  mutable base::Mutex lock_{base::LockRank::leaf};
  std::deque<Seen> ring_ ZARN_GUARDED_BY(lock_);  // oldest first
  std::optional<ZarnDeepLink> pendingLink_ ZARN_GUARDED_BY(lock_);
  std::shared_ptr<const Handler> handler_ ZARN_GUARDED_BY(lock_);
  std::optional<Source> lastSource_ ZARN_GUARDED_BY(lock_);
  User users_ ZARN_GUARDED_BY(lock_);
  base::Scope scope_;
};

}  // namespace zarn::links
