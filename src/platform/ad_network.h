// The system's ad network, which takes one conversion value for an installation.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zarn::platform {

/// Any thread.
class AdNetwork {
 public:
  virtual ~AdNetwork() = default;
  /// `fine` is 0 to 63, `coarse` one of "low", "medium" and "high". Gives a word for why it was not
  /// taken; what goes wrong later is described to `failed`, on any thread.
  virtual std::optional<std::string> updateConversionValue(
      int fine, std::optional<std::string_view> coarse, bool lockWindow,
      std::function<void(const std::string& description)> failed) = 0;
};

}  // namespace zarn::platform
