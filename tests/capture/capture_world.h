// A small app on the fake toolkit, and Capture following it: what it tells is written down.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/json.h"
#include "capture/capture.h"
#include "support/fake_services.h"
#include "support/fake_toolkit.h"
#include "support/manual_dispatch.h"
#include "zarn/options.h"

namespace zarn::capture {

struct ToldEvent {
  model::EventType type;
  std::string name;
  Properties properties;

  /// As JSON; "absent" where there is no such property.
  std::string text(std::string_view key) const {
    const Value* value = properties.find(key);
    if (value == nullptr) return "absent";
    std::string json;
    base::JsonWriter(json).value(*value);
    return json;
  }
};

struct Offered {
  std::uint64_t screen;
  ScreenSeen seen;
};

/// Masks what is marked, and takes one address out of texts.
inline screens::ViewPrivacy testPrivacy() {
  return {.masks =
              [](const platform::View& view) {
                const auto facts = view.facts();
                return facts.isMarkedPrivate || facts.isSecureTextEntry;
              },
          .filter =
              [](std::string_view text) {
                std::string filtered(text);
                constexpr std::string_view kSecret = "anna@example.org";
                const auto at = filtered.find(kSecret);
                if (at != std::string::npos) filtered.replace(at, kSecret.size(), "[redacted]");
                return filtered;
              }};
}

/// A whole page with a title, so many labels below each other, and a button.
struct Page {
  testing::ScreenPtr screen;
  testing::NodePtr window;
  testing::NodePtr button;
};

class CaptureWorld {
 public:
  CaptureWorld() { dispatch.main().setCurrent(true); }

  Capture& start(const ConfigurationOptions& options = {}, bool mayRecord = true) {
    capture = std::make_unique<Capture>(parts(), testPrivacy(), actions(), options);
    capture->start(mayRecord);
    return *capture;
  }

  CaptureParts parts() {
    return {.main = dispatch.main(),
            .clock = clock,
            .random = random,
            .defaults = defaults,
            .device = device,
            .screens = ui.screens,
            .windows = ui.windows,
            .input = ui.input};
  }

  CaptureActions actions() {
    const auto admit = [this](model::EventType type, std::string_view name,
                              const Properties& properties) {
      if (!mayCollect) return false;
      told.push_back({type, std::string(name), properties});
      return true;
    };
    return {.admit = admit,
            .admitSince =
                [this, admit](model::EventType type, std::string_view name,
                              const Properties& properties, Boundaries since) {
                  return since == boundaries() && admit(type, name, properties);
                },
            .boundaries = [this] { return boundaries(); },
            .flushQueue = [this] { ++flushes; },
            .addBreadcrumb = [this](const Breadcrumb& crumb) { crumbs.push_back(crumb); },
            .mayCollect = [this] { return mayCollect; },
            .sessionId = [] { return std::string("session"); },
            .releaseId = [] { return std::string(); },
            .offer =
                [this](const platform::Screen& screen, const ScreenSeen& seen) {
                  offers.push_back({screen.id(), seen});
                }};
  }

  Boundaries boundaries() const { return {discards.current(), pauses.current()}; }

  // What the client does at its boundaries.
  void optOut() {
    mayCollect = false;
    discards.bump();
    capture->discardHeld();
  }
  void optIn() {
    capture->discardHeld();
    mayCollect = true;
    capture->restart();
  }
  void reset() {
    discards.bump();
    capture->discardHeld();
    capture->restart();
  }
  void pause() {
    mayCollect = false;
    pauses.bump();
  }
  void resume() { mayCollect = true; }

  /// A page of a shape of its own: as many labels as `shape` says.
  Page page(const std::string& title, int shape) {
    std::vector<testing::NodePtr> nodes;
    for (int i = 0; i < shape; ++i) {
      nodes.push_back(ui.label("row", {16, 200 + 30.0 * i, 300, 20}));
    }
    auto button = ui.button("Next", {16, 780, 300, 44});
    nodes.push_back(button);
    auto view = ui.node({.classText = "PageView", .frame = {0, 0, 390, 844}}, std::move(nodes));
    auto screen = ui.screen({.classText = "ShopPage", .view = view, .title = title});
    auto window = ui.window(screen);
    return {screen, window, button};
  }
  void background() { capture->handle(platform::LifeEvent::didEnterBackground); }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const ToldEvent& event : told) all.push_back(event.name);
    return all;
  }
  std::vector<ToldEvent> events(model::EventType type) const {
    std::vector<ToldEvent> found;
    for (const ToldEvent& event : told) {
      if (event.type == type) found.push_back(event);
    }
    return found;
  }

  testing::ManualClock clock;
  testing::ManualDispatch dispatch{clock};
  testing::FakeRandom random;
  testing::FakeDefaults defaults;
  testing::FakeDevice device;
  testing::FakeToolkit ui;

  bool mayCollect = true;
  base::Generation<events::EventQueue> discards;
  control::ServerPauses pauses;
  std::vector<ToldEvent> told;
  std::vector<Breadcrumb> crumbs;
  std::vector<Offered> offers;
  int flushes = 0;

  std::unique_ptr<Capture> capture;
};

}  // namespace zarn::capture
