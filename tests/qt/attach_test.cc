#include "zarn/qt.h"

#include <gtest/gtest.h>

#include <QApplication>

namespace zarn::qt {
namespace {

TEST(Attach, MayBeRepeated) {
  attach(*qApp);
  attach(*qApp);
}

}  // namespace
}  // namespace zarn::qt
