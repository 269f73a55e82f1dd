// A stay of the user on one screen.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/boundaries.h"
#include "model/screen.h"
#include "zarn/value.h"

namespace zarn::capture {

enum class ExitReason : std::uint8_t {
  forward,
  back,
  dismiss,
  background,
  crash,
  terminate,
  sessionEnd,
};
/// The word on the wire, such as "session_end".
std::string_view name(ExitReason reason);

enum class TriggerKind : std::uint8_t {
  navBackButton,
  navLinkTap,
  tabBar,
  programmatic,
  systemGesture,
};
/// The word on the wire: the name of the case.
std::string_view name(TriggerKind kind);

/// What is known of a screen that the user has come to.
struct Entry {
  std::string screenId;
  std::optional<std::string> screenName;  // free of personal data
  std::vector<model::NameCandidate> nameCandidates;
  std::optional<TriggerKind> triggerKind;
  std::optional<std::string> triggerViewClass;
};

struct ScreenVisit {
  Uuid visitId;
  std::string sessionId;
  std::string releaseId;  // empty while it is not known
  std::uint32_t entryIndex = 0;
  Entry entry;
  std::uint64_t enteredAt = 0;  // milliseconds since 1970
  std::optional<std::uint64_t> exitedAt;
  std::uint32_t dwellMs = 0;
  std::uint16_t tapCount = 0;  // these begin anew after 65535
  std::uint16_t scrollCount = 0;
  ExitReason exitReason = ExitReason::forward;
  Boundaries since;  // when it began
};

}  // namespace zarn::capture
