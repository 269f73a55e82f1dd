// Conversion values: how much an installation has become worth, for the system's ad network.
// Nothing of it goes to the analytics server.
//
//   auto& skan = zarn::Zarn::skan();
//   skan.acceptSchema({});                                 // revenue in the default buckets
//   skan.recordConversionEvent("purchase", 19.99);
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zarn/export.h"
#include "zarn/text.h"
#include "zarn/value.h"

ZARN_NAMESPACE_BEGIN

enum class ZarnCoarseConversionValue : std::uint8_t { none, low, medium, high };
/// "none", "low", "medium" or "high".
ZARN_API std::string_view rawValue(ZarnCoarseConversionValue value) noexcept;

/// Any thread. One object for the process, see Zarn::skan.
class ZARN_API ZarnSKAN {
 public:
  /// How events become values.
  struct CvSchema {
    enum class Model : std::uint8_t {
      revenueBuckets,  // the index of the last bucket that is not above the revenue
      raw,             // the value that the caller gives
    };
    Model model = Model::revenueBuckets;
    /// Ascending. Fewer than two, or any that is no number, and the default ones count.
    std::vector<double> buckets = {0, 1, 5, 20, 50, 100};
    std::vector<std::string> funnelBits = {"signup", "activation"};
    /// An event with a revenue ends the window in which the value may rise.
    bool lockWindowOnPurchase = true;
  };

  struct SkanStatus {
    bool enabled = false;
    bool cvSchemaConfigured = false;
    int currentFine = 0;  // 0 to 63; outlives the process
    bool windowOpen = true;
    std::optional<int> lastConversionValueSet;
    std::optional<std::string> lastUpdateError;
    std::optional<Date> lockedAt;
    std::optional<std::string> expectedReportEndpoint;
    bool internalDevForced = false;
  };

  /// Says what values mean in this app, and that its campaigns are set up for it. Without it no
  /// value is set. The last schema counts.
  void acceptSchema(const CvSchema& schema) noexcept;

  /// Sets the value, 0 to 63 (what lies outside counts as the nearer end). It only rises, unless
  /// `lockWindow` ends the window with it; after that nothing changes any more. True when the value
  /// was set or is higher already; otherwise status().lastUpdateError tells why not.
  bool updateConversionValue(int fine,
                             ZarnCoarseConversionValue coarse = ZarnCoarseConversionValue::none,
                             bool lockWindow = false) noexcept;
  /// Sets the value that the schema has for the event.
  bool recordConversionEvent(Text event, std::optional<double> revenue = std::nullopt) noexcept;

  SkanStatus status() const noexcept;

  class Impl;
  explicit ZarnSKAN(std::unique_ptr<Impl> impl);
  ~ZarnSKAN();
  ZarnSKAN(const ZarnSKAN&) = delete;
  ZarnSKAN& operator=(const ZarnSKAN&) = delete;

 private:
  const std::unique_ptr<Impl> impl_;
};

ZARN_NAMESPACE_END
