// One app for all tests of a process, drawn where no display is needed.
#include <gtest/gtest.h>

#include <QApplication>

#include "qt/gui_thread.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  // The look that needs no further package, and no settings of the user's.
  qputenv("QT_QUICK_CONTROLS_STYLE", "Basic");
  QApplication app(argc, argv);
  zarn::qt::noteGuiThread();
  return RUN_ALL_TESTS();
}
