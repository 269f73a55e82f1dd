// What the system has recorded of earlier ends of this app: crashes and hangs, told late, usually
// at the launch after.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "zarn/value.h"

namespace zarn::platform {

/// The program that the diagnostic is about. What isn't known is empty.
struct DiagnosticMeta {
  std::string applicationBuildVersion;
  std::string osVersion;
  std::string deviceType;
};

struct HangDiagnostic {
  base::Duration hangDuration{};
  std::string callStackTree;  // JSON; may be any bytes
  DiagnosticMeta metaData;
};

struct CrashDiagnostic {
  /// As BSD numbers them: 7 is SIGEMT, 10 SIGBUS and 12 SIGSYS.
  std::optional<int> signal;
  std::optional<int> exceptionType;
  std::optional<std::string> terminationReason;
  std::string callStackTree;  // JSON; may be any bytes
  DiagnosticMeta metaData;
};

struct DiagnosticPayload {
  Date timeStampEnd;
  std::vector<HangDiagnostic> hangDiagnostics;
  std::vector<CrashDiagnostic> crashDiagnostics;
};

/// Any thread.
class DiagnosticsSource {
 public:
  using Receive = std::function<void(const std::vector<DiagnosticPayload>&)>;
  virtual ~DiagnosticsSource() = default;
  /// Hands over, soon and on a thread of the source, what was not handed over before, by this
  /// process or an earlier one; never inside the call. One receiver at a time.
  virtual void start(Receive receive) = 0;
  /// No call begins after this returns, and it waits for one that runs on another thread.
  virtual void stop() = 0;
  /// What was recorded until now is never handed over. Between stop and start.
  virtual void skipToNow() = 0;
};

}  // namespace zarn::platform
