// What the visitor's app did and when, for a script to hold against what a collector has recorded.
#pragma once

#include <chrono>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

/// One line of JSON for each call, written once it has returned. `note` may be called on any
/// thread.
class Journal {
 public:
  Journal(const std::string& path, std::string scene)
      : file_(path, std::ios::app), scene_(std::move(scene)) {}

  /// What holds for the calls from now on.
  void setPhase(std::string phase) {
    const std::lock_guard lock(lock_);
    phase_ = std::move(phase);
  }

  /// A call that makes an event; `call` gets the step that the event is to carry.
  void track(const std::function<void(const std::string& step)>& call) {
    const std::string step = scene_ + "-" + std::to_string(++count_);
    note("step", step, [&] { call(step); });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  void note(std::string_view kind, std::string_view what, const std::function<void()>& call = {}) {
    const long long before = now();
    if (call) call();
    const std::lock_guard lock(lock_);
    file_ << R"({"scene":")" << scene_ << R"(","phase":")" << phase_ << R"(",")" << kind << R"(":")"
          << what << R"(","from":)" << before << R"(,"to":)" << now() << "}" << std::endl;
  }

 private:
  static long long now() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(since).count();
  }

  std::mutex lock_;
  std::ofstream file_;
  const std::string scene_;
  std::string phase_ = "allowed";
  int count_ = 0;
};
