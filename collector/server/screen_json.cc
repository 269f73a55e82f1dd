#include "server/screen_json.h"

#include "server/screen_ways.h"
#include "server/time_text.h"

namespace zarn::collector {

void writeMedian(JsonOut& out, std::string_view key, const std::vector<std::int64_t>& values) {
  const auto median = medianOf(values);
  out.key(key);
  median ? out.value(*median) : out.null();
}

void writeVisit(JsonOut& out, const ScreenVisit& visit) {
  out.field("event_id", visit.eventId)
      .field("entered_at", isoText(visit.enteredMs))
      .field("entry_index", visit.index)
      .field("dwell_ms", visit.dwellMs)
      .field("tap_count", visit.taps)
      .field("scroll_count", visit.scrolls)
      .field("exit_reason", visit.exitReason);
}

}  // namespace zarn::collector
