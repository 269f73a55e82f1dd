// LifecycleTracker: tells the app's own life.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

#include "platform/life_events.h"
#include "zarn/value.h"

namespace zarn::platform {
class Defaults;
class Device;
}  // namespace zarn::platform

namespace zarn::capture {

/// Any thread.
class LifecycleTracker {
 public:
  using OnEvent = std::function<void(std::string_view name, const Properties&)>;
  LifecycleTracker(platform::Defaults& defaults, platform::Device& device, OnEvent onEvent)
      : defaults_(defaults), device_(device), onEvent_(std::move(onEvent)) {}

  /// Once, at start-up.
  void emitLaunch();
  void handle(platform::LifeEvent event);

 private:
  // Constant after construction.
  platform::Defaults& defaults_;
  platform::Device& device_;
  const OnEvent onEvent_;
};

}  // namespace zarn::capture
