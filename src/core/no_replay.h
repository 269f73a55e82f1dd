// In the place of session replay until there is one: it keeps nothing, so nothing is left after a
// purge.
#pragma once

#include "control/replay_control.h"

namespace zarn::core {

class NoReplay final : public control::ReplayControl {
 public:
  void setMaskInputs(bool) override {}
  void proceed(const model::ReplayRemotePolicy&) override {}
  void stop() override {}
  void discard() override {}
  void purge(base::UniqueFunction<void(bool)> done) override { done(true); }
  void clearServerPause() override {}
  void privacyBoundaryLifted() override {}
  void endAndRotate() override {}

  bool isSupported() const override { return true; }
  bool isRecording() const override { return false; }
  bool isDurationCapped() const override { return false; }
  bool isSampledOut() const override { return false; }
};

}  // namespace zarn::core
