// Whether a screen is still loading, or what it has to show.
#pragma once

#include "model/screen.h"
#include "screens/view_tree.h"

namespace zarn::screens {

/// - loading: something turns, or bars stand where text will be, on the screen or in its first list
///   that tells;
/// - empty: that list has no rows; error: nor has it, and what lies over it can be operated, as a
///   button to try again;
/// - populated: all lists have rows; normal: there is no list.
model::ScreenState classifyState(const ViewTree& tree);

}  // namespace zarn::screens
