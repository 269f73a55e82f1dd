// What is kept of an identity: the anonymous id in the secure store, the user in the defaults.
//
// The two can't change in one step, and another process of the app may have reset meanwhile. So the
// defaults say by a digest of the anonymous id whose user they hold, and a user counts only with
// that id. Whoever has reset last owns what is stored; a process whose id is no longer there keeps
// its identity in memory, until it resets itself. Processes with one id write whole dictionaries,
// the last one counts.
#pragma once

#include <optional>
#include <string>

#include "zarn/value.h"

namespace zarn::platform {
class Crypto;
class Defaults;
class SecureStore;
}  // namespace zarn::platform

namespace zarn::identity {

/// Calls follow one another; none waits for the disk.
class IdentityStore {
 public:
  /// Longer text of a dictionary is not kept: all settings of the app share one file.
  static constexpr std::size_t kLongestText = std::size_t{256} << 10;

  struct User {
    std::optional<std::string> id;
    Properties userProperties;
    Properties superProperties;
    bool isAnothers = false;  // what is stored is, and should go
  };
  /// What is to be stored; null stays as it is.
  struct Changes {
    const std::optional<std::string>* id = nullptr;
    const Properties* userProperties = nullptr;
    const Properties* superProperties = nullptr;
    bool areComplete() const { return id && userProperties && superProperties; }
  };

  IdentityStore(platform::SecureStore& secrets, platform::Defaults& defaults,
                platform::Crypto& crypto)
      : secrets_(secrets), defaults_(defaults), crypto_(crypto) {}

  /// What is broken, or another identity's, is left out.
  User load(const std::string& anonymousId);

  /// Nothing happens when another process has reset. False when only complete changes will do.
  bool save(const std::string& anonymousId, const Changes& changes);

  /// Takes over: the anonymous id with all that goes with it, and nothing of the one before.
  /// Outlives the process, however it ends, from now on.
  void replace(const std::string& anonymousId, const Changes& completeChanges);

 private:
  Properties loadDictionary(const char* key);
  void write(const Changes& changes);
  void writeDictionary(const char* key, const Properties* dictionary);
  std::string ownerMark(const std::string& anonymousId) const;

  platform::SecureStore& secrets_;
  platform::Defaults& defaults_;
  platform::Crypto& crypto_;
};

}  // namespace zarn::identity
