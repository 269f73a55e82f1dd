// IdentityManager: who the events are about, and the super properties that go with each.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "zarn/value.h"

namespace zarn::platform {
class Random;
}

namespace zarn::identity {

/// One consistent picture, with the JSON members that every event repeats made once, when it
/// changes.
struct IdentitySnapshot {
  std::string deviceId;
  std::string anonymousId;
  std::optional<std::string> userId;
  std::string fingerprint;
  Properties superProperties;
  std::string idMembers;          // "device_id" to "user_id", without braces
  std::string fingerprintMember;  // "fingerprint"
};

/// Any thread. Ids are made anew in each process.
class IdentityManager {
 public:
  explicit IdentityManager(platform::Random& random);

  std::shared_ptr<const IdentitySnapshot> snapshot() const;

  void setUserId(std::string_view userId);

  void setSuperProperties(const Properties& properties);
  void unsetSuperProperty(std::string_view key);
  void clearSuperProperties();

 private:
  template <typename Change>
  void change(Change&& apply);

  mutable base::Mutex lock_{base::LockRank::identity};
  std::shared_ptr<const IdentitySnapshot> current_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::identity
