#include "capture/tab_bar_observer.h"

#include <optional>
#include <utility>

#include "capture/hooked.h"
#include "capture/visible_leaf.h"
#include "platform/screen_events.h"
#include "platform/windows.h"

namespace zarn::capture {
namespace {

constexpr int kDeepest = 32;
/// Screens looked at in one scan: an app may keep very many of them.
constexpr int kMostScreens = 1000;

}  // namespace

TabBarObserver::TabBarObserver(platform::Windows& windows, platform::ScreenEvents& events,
                               OnTabChange onTabChange)
    : windows_(windows), events_(events), onTabChange_(std::move(onTabChange)) {}

TabBarObserver::~TabBarObserver() = default;

void TabBarObserver::scanExistingWindows() {
  int budget = kMostScreens;
  windows_.each([&](const platform::Window& window) {
    if (window.screen) observeTree(window.screen, 0, budget);
    return true;
  });
}

void TabBarObserver::startObservingWindows() {
  windows_.listen(hooked(scope_, [this] { scanExistingWindows(); }));
}

void TabBarObserver::observeAround(const platform::Screen& screen) {
  platform::Screen around = screen;
  for (int depth = 0; around && depth < kDeepest; ++depth) {
    if (around.facts().kind == platform::ScreenKind::tabs) observe(around);
    around = around.parent();
  }
}

void TabBarObserver::observeTree(const platform::Screen& screen, int depth, int& budget) {
  if (depth > kDeepest || --budget < 0) return;
  if (screen.facts().kind == platform::ScreenKind::tabs) observe(screen);
  screen.eachChild([&](const platform::Screen& child) {
    observeTree(child, depth + 1, budget);
    return budget > 0;
  });
  if (const platform::Screen over = screen.presented()) observeTree(over, depth + 1, budget);
}

void TabBarObserver::observe(const platform::Screen& tabs) {
  const std::uint64_t id = tabs.id();
  if (observed_.find(id) != nullptr) return;
  // Entered first, so that it counts as observed whatever happens meanwhile.
  observed_.add(tabs, nullptr);
  auto selection = events_.observeSelection(
      tabs, hooked(scope_, [this, id](std::optional<int> before, std::optional<int> after) {
        if (before != after) tabChanged(id);
      }));
  if (auto* entry = observed_.find(id)) entry->kept = std::move(selection);
}

void TabBarObserver::tabChanged(std::uint64_t id) {
  auto* const entry = observed_.find(id);
  const platform::Screen tabs = entry != nullptr ? entry->screen.lock() : platform::Screen();
  if (!tabs) return;
  const platform::Screen selected = tabs.selected();
  if (!selected) return;
  onTabChange_(tabs, selected, visibleLeaf(selected));
}

}  // namespace zarn::capture
