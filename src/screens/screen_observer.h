// observe: one look at a screen in sight, which tells its shape, its state and a few texts that it
// can be recognised by.
#pragma once

#include "model/screen.h"
#include "platform/view.h"
#include "screens/view_privacy.h"
#include "screens/view_tree.h"

namespace zarn::screens {

/// Main thread. Reads only what may be read; allocates nothing per node.
class ScreenObserver {
 public:
  explicit ScreenObserver(const ViewPrivacy& privacy) : tree_(privacy) {}

  model::ScreenObservation observe(const platform::View& root);

 private:
  ViewTree tree_;
};

}  // namespace zarn::screens
