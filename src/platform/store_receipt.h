// The receipt with which an app store proves that the app was bought there.
#pragma once

#include <optional>
#include <string>

namespace zarn::platform {

/// Any thread; may read a file.
class StoreReceipt {
 public:
  virtual ~StoreReceipt() = default;
  /// False where there is no such thing as a store's receipt.
  virtual bool isAvailable() = 0;
  /// Its bytes; nothing when this installation has none.
  virtual std::optional<std::string> read() = 0;
};

}  // namespace zarn::platform
