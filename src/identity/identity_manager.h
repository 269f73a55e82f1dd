// IdentityManager: who the events are about, and the super properties that go with each.
//
// What is to be kept is written on a queue of its own. A write carries no picture from when it was
// asked for: when its turn comes it takes the newest state, with the anonymous id that says whose
// it is, so that an older one can't bring a user back after a reset.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "identity/identity_store.h"
#include "model/published.h"
#include "zarn/value.h"

namespace zarn::model {
struct RemoteDataCollectionConfig;
}
namespace zarn::platform {
class Device;
class Random;
}  // namespace zarn::platform

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

struct IdentityServices {
  platform::Device& device;
  platform::Crypto& crypto;
  platform::Random& random;
  platform::SecureStore& secrets;
  platform::Defaults& defaults;
  base::Executor& executor;  // for what is written; must not be one that waits for the disk
  /// False while nothing may be written about the user; a reset still takes away what is there. May
  /// be empty: always true.
  std::function<bool()> mayKeep = {};
};

/// Any thread. Nothing here waits for the disk.
class IdentityManager {
 public:
  /// The server's decision on personal properties; null allows all.
  using Policy = std::shared_ptr<const model::RemoteDataCollectionConfig>;

  /// Finds the identity of the launch before, or begins one.
  explicit IdentityManager(const IdentityServices& services);
  /// Writes what is still to be written.
  ~IdentityManager();

  std::shared_ptr<const IdentitySnapshot> snapshot() const { return current_.get(); }
  Properties traits() const;
  Properties userProperties() const;

  // A denied key is left out and what is stored under it stays. Each gives what was allowed.

  /// The traits take the place of the earlier user's and go into the user properties too.
  Properties identify(std::string_view userId, const Properties& traits, const Policy& policy);
  Properties setUserProperties(const Properties& properties, const Policy& policy);
  bool setUserProperty(std::string_view key, const Value& value, const Policy& policy);

  void setSuperProperty(std::string_view key, const Value& value);
  void setSuperProperties(const Properties& properties);
  void unsetSuperProperty(std::string_view key);
  void clearSuperProperties();

  /// Parts the user from the device: a fresh anonymous id, and no user, traits, user properties or
  /// super properties, all in one step. It is stored soon; call persistNow for certainty.
  void reset();
  /// What has changed so far, and may be kept, outlives the process, however it ends, once this
  /// returns. Call it without the locks that made a reset one step with others.
  void persistNow();

 private:
  struct State {
    Properties traits;
    Properties userProperties;
    // What is not stored yet.
    bool userIdChanged = false;
    bool userPropertiesChanged = false;
    bool superPropertiesChanged = false;
    bool isReset = false;
    bool isScheduled = false;
  };
  struct Unsaved;

  void begin(const IdentityServices& services);
  template <typename Apply>
  void change(Apply&& apply);
  void schedulePersist();
  Unsaved takeUnsaved(bool all);
  void persist() ZARN_REQUIRES(persistQueue_);

  platform::Random& random_;
  const std::function<bool()> mayKeep_;
  IdentityStore store_;

  mutable base::Mutex lock_{base::LockRank::identity};
  State state_ ZARN_GUARDED_BY(lock_);
  model::Published<IdentitySnapshot> current_;  // replaced under the lock only

  base::SerialQueue persistQueue_;
  base::Scope scope_;
};

}  // namespace zarn::identity
