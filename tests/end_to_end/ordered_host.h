// A host that a test drives order by order; see hosts/orders.h for its side.
//
//   OrderedHost host(CONSENT_HOST_PROGRAM, collector, data);   // waits until it has configured
//   host("track", "purchase");                                 // fails the test unless "done"
//   EXPECT_EQ(host.ask("flush"), "no");
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <string>

#include "support/child_process.h"
#include "support/collector_process.h"
#include "support/temp_directory.h"

namespace zarn::testing {

class OrderedHost {
 public:
  using Environment = std::vector<std::pair<std::string, std::string>>;

  /// `capturesErrors` also makes the host say what the library does; see `said`.
  OrderedHost(const char* program, const std::string& address, const std::string& data,
              Environment environment = {}, bool capturesErrors = false)
      : pipe_(openPipe()),
        host_(program, {.arguments = {address, data, folder_.file("orders")},
                        .environment = std::move(environment),
                        .capturesErrors = capturesErrors}) {
    EXPECT_EQ(nextAnswer(), "ready");
  }
  ~OrderedHost() { close(pipe_); }
  OrderedHost(const OrderedHost&) = delete;
  OrderedHost& operator=(const OrderedHost&) = delete;

  std::string ask(const std::string& order, const std::string& argument = {}) {
    give(argument.empty() ? order : order + " " + argument);
    return nextAnswer();
  }
  void operator()(const std::string& order, const std::string& argument = {}) {
    EXPECT_EQ(ask(order, argument), "done") << order << " " << argument;
  }
  void kill() {
    host_.signal(SIGKILL);
    EXPECT_EQ(host_.wait(kPatience).signal, SIGKILL);
  }
  void exit() {
    give("exit");
    const ChildEnd end = host_.wait(kPatience);
    EXPECT_TRUE(end.isClean()) << end;
    said_ += host_.output();
  }
  /// What it printed beside its answers; whole after `exit`.
  const std::string& said() const { return said_; }

 private:
  static constexpr std::chrono::seconds kPatience{30};

  int openPipe() {
    const std::string path = folder_.file("orders");
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    // Open at both ends, so that the host finds a writer whenever it looks.
    return open(path.c_str(), O_RDWR | O_CLOEXEC);
  }
  void give(const std::string& order) {
    const std::string line = order + "\n";
    EXPECT_EQ(write(pipe_, line.data(), line.size()), static_cast<ssize_t>(line.size()));
  }
  std::string nextAnswer() {
    while (const auto line = host_.readLine(kPatience)) {
      if (line->rfind("[Zarn", 0) != 0) return *line;
      said_ += *line + "\n";
    }
    return "no answer";
  }

  TempDirectory folder_;
  int pipe_;
  ChildProcess host_;
  std::string said_;
};

}  // namespace zarn::testing
