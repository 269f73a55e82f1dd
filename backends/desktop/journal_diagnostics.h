// Crashes of this program that the system's journal has a record of: the core dump service writes
// it some seconds after the crash, so it is read at the next launch. Without that service there are
// none. Nothing is hooked into the process.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/mutex.h"
#include "base/weakly.h"
#include "platform/diagnostics_source.h"

namespace zarn::platform {
class Clock;
class Defaults;
class Device;
class Dispatch;
}  // namespace zarn::platform

namespace zarn::desktop {

struct CrashRecord;

/// Whose records, and where.
struct JournalPlace {
  std::string executable;  // empty: the one of this process
  std::string directory;   // of journal files; empty: the system's journal
};

/// How a Linux signal is numbered in diagnostics.
int diagnosticSignal(int linuxSignal);

/// What is read at one start is handed over at once; what is recorded later comes at the next. The
/// first start of all hands over nothing: those crashes are from before the library was there. Two
/// processes that start at the same moment may both hand over the same records, and so may a
/// process that follows one killed in its receiver.
class JournalDiagnostics final : public platform::DiagnosticsSource {
 public:
  /// Up to where records were handed over: microseconds since 1970.
  static constexpr const char* kSeenKey = "zarn_diagnostics_seen";
  /// The build that the last start belonged to. It is taken for the one that crashed since.
  static constexpr const char* kBuildKey = "zarn_diagnostics_build";

  JournalDiagnostics(platform::Dispatch& dispatch, platform::Defaults& defaults,
                     const platform::Clock& clock, platform::Device& device,
                     JournalPlace place = {});
  ~JournalDiagnostics() override;

  void start(Receive receive) override;
  void stop() override;
  void skipToNow() override;

 private:
  /// Nothing on the first launch, and while the settings can't be read.
  std::optional<std::int64_t> position();
  void handOver(const std::vector<CrashRecord>& records, const std::string& build,
                const Receive& receive);

  // Constant after construction.
  platform::Dispatch& dispatch_;
  platform::Defaults& defaults_;
  const platform::Clock& clock_;
  platform::Device& device_;
  const JournalPlace place_;

  base::Mutex mutex_{base::LockRank::leaf};
  std::unique_ptr<base::Scope> handingOver_ ZARN_GUARDED_BY(mutex_);
};

}  // namespace zarn::desktop
