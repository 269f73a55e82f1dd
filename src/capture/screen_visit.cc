#include "capture/screen_visit.h"

namespace zarn::capture {

std::string_view name(ExitReason reason) {
  switch (reason) {
    case ExitReason::forward:
      return "forward";
    case ExitReason::back:
      return "back";
    case ExitReason::dismiss:
      return "dismiss";
    case ExitReason::background:
      return "background";
    case ExitReason::crash:
      return "crash";
    case ExitReason::terminate:
      return "terminate";
    case ExitReason::sessionEnd:
      return "session_end";
  }
  return "";
}

std::string_view name(TriggerKind kind) {
  switch (kind) {
    case TriggerKind::navBackButton:
      return "navBackButton";
    case TriggerKind::navLinkTap:
      return "navLinkTap";
    case TriggerKind::tabBar:
      return "tabBar";
    case TriggerKind::programmatic:
      return "programmatic";
    case TriggerKind::systemGesture:
      return "systemGesture";
  }
  return "";
}

}  // namespace zarn::capture
