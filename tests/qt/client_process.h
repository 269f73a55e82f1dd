// A whole client inside a Qt app. There is one for a process, so a test that needs one runs in a
// process of its own:
//
//   TEST(IdleProcess, Run) {
//     if (!ClientProcess::isThis()) GTEST_SKIP();
//     ClientProcess::startClient();
//     ...
//   }
//   TEST(Idle, CostsNothing) {
//     ClientProcess process("IdleProcess.Run");
//     EXPECT_EQ(process.run(), 0) << process.output();
//   }
#pragma once

#include <chrono>
#include <string>

#include "support/loopback_server.h"
#include "support/temp_directory.h"

namespace zarn::testing {

class ClientProcess {
 public:
  explicit ClientProcess(std::string test);

  /// What the process ended with; 0 when the test has passed, and not been skipped.
  int run(std::chrono::seconds patience = std::chrono::seconds(200));
  const std::string& output() const { return output_; }
  /// Requests that it has sent to a server that allows everything and accepts every event.
  std::string sent() const;

  /// Whether it is the one that the code runs in.
  static bool isThis();
  /// Attached and configured, with the answer of the server.
  static void startClient();
  /// Everything that has been told is with the server.
  static void flush();

 private:
  const std::string test_;
  std::string output_;
  TempDirectory folder_;
  LoopbackServer server_;
};

}  // namespace zarn::testing
