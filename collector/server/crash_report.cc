// The part of Reports about crashes.
#include "server/report_rows.h"

namespace zarn::collector {

Reports::Result Reports::crashes(const ReportScope& scope, std::string& error) {
  Connections::Lease lease(connections_, error);
  if (!lease) return std::nullopt;
  JsonOut out;
  out.object().key("crashes").array();
  const bool good =
      eachEvent(lease, scope, "type = 'crash'", kMostListed, [&](const SentEvent& event) {
        openEvent(out, event);
        const bool isHang = event.name == "hang";
        out.field("kind", isHang ? "hang" : "crash").field("device_id", event.device);
        for (const std::string_view key :
             {"signal_name", "signal_code", "termination_reason", "app_version", "os_version",
              "crash_timestamp", "stack_trace", "frozen_ms"}) {
          writeSent(out, event.properties, key);
        }
        out.end();
      });
  if (!good) return std::nullopt;
  return out.end().end().take();
}

}  // namespace zarn::collector
