// Finds the tab bar that a user sees in a window.
#pragma once

#include <string_view>

#include "platform/view.h"
#include "screens/view_privacy.h"

namespace zarn::screens {

/// The title of the selected tab of the first tab bar that tells one, as it stands there; empty
/// without. Hidden and masked bars don't tell. Bounded.
std::string_view selectedTabTitleIn(const platform::View& window, const ViewPrivacy& privacy,
                                    base::TextArena& arena);

}  // namespace zarn::screens
