// RecentScreens: the screens of the last moments, so that one arrival is told once, however often
// the toolkit reports it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/executor.h"

namespace zarn::capture {

/// Main thread. `now` is monotonic.
class RecentScreens {
 public:
  static constexpr base::Duration kHashWindow = base::seconds(2);
  static constexpr base::Duration kNameWindow = base::seconds(1);

  /// Notes a shape; false when it was seen within the window.
  bool addHash(std::uint64_t structureHash, base::Duration now);
  /// Notes a name; false when one that isMatched by it was seen within the window.
  bool addName(std::string_view name, base::Duration now);
  /// Whether a recent name equals this one, contains it or is contained in it, whatever the case:
  /// "Cart" right after "Shopping Cart" is most likely the same place.
  bool isMatched(std::string_view name, base::Duration now);

 private:
  struct Hash {
    std::uint64_t hash;
    base::Duration time;
  };
  struct Name {
    std::string lowerCase;
    base::Duration time;
  };
  bool isMatchedLowerCase(std::string_view lowerCase, base::Duration now);

  std::vector<Hash> hashes_;
  std::vector<Name> names_;
};

}  // namespace zarn::capture
