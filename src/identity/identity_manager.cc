#include "identity/identity_manager.h"

#include <utility>

#include "base/json.h"
#include "identity/device_identifier.h"
#include "identity/random_uuid.h"
#include "model/remote_config.h"

namespace zarn::identity {
namespace {

void encodeMembers(IdentitySnapshot& snapshot) {
  snapshot.idMembers.clear();
  base::JsonWriter ids(snapshot.idMembers);
  ids.member("device_id", snapshot.deviceId).member("anonymous_id", snapshot.anonymousId);
  if (snapshot.userId) ids.member("user_id", *snapshot.userId);
  snapshot.fingerprintMember.clear();
  base::JsonWriter(snapshot.fingerprintMember).member("fingerprint", snapshot.fingerprint);
}

Properties allowed(const Properties& properties, const IdentityManager::Policy& policy) {
  if (!policy) return properties;
  Properties passed;
  for (const auto& [key, value] : properties) {
    if (model::isIdentityPropertyAllowed(key, *policy)) passed.set(key, value);
  }
  return passed;
}

void merge(const Properties& newer, Properties& into) {
  for (const auto& [key, value] : newer) into.set(key, value);
}

}  // namespace

IdentityManager::IdentityManager(const IdentityServices& services)
    : random_(services.random),
      mayKeep_(services.mayKeep),
      store_(services.secrets, services.defaults, services.crypto),
      persistQueue_(services.executor, "io.zarn.identity.persist",
                    base::LockRank::identityPersist) {
  begin(services);
}

IdentityManager::~IdentityManager() {
  persistNow();
}

void IdentityManager::begin(const IdentityServices& services) {
  auto first = std::make_shared<IdentitySnapshot>();
  first->deviceId = deviceId(services.device, services.secrets, random_);
  first->anonymousId = storedOrFreshId(kAnonymousIdAccount, services.secrets, random_);
  first->fingerprint = fingerprint(services.device, services.crypto);
  IdentityStore::User user = store_.load(first->anonymousId);
  first->userId = std::move(user.id);
  first->superProperties = std::move(user.superProperties);
  encodeMembers(*first);
  current_.publish(std::move(first));
  {
    base::MutexLock lock(lock_);
    state_.userProperties = std::move(user.userProperties);
    state_.userIdChanged = user.isAnothers;
  }
  if (user.isAnothers) schedulePersist();
}

Properties IdentityManager::traits() const {
  base::MutexLock lock(lock_);
  return state_.traits;
}

Properties IdentityManager::userProperties() const {
  base::MutexLock lock(lock_);
  return state_.userProperties;
}

template <typename Apply>
void IdentityManager::change(Apply&& apply) {
  {
    base::MutexLock lock(lock_);
    auto next = std::make_shared<IdentitySnapshot>(*current_.get());
    apply(state_, *next);
    current_.publish(std::move(next));
  }
  schedulePersist();
}

void IdentityManager::schedulePersist() {
  {
    base::MutexLock lock(lock_);
    if (std::exchange(state_.isScheduled, true)) return;
  }
  persistQueue_.async(base::weakly(scope_, [this] {
    persistQueue_.assertCurrent();
    persist();
  }));
}

Properties IdentityManager::identify(std::string_view userId, const Properties& traits,
                                     const Policy& policy) {
  Properties passed = allowed(traits, policy);
  change([&](State& state, IdentitySnapshot& next) {
    next.userId = std::string(userId);
    encodeMembers(next);
    state.traits = passed;
    merge(passed, state.userProperties);
    state.userIdChanged = true;
    if (!passed.empty()) state.userPropertiesChanged = true;
  });
  return passed;
}

Properties IdentityManager::setUserProperties(const Properties& properties, const Policy& policy) {
  Properties passed = allowed(properties, policy);
  if (passed.empty()) return passed;
  {
    base::MutexLock lock(lock_);
    merge(passed, state_.userProperties);
    state_.userPropertiesChanged = true;
  }
  schedulePersist();
  return passed;
}

bool IdentityManager::setUserProperty(std::string_view key, const Value& value,
                                      const Policy& policy) {
  Properties one;
  one.set(key, value);
  return !setUserProperties(one, policy).empty();
}

void IdentityManager::setSuperProperty(std::string_view key, const Value& value) {
  Properties one;
  one.set(key, value);
  setSuperProperties(one);
}

void IdentityManager::setSuperProperties(const Properties& properties) {
  change([&](State& state, IdentitySnapshot& next) {
    merge(properties, next.superProperties);
    state.superPropertiesChanged = true;
  });
}

void IdentityManager::unsetSuperProperty(std::string_view key) {
  change([&](State& state, IdentitySnapshot& next) {
    next.superProperties.erase(key);
    state.superPropertiesChanged = true;
  });
}

void IdentityManager::clearSuperProperties() {
  change([](State& state, IdentitySnapshot& next) {
    next.superProperties = {};
    state.superPropertiesChanged = true;
  });
}

void IdentityManager::reset() {
  const std::string freshId = randomUuidText(random_);
  change([&](State& state, IdentitySnapshot& next) {
    next.anonymousId = freshId;
    next.userId.reset();
    next.superProperties = {};
    encodeMembers(next);
    state.traits = {};
    state.userProperties = {};
    state.isReset = true;
  });
}

void IdentityManager::persistNow() {
  persistQueue_.sync([this] {
    persistQueue_.assertCurrent();
    persist();
  });
}

/// The newest state, as far as it is not stored and may be.
struct IdentityManager::Unsaved {
  std::shared_ptr<const IdentitySnapshot> identity;
  std::optional<std::string> userId;
  Properties userProperties;
  Properties superProperties;
  bool isReset = false;
  bool hasUserId = false;
  bool hasUserProperties = false;
  bool hasSuperProperties = false;

