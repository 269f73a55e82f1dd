// The example app that is used by a visitor, as a process of its own, and what the visitor wrote
// down of it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/json.h"
#include "support/child_process.h"
#include "support/temp_directory.h"

namespace zarn::testing {

inline std::string text(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr ? std::string(value->asString().value_or("")) : "";
}
inline std::int64_t number(const Properties& object, std::string_view key) {
  const Value* value = object.find(key);
  return value != nullptr ? value->asInt().value_or(-1) : -1;
}

class PocketShop {
 public:
  /// What they look at they look at for `pace`.
  PocketShop(const char* program, const std::string& collector, const std::string& data,
             std::chrono::milliseconds pace)
      : app_(program,
             {.arguments = {"--server", collector, "--data", data, "--debug", "--visit", "--record",
                            folder_.file("record"), "--pace", std::to_string(pace.count()),
                            // Long enough for a screen that loads to come to rest.
                            "--answer-after", "1600"},
              .environment = {{"QT_QPA_PLATFORM", "offscreen"},
                              {"QT_QUICK_BACKEND", "software"},
                              {"XDG_RUNTIME_DIR", folder_.path()}},
              .capturesErrors = true}) {}

  /// Lines of the record so far.
  std::vector<Properties> record(std::string_view kind) const {
    std::vector<Properties> found;
    std::ifstream lines(folder_.file("record"));
    for (std::string line; std::getline(lines, line);) {
      const auto parsed = base::parseJson(line);
      const Properties* entry = parsed ? parsed->asProperties() : nullptr;
      if (entry != nullptr && text(*entry, "kind") == kind) found.push_back(*entry);
    }
    return found;
  }
  /// Until the visitor has left so many screens.
  bool comesBy(std::size_t screens) {
    return comes([&] { return record("screen").size() >= screens; });
  }
  void expectEnd() {
    const ChildEnd end = app_.wait(kPatience);
    said_ += app_.output();
    EXPECT_TRUE(end.isClean()) << end << said_;
  }
  void kill() {
    app_.signal(SIGKILL);
    EXPECT_EQ(app_.wait(kPatience).signal, SIGKILL);
  }
  /// What it printed; whole once it has ended.
  const std::string& said() const { return said_; }

 private:
  static constexpr std::chrono::seconds kPatience{200};

  template <typename Holds>
  bool comes(const Holds& holds) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!holds()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      if (const auto line = app_.readLine(std::chrono::milliseconds(50))) said_ += *line + "\n";
    }
    return true;
  }

  TempDirectory folder_;
  ChildProcess app_;
  std::string said_;
};

}  // namespace zarn::testing
