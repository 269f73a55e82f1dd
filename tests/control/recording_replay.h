// A replay that notes what it is asked for, and whose purges fail or take their time when a test
// says so.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "control/replay_control.h"

namespace zarn::testing {

class RecordingReplay final : public control::ReplayControl {
 public:
  enum class Purges { succeed, fail, wait };
  Purges purges = Purges::succeed;

  bool masks = true;
  /// The policy that it records under.
  std::optional<model::ReplayRemotePolicy> recording;
  int starts = 0, discards = 0, purgeCount = 0, clearedPauses = 0;
  std::vector<base::UniqueFunction<void(bool)>> waiting;
  /// Called once, at the next start.
  std::function<void()> atStart;

  void setMaskInputs(bool masked) override { masks = masked; }
  void proceed(const model::ReplayRemotePolicy& policy) override {
    recording = policy;
    ++starts;
    if (auto hook = std::exchange(atStart, nullptr)) hook();
  }
  void stop() override { recording.reset(); }
  void discard() override {
    recording.reset();
    ++discards;
  }
  void purge(base::UniqueFunction<void(bool)> done) override {
    ++purgeCount;
    if (purges == Purges::wait) return waiting.push_back(std::move(done));
    done(purges == Purges::succeed);
  }
  void finishPurges() {
    for (auto& done : std::exchange(waiting, {})) done(true);
  }
  void clearServerPause() override { ++clearedPauses; }
  void privacyBoundaryLifted() override {}
  void endAndRotate() override {}

  bool isSupported() const override { return true; }
  bool isRecording() const override { return recording.has_value(); }
  bool isDurationCapped() const override { return false; }
  bool isSampledOut() const override { return false; }
};

}  // namespace zarn::testing
