#include "links/deep_link_router.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "base/executor.h"
#include "links/deep_link_click.h"
#include "platform/clock.h"

namespace zarn::links {
namespace {

using Source = ZarnDeepLink::Source;

ZarnDeepLink makeLink(std::string_view url, const ParsedLink& parsed,
                      std::optional<Source> source) {
  ZarnDeepLink link;
  link.url = {std::string(url)};
  link.path = parsed.path;
  link.parameters = parsed.parameters;
  link.source = source.value_or(parsed.isWeb ? Source::universalLink : Source::customScheme);
  link.isDeferred =
      link.source == Source::deferredClipboard || link.source == Source::deferredFingerprint;
  link.linkId = parsed.shortLinkId;
  return link;
}

}  // namespace

/// The answer to a host's question, posted to main once: with what the server knows of the link or,
/// where nothing comes of asking, without.
class DeepLinkRouter::LookUp {
 public:
  LookUp(base::Executor& main, Answer answer, std::optional<ZarnDeepLink> link)
      : main_(main), answer_(std::move(answer)), link_(std::move(link)) {}
  LookUp(LookUp&&) = default;
  LookUp(const LookUp&) = delete;
  ~LookUp() {
    if (answer_) post();
  }

  void add(const ResolveResult& result) { link_ = merged(*std::move(link_), result); }

 private:
  void post() {
    main_.post([answer = std::move(answer_), link = std::move(link_)]() mutable {
      try {
        answer(std::move(link));
      } catch (...) {
        // The host's own.
      }
    });
  }

