#include "client_process.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <cstdlib>
#include <future>
#include <regex>

#include "support/child_process.h"
#include "zarn/desktop.h"
#include "zarn/qt.h"
#include "zarn/zarn.h"

namespace zarn::testing {
namespace {

constexpr const char* kFolder = "ZARN_TEST_QT_CLIENT_FOLDER";
constexpr const char* kServer = "ZARN_TEST_QT_CLIENT_SERVER";

LoopbackAnswer acceptAll(const LoopbackRequest& request) {
  if (request.path.find("/batch") == std::string::npos) {
    return {.body = R"({"release_id":"r1","app_id":"a1","data_collection":{},)"
                    R"("dataCollection":{},"paused":false,"exists":true})"};
  }
  static const std::regex id(R"re("event_id":("[^"]+"))re");
  std::string ids;
  for (std::sregex_iterator at(request.body.begin(), request.body.end(), id), end; at != end;
       ++at) {
    ids += (ids.empty() ? "" : ",") + (*at)[1].str();
  }
  return {.body = R"({"accepted_event_ids":[)" + ids + "]}"};
}

}  // namespace

ClientProcess::ClientProcess(std::string test) : test_(std::move(test)) {
  server_.answerBy(acceptAll);
}

int ClientProcess::run(std::chrono::seconds patience) {
  ChildProcess process("/proc/self/exe",
                       {.arguments = {"--gtest_filter=" + test_},
                        .environment = {{kFolder, folder_.path()}, {kServer, server_.url("")}},
                        .capturesErrors = true});
  const ChildEnd end = process.wait(patience);
  output_ = process.output();
  if (output_.find("[  SKIPPED ]") != std::string::npos) return -1;
  return end.isClean() ? 0 : end.code != 0 ? end.code : -1;
}

std::string ClientProcess::sent() const {
  std::string sent;
  for (const auto& request : server_.requests()) sent += request.body;
  return sent;
}

bool ClientProcess::isThis() {
  return ::getenv(kFolder) != nullptr;
}

void ClientProcess::startClient() {
  desktop::describeHost({.bundleId = "com.example.shop", .dataDirectory = ::getenv(kFolder)});
  qt::attach(*qApp);
  Zarn::configure("wk_test_x_qt_abc", {.apiHost = ::getenv(kServer)});
  flush();
}

void ClientProcess::flush() {
  // Not on this thread, which it would block.
  const auto isSent = [] {
    auto sent = std::async(std::launch::async, [] { return Zarn::flush(0.2); });
    while (sent.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
      QCoreApplication::processEvents();
    }
    return sent.get();
  };
  EXPECT_TRUE(QTest::qWaitFor(isSent, 20'000));
}

}  // namespace zarn::testing
