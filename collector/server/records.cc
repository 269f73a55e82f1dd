#include "server/records.h"

namespace zarn::collector {

std::string_view fateWord(Fate fate) {
  switch (fate) {
    case Fate::stored:
      return "stored";
    case Fate::duplicate:
      return "duplicate";
    case Fate::conflict:
      return "conflict";
    case Fate::withheld:
      return "withheld";
  }
  return {};
}

BatchSums sumsOf(const BatchRecord& batch) {
  BatchSums sums;
  for (const Delivered& event : batch.events) {
    sums.stored += event.fate == Fate::stored;
    sums.duplicates += event.fate == Fate::duplicate || event.fate == Fate::conflict;
    sums.conflicts += event.fate == Fate::conflict;
    sums.withheld += event.fate == Fate::withheld;
    sums.invalid += !event.facts.problems.empty();
    sums.accepted += event.verdict == Verdict::accept;
    sums.permanent += event.verdict == Verdict::permanent;
    sums.transient += event.verdict == Verdict::transient;
  }
  return sums;
}

}  // namespace zarn::collector
