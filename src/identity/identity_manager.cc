#include "identity/identity_manager.h"

#include <array>

#include "base/hex.h"
#include "base/json.h"
#include "base/uuid.h"
#include "platform/random.h"

namespace zarn::identity {
namespace {

std::string randomUuidText(platform::Random& random) {
  std::array<std::uint8_t, 16> bytes;
  random.fill(bytes);
  return base::uuidFromRandom(bytes).text();
}

void encodeMembers(IdentitySnapshot& snapshot) {
  snapshot.idMembers.clear();
  base::JsonWriter ids(snapshot.idMembers);
  ids.member("device_id", snapshot.deviceId).member("anonymous_id", snapshot.anonymousId);
  if (snapshot.userId) ids.member("user_id", *snapshot.userId);
  snapshot.fingerprintMember.clear();
  base::JsonWriter(snapshot.fingerprintMember).member("fingerprint", snapshot.fingerprint);
}

}  // namespace

IdentityManager::IdentityManager(platform::Random& random) {
  auto first = std::make_shared<IdentitySnapshot>();
  first->deviceId = randomUuidText(random);
  first->anonymousId = randomUuidText(random);
  std::array<std::uint8_t, 32> fingerprint;
  random.fill(fingerprint);
  first->fingerprint = base::lowerHex(fingerprint);
  encodeMembers(*first);
  current_ = std::move(first);
}

std::shared_ptr<const IdentitySnapshot> IdentityManager::snapshot() const {
  base::MutexLock lock(lock_);
  return current_;
}

template <typename Change>
void IdentityManager::change(Change&& apply) {
  base::MutexLock lock(lock_);
  auto next = std::make_shared<IdentitySnapshot>(*current_);
  apply(*next);
  encodeMembers(*next);
  current_ = std::move(next);
}

void IdentityManager::setUserId(std::string_view userId) {
  change([&](IdentitySnapshot& next) { next.userId = std::string(userId); });
}

void IdentityManager::setSuperProperties(const Properties& properties) {
  change([&](IdentitySnapshot& next) {
    for (const auto& [key, value] : properties) next.superProperties.set(key, value);
  });
}

void IdentityManager::unsetSuperProperty(std::string_view key) {
  change([&](IdentitySnapshot& next) { next.superProperties.erase(key); });
}

void IdentityManager::clearSuperProperties() {
  change([](IdentitySnapshot& next) { next.superProperties = {}; });
}

}  // namespace zarn::identity
