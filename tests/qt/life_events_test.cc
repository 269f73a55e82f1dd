#include "qt/life_events.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QWidget>
#include <QWindow>
#include <utility>
#include <vector>

#include "desktop/life_events.h"
#include "qt/app_events.h"
#include "qt/main_executor.h"

namespace zarn::qt {
namespace {

using platform::LifeEvent;
using Told = std::vector<LifeEvent>;

class QtLifeEventsTest : public ::testing::Test {
 protected:
  QtLifeEventsTest() {
    events_.install({.windowsChanging = [this] { life_.changing(); },
                     .opened = [](const QUrl&) {},
                     .madeByManager = [](QNetworkAccessManager&, QObject&) {}});
    life_.start([this](LifeEvent event) { told_.push_back(event); });
  }
  ~QtLifeEventsTest() override { life_.stop(); }

  Told takeTold() {
    QCoreApplication::processEvents();
    return std::exchange(told_, {});
  }

  desktop::ProcessLifeEvents plain_;
  MainExecutor main_;
  QtLifeEvents life_{plain_, main_};
  AppEvents events_;
  Told told_;
};

TEST_F(QtLifeEventsTest, TheAppIsInFrontWhileAWindowCanBeSeen) {
  EXPECT_EQ(takeTold(), Told{}) << "an app without a window is not in the back before it had one";
  QWindow first;
  first.show();
  EXPECT_EQ(takeTold(), Told{LifeEvent::didBecomeActive});
  QWidget second;
  second.show();
  first.hide();
  EXPECT_EQ(takeTold(), Told{});
  second.hide();
  EXPECT_EQ(takeTold(), Told{LifeEvent::didEnterBackground});
  first.show();
  EXPECT_EQ(takeTold(), (Told{LifeEvent::willEnterForeground, LifeEvent::didBecomeActive}));
  first.showMinimized();
  EXPECT_EQ(takeTold(), Told{LifeEvent::didEnterBackground});
  first.showNormal();
  EXPECT_EQ(takeTold().size(), 2U);
  // Another page in place of the one: nobody left.
  first.hide();
  second.show();
  EXPECT_EQ(takeTold(), Told{});
}

TEST_F(QtLifeEventsTest, AnAppThatIsInFrontAlreadyIsToldToWhoeverComesLater) {
  life_.stop();
  QWindow window;
  window.show();
  EXPECT_EQ(takeTold(), Told{});
  life_.start([this](LifeEvent event) { told_.push_back(event); });
  QCoreApplication::processEvents();
  EXPECT_EQ(takeTold(), Told{LifeEvent::didBecomeActive});
}

TEST_F(QtLifeEventsTest, TheEndIsToldOnceWhicheverWayItComes) {
  life_.terminate();
  EXPECT_EQ(told_, Told{LifeEvent::willTerminate});
  plain_.terminate();
  life_.terminate();
  QWindow late;
  late.show();
  EXPECT_EQ(takeTold(), Told{LifeEvent::willTerminate});
}

TEST_F(QtLifeEventsTest, AnExitWithoutALoopIsTheEndToo) {
  plain_.terminate();
  EXPECT_EQ(told_, Told{LifeEvent::willTerminate});
}

}  // namespace
}  // namespace zarn::qt
