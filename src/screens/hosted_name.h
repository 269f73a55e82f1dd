// What a hosted screen is called, whose own class is the toolkit's: the name is looked for in the
// types of what it shows. Main thread. Names of types only, which need no filter.
#pragma once

#include <string>
#include <string_view>

#include "platform/screen.h"
#include "screens/view_tree.h"

namespace zarn::screens {

bool isHosted(const platform::Screen& screen, std::string_view className);

/// From the types of its view, its own, its root and the views right below; empty without.
std::string hostedTypeName(const platform::Screen& screen, std::string_view className,
                           base::TextArena& arena);

/// From the types of the views inside of it; empty without one that says something.
std::string hostedNameInSubviews(const ViewTree& tree, std::string_view className);

/// Whether the name of a hosted screen says more than what hosts it.
bool isAcceptedHostedName(std::string_view name, std::string_view className);

}  // namespace zarn::screens
