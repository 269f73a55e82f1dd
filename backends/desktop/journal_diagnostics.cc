#include "desktop/journal_diagnostics.h"

namespace zarn::desktop {

void JournalDiagnostics::start(Receive) {}
void JournalDiagnostics::stop() {}
void JournalDiagnostics::skipToNow() {}

}  // namespace zarn::desktop
