// Turns the system's diagnostics of an earlier process into the properties of crash events.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/diagnostics_source.h"
#include "zarn/value.h"

namespace zarn::redaction {
class PiiFilter;
}

namespace zarn::crash {

/// "SIGHUP" to "SIGPIPE" for 1 to 13, "SIG" and the number above, "unknown" below. Numbers are
/// those of platform::CrashDiagnostic.
std::string signalName(int signal);

/// The first 32,768 characters of a call stack tree, with the first 256 of every 4,096 scrubbed of
/// personal data: what goes further costs too much. At most the first 256 KiB count, however long a
/// character is. Empty when the text is not UTF-8.
std::string sanitisedStack(std::string_view callStackTree, const redaction::PiiFilter& filter);

/// Any thread.
class MetricKitSubscriber {
 public:
  using Handler = std::function<void(const Properties&)>;
  MetricKitSubscriber(const redaction::PiiFilter& filter, Handler onHang, Handler onCrash);

  /// Calls a handler for every diagnostic: hangs first, payload by payload.
  void didReceive(const std::vector<platform::DiagnosticPayload>& payloads) const;

 private:
  Properties describe(const platform::HangDiagnostic& hang, Date time) const;
  Properties describe(const platform::CrashDiagnostic& crash, Date time) const;

  const redaction::PiiFilter& filter_;
  const Handler onHang_;
  const Handler onCrash_;
};

}  // namespace zarn::crash
