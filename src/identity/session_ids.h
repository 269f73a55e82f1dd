// The session id that an event carries: the tracker's, or the fallback's where nothing is tracked.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "identity/fallback_session.h"
#include "identity/session_tracker.h"

namespace zarn::identity {

/// Any thread, once it is settled whether there is a tracker.
class SessionIds {
 public:
  /// Both outlive this object; a tracker may still be put in its place.
  SessionIds(FallbackSession& fallback, std::optional<SessionTracker>& tracker)
      : fallback_(fallback), tracker_(tracker) {}

  std::shared_ptr<const std::string> id() const {
    return tracker_ ? tracker_->currentSessionId() : fallback_.id();
  }

  /// For a privacy boundary: from here on no event carries an id from before it.
  void renew() {
    fallback_.renew();
    if (tracker_) tracker_->renew();
  }

 private:
  FallbackSession& fallback_;
  std::optional<SessionTracker>& tracker_;
};

}  // namespace zarn::identity
