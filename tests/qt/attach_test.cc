// A whole client inside a Qt app. It is one for the process, so it gets a process of its own.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QFileOpenEvent>
#include <QNetworkAccessManager>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <QWindow>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>

#include "platform/dispatch.h"
#include "platform/host.h"
#include "platform/input_events.h"
#include "support/loopback_server.h"
#include "support/temp_directory.h"
#include "zarn/desktop.h"
#include "zarn/qt.h"
#include "zarn/zarn.h"

namespace zarn::qt {
namespace {

constexpr const char* kFolder = "ZARN_TEST_QT_FOLDER";
constexpr const char* kServer = "ZARN_TEST_QT_SERVER";

/// A server that allows everything and accepts every event.
testing::LoopbackAnswer welcome(const testing::LoopbackRequest& request) {
  if (request.path.find("/init") != std::string::npos) {
    return {.body = R"({"release_id":"r1","app_id":"a1","data_collection":{}})"};
  }
  if (request.path.find("/batch") == std::string::npos) {
    return {.body = R"({"dataCollection":{},"paused":false})"};
  }
  static const std::regex id(R"re("event_id":("[^"]+"))re");
  std::string ids;
  for (std::sregex_iterator at(request.body.begin(), request.body.end(), id), end; at != end;
       ++at) {
    ids += (ids.empty() ? "" : ",") + (*at)[1].str();
  }
  return {.body = R"({"accepted_event_ids":[)" + ids + "]}"};
}

/// In a process of its own, started by the test below.
TEST(AttachProcess, Run) {
  if (!::getenv(kFolder)) GTEST_SKIP() << "runs in a process that another test starts";
  const auto guiThread = std::this_thread::get_id();
  desktop::describeHost({.bundleId = "com.example.shop", .dataDirectory = ::getenv(kFolder)});
  std::thread([] { attach(*qApp); }).join();  // has no effect but a line
  attach(*qApp);
  attach(*qApp);
  Zarn::configure("wk_test_x_qt_abc", {.apiHost = ::getenv(kServer)});

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
  if (!::getenv(kFolder)) GTEST_SKIP() << "runs in a process that another test starts";
  desktop::describeHost({.bundleId = "com.example.shop", .dataDirectory = ::getenv(kFolder)});
  attach(*qApp);
  Zarn::configure("wk_test_x_qt_abc", {.apiHost = ::getenv(kServer)});
  auto& main = platform::processHost().dispatch.main();
  main.postAfter(base::seconds(3600), [] {});
  QCoreApplication::processEvents();
  main.post([] {});
}

/// The end of a process of its own that runs one of the tests above.
int runInProcess(const char* filter, const std::string& folder, const std::string& server) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv(kFolder, folder.c_str(), 1);
    ::setenv(kServer, server.c_str(), 1);
    ::execl("/proc/self/exe", "qt_tests", filter, nullptr);
    ::_exit(127);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

TEST(Attach, GivesAClientThatLivesInTheLoopAndOutlivesIt) {
  testing::LoopbackServer server;
  server.answerBy(welcome);
  const testing::TempDirectory folder;
  EXPECT_EQ(runInProcess("--gtest_filter=AttachProcess.Run", folder.path(), server.url("")), 0);
  std::string sent;
  for (const auto& request : server.requests()) sent += request.body;
  EXPECT_NE(sent.find("after the loop"), std::string::npos) << sent;
}

TEST(Attach, LetsAnAppEndThatRanNoLoop) {
  testing::LoopbackServer server;
  server.answerBy(welcome);
  const testing::TempDirectory folder;
  EXPECT_EQ(
      runInProcess("--gtest_filter=AttachProcess.RunWithoutALoop", folder.path(), server.url("")),
      0);
}

}  // namespace
}  // namespace zarn::qt
