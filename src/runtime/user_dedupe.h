// UserDedupe: what was last sent of the user, as hashes, so that repeating a call sends nothing.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/mutex.h"
#include "zarn/value.h"

namespace zarn::runtime {

/// Any thread. Of this process only; a reset clears it.
class UserDedupe {
 public:
  /// Whether `properties` differ from those of the last call since the last clear.
  bool isNewIdentify(const Properties& properties);
  /// Those of `properties` that differ from what was last seen under their keys.
  Properties newUserProperties(const Properties& properties);
  /// What was not taken after all counts as not seen.
  void forgetIdentify();
  void forgetUserProperties(const Properties& properties);
  void clear();

 private:
  base::Mutex lock_{base::LockRank::leaf};
  std::optional<std::size_t> lastIdentifyHash_ ZARN_GUARDED_BY(lock_);
  std::unordered_map<std::string, std::size_t> lastUserPropertyHash_ ZARN_GUARDED_BY(lock_);
};

}  // namespace zarn::runtime
