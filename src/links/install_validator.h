// Has the server check the store's receipt of this installation. The verdict is shown in the
// diagnostics; nothing in the library depends on it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "base/executor.h"
#include "base/mutex.h"
#include "base/weakly.h"
#include "model/configuration.h"
#include "runtime/network_guard.h"

namespace zarn::platform {
class Defaults;
class Random;
class StoreReceipt;
}  // namespace zarn::platform

namespace zarn::links {

enum class InstallValidationStatus : std::uint8_t {
  notRun,
  unavailable,  // the platform has no receipts
  optedOut,
  disabled,
  validated,
  replayed,
  invalidSig,
  wrongBundle,
  absent,  // this installation has no receipt
  error,
};
/// Such as "not_run".
std::string_view rawValue(InstallValidationStatus status);

/// What the validator stands on.
struct InstallValidatorParts {
  platform::Defaults& defaults;
  platform::Random& random;
  platform::StoreReceipt& receipt;
  runtime::NetworkGuard& guard;
  base::Executor& background;  // reads the receipt
  std::function<bool()> isOptedOut;
};

/// Any thread.
class InstallValidator {
 public:
  static constexpr const char* kInstallIdKey = "zarn_install_id";
  /// A larger receipt is not sent: status `error`.
  static constexpr std::size_t kMostReceiptBytes = 1 << 20;

  InstallValidator(const InstallValidatorParts& parts, const model::Configuration& configuration,
                   std::string bundleId);
  ~InstallValidator();

  /// Once, on the first run. Reads and asks in the background; until it has ended the status stays.
  void start(std::string deviceId);
  /// The user has opted out: a run under way ends with `optedOut`.
  void optOut();

  InstallValidationStatus status() const;

 private:
  class Answer;
  void validate(const std::string& deviceId, runtime::NetworkGuard::Token token);
  std::string makeBody(const std::string& deviceId, std::string_view receipt);
  std::string installId();
  void settle(InstallValidationStatus status);

  // Constant after construction.
  const InstallValidatorParts parts_;
  const model::Configuration configuration_;
  const std::string bundleId_;

  mutable base::Mutex lock_{base::LockRank::leaf};
  InstallValidationStatus status_ ZARN_GUARDED_BY(lock_) = InstallValidationStatus::notRun;
  bool isUnderWay_ ZARN_GUARDED_BY(lock_) = false;
  base::Scope scope_;
};

}  // namespace zarn::links
