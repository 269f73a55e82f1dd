// How a test tells a host what to do: one order a line, each answered by a line on standard output.
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "zarn/zarn.h"

namespace zarn::testing {

inline void answer(std::string line) {
  line += '\n';
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) std::abort();
}

/// Whether `holds` came to hold, looked at again and again for a few seconds.
inline bool comes(const std::function<bool()>& holds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(15);
  while (!holds()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// What each order does with the rest of its line, and what it answers.
using Orders = std::map<std::string, std::function<std::string(const std::string& argument)>>;

/// Follows the orders in the pipe until "exit".
inline void follow(const char* pipe, const Orders& orders) {
  std::ifstream lines(pipe);
  answer("ready");
  for (std::string line; std::getline(lines, line) && line != "exit";) {
    const auto space = line.find(' ');
    const auto order = orders.find(line.substr(0, space));
    const std::string argument = space == std::string::npos ? "" : line.substr(space + 1);
    answer(order == orders.end() ? "unknown order" : order->second(argument));
  }
}

/// Orders that every host knows.
inline Orders commonOrders() {
  return {
      {"deliver", [](const auto&) { return comes([] { return Zarn::flush(5); }) ? "done" : "no"; }},
      {"flush", [](const auto&) { return Zarn::flush(5) ? "yes" : "no"; }},
      {"opt-out", [](const auto&) { return Zarn::optOut(), "done"; }},
      {"opt-in", [](const auto&) { return Zarn::optIn(), "done"; }},
      // Nothing is taken between an opt-in and the server's policy.
      {"await-policy",
       [](const auto&) {
         const auto isTaken = [] {
           Zarn::track("probe");
           return Zarn::diagnostics().queue.bufferedEventCount > 0;
         };
         return comes(isTaken) ? "done" : "no";
       }},
  };
}

}  // namespace zarn::testing
