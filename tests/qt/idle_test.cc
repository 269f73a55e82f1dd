// What the library does while the app does nothing, or nothing but turn a spinner.
#include <QElapsedTimer>
#include <QTest>

#include "client_process.h"
#include "own_events.h"
#include "qml_app.h"

namespace zarn::testing {
namespace {

constexpr int kWatchedMs = 1500;  // longer than any wait of ours on the screen in sight

/// The library's events and the app's frames, as they went in a while of real time.
class Watch {
 public:
  explicit Watch(QQuickWindow& window) {
    QObject::connect(&window, &QQuickWindow::afterAnimating, &own_, [this] { ++frames_; });
  }
  struct Seen {
    int tasks, looks, others, frames;
  };
  Seen during(int milliseconds) {
    const Seen before = now();
    QTest::qWait(milliseconds);
    const Seen after = now();
    return {after.tasks - before.tasks, after.looks - before.looks, after.others - before.others,
            after.frames - before.frames};
  }
  /// Until no task has run for a while; false when there is always another one.
  bool settle() {
    QElapsedTimer time;
    for (time.start(); time.elapsed() < 30'000;) {
      if (during(kWatchedMs).tasks == 0) return true;
    }
    return false;
  }

 private:
  Seen now() const { return {own_.tasks, own_.looks, own_.others, frames_}; }

  OwnEvents own_;
  int frames_ = 0;
};

TEST(IdleProcess, Run) {
  if (!ClientProcess::isThis()) GTEST_SKIP() << "runs in a process that another test starts";
  ClientProcess::startClient();
  QmlApp app(QmlApp::Documents{{"Main", R"(ApplicationWindow {
    function load() { spinner.visible = true }
    StackView { anchors.fill: parent; initialItem: Page { title: 'Kettles'
      Column {
        Label { text: 'Blue kettle' }
        Button { text: 'Add' }
        BusyIndicator { id: spinner; visible: false; running: visible }
        Rectangle { visible: spinner.visible; width: 20; height: 20
          RotationAnimator on rotation { running: spinner.visible; to: 360; loops: -1 } } } } } })"}});
  Watch watch(app.window());

  ASSERT_TRUE(watch.settle());
  const Watch::Seen atRest = watch.during(kWatchedMs);
  EXPECT_EQ(atRest.frames, 0);
  EXPECT_EQ(atRest.tasks, 0);
  EXPECT_EQ(atRest.looks, 0);
  EXPECT_EQ(atRest.others, 0);

  app.call("load");
  EXPECT_GT(watch.during(kWatchedMs).tasks, 0) << "the page has changed";
  ASSERT_TRUE(watch.settle());
  const Watch::Seen turning = watch.during(kWatchedMs);
  EXPECT_GT(turning.frames, 10);
  EXPECT_EQ(turning.tasks, 0) << "a turning spinner changes nothing";
  EXPECT_GT(turning.looks, 0);
  EXPECT_LE(turning.looks, kWatchedMs / 100 + 1);
  EXPECT_EQ(turning.others, 0);
}

TEST(Idle, RunsNothingOnTheThreadOfTheUserInterface) {
  ClientProcess process("IdleProcess.Run");
  EXPECT_EQ(process.run(), 0) << process.output();
}

}  // namespace
}  // namespace zarn::testing
