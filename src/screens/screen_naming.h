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

namespace zarn::screens {

/// Main thread. All texts come filtered, and none from a view that is masked or lies inside one.
class ScreenNaming {
 public:
  explicit ScreenNaming(const ViewPrivacy& privacy) : privacy_(privacy) {}

  /// The class text of the screen.
  std::string className(const platform::Screen& screen);
  /// May be a placeholder, see isPlaceholderName.
  std::string resolveScreenName(const platform::Screen& screen, std::string_view className,
                                const model::ScreenObservation& observation);
  /// The name of a tab's content after the selection has changed.
  std::string resolveTabName(const platform::Screen& tabs, const platform::Screen& selected,
                             const platform::Screen& leaf, std::string_view className);
  /// `tapLineage`: the text of the control that led here; empty without. `ocrText` likewise.
  std::vector<model::NameCandidate> makeCandidates(const platform::Screen& screen,
                                                   std::string_view tapLineage,
                                                   std::string_view ocrText);

 private:
  const ViewPrivacy& privacy_;
  base::TextArena arena_;
};

/// Whether the toolkit's or system's own screens are meant: they are never told of.
bool isSystemScreen(const platform::Screen& screen, std::string_view className);
/// Whether a name says nothing.
bool isPlaceholderName(std::string_view name);

}  // namespace zarn::screens
