// The label at the top of a screen that a user would take for its title. Filtered, or empty.
#pragma once

#include <string>

#include "screens/view_tree.h"

namespace zarn::screens {

/// The largest text in the upper third, whatever it says; of those of one size the uppermost.
std::string topLabelText(ViewTree& tree);

/// The text in the upper third that is most like a title by its size, weight, place and wording.
std::string bestTopLabel(ViewTree& tree);

}  // namespace zarn::screens