  bool empty() const { return !hasUserId && !hasUserProperties && !hasSuperProperties; }
  IdentityStore::Changes changes() const {
    return {.id = hasUserId ? &userId : nullptr,
            .userProperties = hasUserProperties ? &userProperties : nullptr,
            .superProperties = hasSuperProperties ? &superProperties : nullptr};
  }
};

IdentityManager::Unsaved IdentityManager::takeUnsaved(bool all) {
  const bool mayKeep = !mayKeep_ || mayKeep_();
  base::MutexLock lock(lock_);
  state_.isScheduled = false;
  Unsaved unsaved;
  unsaved.identity = current_.get();
  unsaved.isReset = std::exchange(state_.isReset, false);
  if (!mayKeep && !unsaved.isReset) return unsaved;
  all = all || unsaved.isReset;
  unsaved.hasUserId = std::exchange(state_.userIdChanged, false) || all;
  unsaved.hasUserProperties = std::exchange(state_.userPropertiesChanged, false) || all;
  unsaved.hasSuperProperties = std::exchange(state_.superPropertiesChanged, false) || all;
  if (!mayKeep) {  // nothing takes the place of the last user, and the new one waits
    state_.userIdChanged = state_.userPropertiesChanged = state_.superPropertiesChanged = true;
    return unsaved;
  }
  unsaved.userId = unsaved.identity->userId;
  if (unsaved.hasUserProperties) unsaved.userProperties = state_.userProperties;
  if (unsaved.hasSuperProperties) unsaved.superProperties = unsaved.identity->superProperties;
  return unsaved;
}

void IdentityManager::persist() {
  const auto save = [this](const Unsaved& unsaved) {
    const std::string& owner = unsaved.identity->anonymousId;
    if (!unsaved.isReset) return store_.save(owner, unsaved.changes());
    store_.replace(owner, unsaved.changes());
    return true;
  };
  const Unsaved unsaved = takeUnsaved(false);
  if (!unsaved.empty() && !save(unsaved)) save(takeUnsaved(true));
}

}  // namespace zarn::identity
