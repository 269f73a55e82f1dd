#include "screens/screen_naming.h"

#include <utility>

#include "base/text.h"
#include "screens/class_tables.h"
#include "screens/hosted_name.h"
#include "screens/tab_bar_search.h"
#include "screens/titles.h"
#include "screens/top_label.h"
#include "screens/type_names.h"

namespace zarn::screens {
namespace {

constexpr int kMostAncestors = 32;
constexpr std::size_t kLongestClassName = 1024;  // bytes

constexpr std::string_view kTabHosts[] = {"AnyView", "NavigationStackHostingController",
                                          "TabHostingController"};

}  // namespace

std::string ScreenNaming::readableName(std::string_view text) const {
  return readable(privacy_, text, kLongestName);
}

/// What nothing shows cannot be told to be free.
bool ScreenNaming::mayRead(const platform::View& view) const {
  return view && isReadable(privacy_, view);
}

std::string ScreenNaming::title(const platform::Screen& screen) {
  return mayRead(screen.view()) ? readableName(screen.title(arena_)) : std::string();
}

std::string ScreenNaming::navigationTitle(const platform::Screen& screen) {
  const bool mayTell = mayRead(screen.view()) && mayRead(screen.navigationTitleView());
  return mayTell ? readableName(screen.navigationTitle(arena_)) : std::string();
}

/// A tab is no part of the view that it leads to, but of the one around both.
std::string ScreenNaming::tabTitle(const platform::Screen& screen) {
  const platform::Screen around = screen.parent();
  const bool mayTell = mayRead((around ? around : screen).view()) && mayRead(screen.tabView());
  return mayTell ? readableName(screen.tabTitle(arena_)) : std::string();
}

std::string ScreenNaming::tabTitleAround(const platform::Screen& screen) {
  platform::Screen around = screen;
  for (int level = 0; around && level < kMostAncestors; ++level) {
    std::string found = tabTitle(around);
    if (!found.empty()) return found;
    around = around.parent();
  }
  return tabBarTitle(screen.view());
}

std::string ScreenNaming::tabBarTitle(const platform::View& inside) {
  const platform::View window = inside ? inside.window() : platform::View();
  if (!window) return {};
  return readableName(selectedTabTitleIn(window, privacy_, arena_));
}

std::string ScreenNaming::identifier(const platform::View& view) {
  if (!mayRead(view)) return {};
  return readableName(view.accessibilityIdentifier(arena_));
}

std::string ScreenNaming::className(const platform::Screen& screen) {
  arena_.reset();
  if (!screen) return {};
  return std::string(base::prefixOfBytes(screen.classText(arena_), kLongestClassName));
}

std::string ScreenNaming::resolveScreenName(const platform::Screen& screen,
                                            std::string_view className,
                                            const model::ScreenObservation& observation) {
  arena_.reset();
  if (std::string found = title(screen); !found.empty()) return found;
  if (std::string found = navigationTitle(screen); !found.empty()) return found;
  if (std::string found = tabTitleAround(screen); !found.empty()) return found;
  const bool isInHost = isHosted(screen, className);
  if (isInHost) {
    std::string found = hostedTypeName(screen, className, arena_);
    if (isAcceptedHostedName(found, className)) return found;
  }
  if (std::string found = identifier(screen.view()); !found.empty()) return found;
  if (!observation.anchors.empty() && !observation.anchors.front().empty()) {
    return observation.anchors.front();
  }
  return isInHost ? nameInside(screen, className, observation) : std::string(className);
}

std::string ScreenNaming::nameInside(const platform::Screen& screen, std::string_view className,
                                     const model::ScreenObservation& observation) {
  tree_.look(screen.view());
  if (std::string found = hostedNameInSubviews(tree_, className); !found.empty()) return found;
  if (std::string found = topLabelText(tree_); !found.empty()) return found;
  return model::shapeName(observation.structureHash);
}

std::string ScreenNaming::resolveTabName(const platform::Screen& tabs,
                                         const platform::Screen& selected,
                                         const platform::Screen& leaf, std::string_view className) {
  arena_.reset();
  std::string name;
  if (isHosted(leaf, className)) name = hostedTypeName(leaf, className, arena_);
  if (name.empty()) name = title(leaf);
  if (name.empty()) name = className;

  const auto saysNothing = [&](std::string_view text) {
    return text == className || isOneOf(text, kTabHosts);
  };
  const std::string_view stripped = std::string_view(name).substr(0, name.find('<'));
  if (!saysNothing(name) && !saysNothing(stripped)) return name;

  const std::optional<int> index = tabs.selectedIndex();
  if (index && mayRead(tabs.view()) && mayRead(tabs.tabViewAt(*index))) {
    std::string found = readableName(tabs.tabTitleAt(*index, arena_));
    if (!found.empty()) return found;
  }
  if (selected) {
    if (std::string found = tabTitle(selected); !found.empty()) return found;
  }
  return index ? "Tab " + std::to_string(*index + 1) : name;
}

std::vector<model::NameCandidate> ScreenNaming::makeCandidates(const platform::Screen& screen,
                                                               std::string_view tapLineage,
                                                               std::string_view /*ocrText*/) {
  using Source = model::NameCandidate::Source;
  std::vector<model::NameCandidate> candidates;
  const auto add = [&](std::string text, Source source, double confidence) {
    if (!isLikelyTitle(text)) return;
    candidates.push_back({.text = std::move(text), .source = source, .confidence = confidence});
  };
  arena_.reset();
  std::string ownTitle = navigationTitle(screen);
  const bool isBarTitle = !ownTitle.empty();
  if (!isBarTitle) ownTitle = title(screen);
  add(std::move(ownTitle), Source::navTitle, isBarTitle ? 0.95 : 0.92);
  add(tabTitle(screen), Source::tabBarItem, 0.90);
  tree_.look(screen.view());
  add(bestTopLabel(tree_), Source::topLabel, 0.65);
  add(readableName(tapLineage), Source::tapLineage, 0.55);
  const std::string_view classText = screen.classText(arena_);
  // The toolkit's own class says nothing of the screen.
  if (!screen.facts().isHosted && isHumanTypeName(classText)) {
    add(std::string(withoutControllerSuffix(classText)), Source::viewControllerType, 0.30);
  }
  return candidates;
}

bool isSystemScreen(const platform::Screen& screen, std::string_view className) {
  return !screen || screen.facts().kind != platform::ScreenKind::page ||
         isOneOf(className, kSystemControllerNames) ||
         startsWithOneOf(className, kSystemControllerPrefixes);
}

bool isPlaceholderName(std::string_view name) {
  constexpr std::size_t kShapeNameCharacters = 15;
  if (name.find(' ') != std::string_view::npos && !isLikelyTitle(withoutMarks(name))) return true;
  if (name.starts_with(model::kShapeNamePrefix) &&
      base::countCharacters(name, kShapeNameCharacters + 1) == kShapeNameCharacters) {
    return true;
  }
  return endsWithOneOf(name, kPlaceholderNameSuffixes) || isOneOf(name, kPlaceholderNames);
}

}  // namespace zarn::screens
