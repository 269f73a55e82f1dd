// In the place of session replay until there is one: it keeps nothing, so nothing is left after a
// purge. What is to be masked counts for other pictures too.
#pragma once

#include "control/replay_control.h"
#include "redaction/redaction_engine.h"

namespace zarn::core {

class MaskingOnly final : public control::ReplayControl {
 public:
  explicit MaskingOnly(redaction::RedactionEngine& redaction) : redaction_(redaction) {}

  void setMaskInputs(bool masks) override { redaction_.setMaskInputs(masks); }
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

 private:
  redaction::RedactionEngine& redaction_;
};

}  // namespace zarn::core
