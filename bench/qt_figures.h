// What the library costs the user interface of a Qt app.
#pragma once

#include "figures.h"

namespace zarn::bench {

/// Of an app that runs the same with the library and without. Adds nothing where the app was not
/// built.
void addQtFigures(Figures& figures);

}  // namespace zarn::bench
