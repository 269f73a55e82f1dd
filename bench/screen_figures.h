// What looking at screens costs, on the toolkit of the tests: the logic without a real one's share.
#pragma once

#include "figures.h"

namespace zarn::bench {

/// One look at a page of 200 views, a storm of layout signals, and the search for what a picture
/// must not show.
void addScreenFigures(Figures& figures);

}  // namespace zarn::bench
