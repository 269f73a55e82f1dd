// What the control plane asks of session replay.
#pragma once

#include "base/closure.h"
#include "model/replay_policy.h"

namespace zarn::control {

/// Any thread. Nothing here waits, throws or calls back inside the call, but for what `purge` says.
class ReplayControl {
 public:
  virtual ~ReplayControl() = default;

  /// Text in input fields is masked; true until the first call.
  virtual void setMaskInputs(bool masks) = 0;
  /// Replay may record under this policy; whether it does is its own decision.
  virtual void proceed(const model::ReplayRemotePolicy& policy) = 0;
  /// Stops recording; what is captured stays.
  virtual void stop() = 0;
  /// Stops recording and forgets what has not been written yet.
  virtual void discard() = 0;
  /// Deletes all that was captured and not delivered, then calls `done` on whatever thread, maybe
  /// inside the call; with false when something could not be deleted.
  virtual void purge(base::UniqueFunction<void(bool)> done) = 0;
  /// The server's pause is over.
  virtual void clearServerPause() = 0;
  /// The user allows tracking again.
  virtual void privacyBoundaryLifted() = 0;
  /// Ends the recording; what comes after the next `proceed` is another user's.
  virtual void endAndRotate() = 0;

  /// Whether the system is recent enough to record on.
  virtual bool isSupported() const = 0;
  virtual bool isRecording() const = 0;
  /// The last recording ended because it had reached its longest duration.
  virtual bool isDurationCapped() const = 0;
  /// The last start was refused by the sampling.
  virtual bool isSampledOut() const = 0;
};

}  // namespace zarn::control
