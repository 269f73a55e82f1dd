// A whole client inside a Qt app. It is one for the process, so it gets a process of its own.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFileOpenEvent>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <QWindow>
#include <string>
#include <thread>

#include "client_process.h"
#include "platform/dispatch.h"
#include "platform/host.h"
#include "platform/input_events.h"
#include "zarn/qt.h"
#include "zarn/zarn.h"

namespace zarn::qt {
namespace {

using testing::ClientProcess;

/// In a process of its own, started by the test below.
TEST(AttachProcess, Run) {
  if (!ClientProcess::isThis()) GTEST_SKIP() << "runs in a process that another test starts";
  const auto guiThread = std::this_thread::get_id();
  std::thread([] { attach(*qApp); }).join();  // has no effect but a line
  ClientProcess::startClient();
  attach(*qApp);

  auto& host = platform::processHost();
  int taps = 0;
  host.input.listen({.tapped = [&](const platform::Touch&) { ++taps; }});
  QWidget window;
  window.resize(100, 100);
  window.show();
  EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  QTest::mouseClick(window.windowHandle(), Qt::LeftButton);
  EXPECT_EQ(taps, 1);

  bool wasLinked = false;
  Zarn::onDeepLink([&](const ZarnDeepLink& link) {
    EXPECT_EQ(std::this_thread::get_id(), guiThread);
    EXPECT_EQ(link.path, "/7");
    wasLinked = true;
    QCoreApplication::quit();
  });
  QTimer::singleShot(0, [] {
    QFileOpenEvent event(QUrl("shop://product/7"));
    QCoreApplication::sendEvent(qApp, &event);
  });
  QTimer::singleShot(20000, [] { QCoreApplication::exit(1); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
  EXPECT_TRUE(wasLinked);

  // The loop is over, the client is not.
  Zarn::track("after the loop");
  EXPECT_TRUE(QTest::qWaitFor([] { return Zarn::flush(1.0); }, 10000));
  EXPECT_FALSE(host.dispatch.main().isCurrent());
  QTest::mouseClick(window.windowHandle(), Qt::LeftButton);
  EXPECT_EQ(taps, 1) << "what is told here would meet what runs there";
  EXPECT_FALSE(host.input.hitTest({}, {}));
}

/// The app dies at the end of main, with a timer of ours set.
TEST(AttachProcess, RunWithoutALoop) {
  if (!ClientProcess::isThis()) GTEST_SKIP() << "runs in a process that another test starts";
  ClientProcess::startClient();
  auto& main = platform::processHost().dispatch.main();
  main.postAfter(base::seconds(3600), [] {});
  QCoreApplication::processEvents();
  main.post([] {});
}

TEST(Attach, GivesAClientThatLivesInTheLoopAndOutlivesIt) {
  ClientProcess process("AttachProcess.Run");
  EXPECT_EQ(process.run(), 0) << process.output();
  const std::string sent = process.sent();
  EXPECT_NE(sent.find("after the loop"), std::string::npos) << sent;
}

TEST(Attach, LetsAnAppEndThatRanNoLoop) {
  ClientProcess process("AttachProcess.RunWithoutALoop");
  EXPECT_EQ(process.run(), 0) << process.output();
}

}  // namespace
}  // namespace zarn::qt
