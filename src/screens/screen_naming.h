// What a screen is called: the one name that events carry, by a fixed ladder of sources, and the
// candidates that the server may choose from.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/screen.h"
#include "platform/screen.h"
#include "screens/view_privacy.h"
#include "screens/view_tree.h"

namespace zarn::screens {

/// Main thread. All texts come filtered, and none from a view that is masked or lies inside one;
/// nor are the titles of a screen told whose own view is, or is not there. Types are told as they
/// are.
class ScreenNaming {
 public:
  /// In characters; longer names are cut.
  static constexpr std::size_t kLongestName = 100;

  explicit ScreenNaming(const ViewPrivacy& privacy) : privacy_(privacy), tree_(privacy) {}

  /// The class text of the screen.
  std::string className(const platform::Screen& screen);
  /// The first that there is: its title; its navigation title; the title of its tab or of one
  /// around it; the type of what it hosts; the identifier of its view; its first anchor; for a
  /// hosted one a type or label inside of it, or its shape; its class. May be a placeholder, see
  /// isPlaceholderName.
  std::string resolveScreenName(const platform::Screen& screen, std::string_view className,
                                const model::ScreenObservation& observation);
  /// The name of a tab's content after the selection has changed: that of the content, or else of
  /// the tab, or else its number. "Tab 3" is no placeholder here.
  std::string resolveTabName(const platform::Screen& tabs, const platform::Screen& selected,
                             const platform::Screen& leaf, std::string_view className);
  /// `tapLineage`: the text of the control that led here; empty without. `ocrText`: what has been
  /// read from pixels; gives no candidate yet.
  std::vector<model::NameCandidate> makeCandidates(const platform::Screen& screen,
                                                   std::string_view tapLineage,
                                                   std::string_view ocrText);

 private:
  std::string readableName(std::string_view text) const;
  bool mayRead(const platform::View& view) const;
  std::string title(const platform::Screen& screen);
  std::string navigationTitle(const platform::Screen& screen);
  std::string tabTitle(const platform::Screen& screen);
  std::string tabTitleAround(const platform::Screen& screen);
  std::string tabBarTitle(const platform::View& inside);
  std::string identifier(const platform::View& view);
  std::string nameInside(const platform::Screen& screen, std::string_view className,
                         const model::ScreenObservation& observation);

  const ViewPrivacy& privacy_;
  ViewTree tree_;
  base::TextArena arena_;
};

/// Whether the toolkit's or system's own screens are meant: they are never told of.
bool isSystemScreen(const platform::Screen& screen, std::string_view className);
/// Whether a name says nothing. What was taken out of it counts neither for it nor against it.
bool isPlaceholderName(std::string_view name);

}  // namespace zarn::screens
