// Crashes of this program that the system's journal has a record of.
#pragma once

#include "platform/diagnostics_source.h"

namespace zarn::desktop {

class JournalDiagnostics final : public platform::DiagnosticsSource {
 public:
  void start(Receive receive) override;
  void stop() override;
  void skipToNow() override;
};

}  // namespace zarn::desktop