  base::Executor& main_;
  Answer answer_;
  std::optional<ZarnDeepLink> link_;
};

DeepLinkRouter::DeepLinkRouter(DeepLinkActions actions, platform::Crypto& crypto,
                               const platform::Clock& clock, base::Executor& main,
                               platform::Log log)
    : actions_(std::move(actions)),
      parser_(crypto),
      crypto_(crypto),
      clock_(clock),
      main_(main),
      log_(log) {}

DeepLinkRouter::Intake DeepLinkRouter::ingest(std::string_view url, std::optional<Source> source) {
  const auto parsed = parser_.parse(url);
  if (!parsed) {
    log_.debug({"[Zarn DeepLink] not a link, ignored"});
    return Intake::noLink;
  }
  const ZarnDeepLink link = makeLink(url, *parsed, source);
  std::optional<User::Token> user;
  {
    base::MutexLock lock(lock_);
    if (!seenLocked(parsed->dedupKey)) {
      lastSource_ = link.source;
      user = users_.current();
    }
  }
  if (!user) {
    log_.debug({"[Zarn DeepLink] dedup: dropping repeat ingest of ", parsed->dedupKey,
                " (source=", rawValue(link.source), ")"});
    return Intake::repeat;
  }
  deliver(link, *user);
  if (!isCurrent(*user)) return Intake::taken;  // the handler may have reset the user
  tellClick(link, *parsed);
  if (!actions_.isAllowlistedHost(url)) {
    log_.debug({"[Zarn DeepLink] host not allowlisted — skipping backend resolve (§7 SSRF scope)"});
    return Intake::taken;
  }
  auto enrich = base::weakly(scope_, [this, link, user = *user](const ResolveResult& result) {
    deliver(merged(link, result), user);
  });
  actions_.resolve(link, [enrich = std::move(enrich)](const ResolveResult& result) mutable {
    if (result.resolved) enrich(result);
  });
  return Intake::taken;
}

void DeepLinkRouter::ingestDeferred(const ZarnDeepLink& link, User::Token user) {
  const auto parsed = parser_.parse(link.url.text);
  if (!parsed) return;
  const std::string& key = link.linkId ? *link.linkId : parsed->dedupKey;
  bool isRepeat = false;
  {
    base::MutexLock lock(lock_);
    if (user != users_.current()) return;
    isRepeat = seenLocked(key);
    if (!isRepeat) lastSource_ = link.source;
  }
  if (isRepeat) {
    log_.debug({"[Zarn DeepLink] dedup: dropping repeat deferred ingest of ", key});
    return;
  }
  deliver(link, user);
  if (isCurrent(user)) tellClick(link, *parsed);
}

void DeepLinkRouter::autoOpen(std::string_view url) const {
  if (!actions_.autoOpen) return;
  if (!actions_.isAllowlistedHost(url)) {
    log_.debug({"[Zarn DeepLink] auto-open denied for non-allowlisted host"});
    return;
  }
  actions_.autoOpen(std::string(url));
}

void DeepLinkRouter::setHandler(Handler handler) {
  // The one before is destroyed without the lock: what it holds is the host's.
  auto next = handler ? std::make_shared<const Handler>(std::move(handler)) : nullptr;
  std::optional<ZarnDeepLink> waiting;
  std::optional<User::Token> user;
  {
    base::MutexLock lock(lock_);
    handler_.swap(next);
    if (handler_) waiting = std::exchange(pendingLink_, std::nullopt);
    user = users_.current();
  }
  if (waiting) deliver(*waiting, *user);
}

void DeepLinkRouter::lookUp(std::string_view url, Answer answer) {
  const auto parsed = parser_.parse(url);
  if (!parsed) {
    const LookUp none(main_, std::move(answer), std::nullopt);
    return;
  }
  const ZarnDeepLink link = makeLink(url, *parsed, std::nullopt);
  LookUp lookUp(main_, std::move(answer), link);
  std::optional<User::Token> user;
  bool isNew = false;
  {
    base::MutexLock lock(lock_);
    user = users_.current();
    isNew = parsed->isWeb && !seenLocked(parsed->dedupKey);
  }
  if (isNew) tellClick(link, *parsed);
  if (!actions_.isAllowlistedHost(url)) return;
  auto enrich =
      base::weakly(scope_, [this, user = *user](LookUp& asked, const ResolveResult& result) {
        if (isCurrent(user)) asked.add(result);
      });
  actions_.resolve(link, [lookUp = std::move(lookUp),
                          enrich = std::move(enrich)](const ResolveResult& result) mutable {
    if (result.resolved) enrich(lookUp, result);
  });
}

std::optional<Source> DeepLinkRouter::lastSource() const {
  base::MutexLock lock(lock_);
  return lastSource_;
}

DeepLinkRouter::User::Token DeepLinkRouter::user() const {
  base::MutexLock lock(lock_);
  return users_.current();
}

void DeepLinkRouter::forgetUser() {
  base::MutexLock lock(lock_);
  pendingLink_.reset();
  ring_.clear();
  users_.bump();
}

bool DeepLinkRouter::isCurrent(User::Token user) const {
  base::MutexLock lock(lock_);
  return user == users_.current();
}

/// An entry from beyond the window, on whichever side since the clock may be set back, is expired.
bool DeepLinkRouter::seenLocked(const std::string& key) {
  using std::chrono::milliseconds;
  const std::int64_t now =
      std::chrono::floor<milliseconds>(clock_.now().time_since_epoch()).count();
  const auto last = std::find_if(ring_.rbegin(), ring_.rend(),
                                 [&](const Seen& entry) { return entry.key == key; });
  if (last != ring_.rend() && std::abs(now - last->atMs) <= kRepeatWindow) return true;
  ring_.push_back({key, now});
  while (ring_.size() > kMostKeys) ring_.pop_front();
  return false;
}

void DeepLinkRouter::deliver(const ZarnDeepLink& link, User::Token user) {
  {
    base::MutexLock lock(lock_);
    if (user != users_.current()) return;
    if (!handler_) {
      pendingLink_ = link;
      return;
    }
  }
  if (main_.isCurrent()) return handOver(link, user);
  main_.post(base::weakly(scope_, [this, link, user] { handOver(link, user); }));
}

void DeepLinkRouter::handOver(const ZarnDeepLink& link, User::Token user) {
  std::shared_ptr<const Handler> handler;
  {
    base::MutexLock lock(lock_);
    if (user != users_.current()) return;
    handler = handler_;
    if (!handler) pendingLink_ = link;
  }
  if (!handler) return;
  try {
    (*handler)(link);
  } catch (...) {
    // The host's own.
  }
}

void DeepLinkRouter::tellClick(const ZarnDeepLink& link, const ParsedLink& parsed) {
  actions_.enqueueClick(clickProperties(link, parsed, crypto_));
}

}  // namespace zarn::links
