// A program run as a child: started, watched, killed at a chosen moment, never left behind.
//
//   ChildProcess host(program, {.arguments = {"track", "1000"}, .environment = {{"XDG_DATA_HOME",
//   dir}}}); ASSERT_EQ(host.readLine(10s), "ready"); host.signal(SIGKILL); const ChildEnd end =
//   host.wait(10s); EXPECT_EQ(end.signal, SIGKILL) << end;
#pragma once

#include <sys/types.h>

#include <chrono>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zarn::testing {

/// How a child ended. Prints itself.
struct ChildEnd {
  bool timedOut = false;                  // it had to be killed
  int code = -1;                          // what it exited with; -1 when a signal ended it
  int signal = 0;                         // what ended it, or 0
  std::chrono::milliseconds duration{0};  // since its start

  bool isClean() const { return !timedOut && code == 0; }
};
std::ostream& operator<<(std::ostream& out, const ChildEnd& end);

/// For one thread. The child dies with the thread that started it.
class ChildProcess {
 public:
  struct Options {
    std::vector<std::string> arguments;
    /// Added to the environment of this process, or in place of what is there.
    std::vector<std::pair<std::string, std::string>> environment;
    std::string directory;        // to run in; empty: this one
    bool capturesErrors = false;  // standard error joins standard output
  };

  /// Starts it. A program that can't be run exits with 127.
  explicit ChildProcess(const std::string& program) : ChildProcess(program, Options()) {}
  ChildProcess(const std::string& program, const Options& options);
  /// Kills it if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }

  /// The next line of its output, without the line break; nothing at the end of the output or when
  /// none comes in time.
  std::optional<std::string> readLine(std::chrono::milliseconds patience);
  void signal(int number);
  /// Waits for its end; when it has not come in time, notes in its output where it hangs and kills
  /// it. May be repeated.
  ChildEnd wait(std::chrono::milliseconds patience);

  /// What it has written and no readLine took; whole once wait has returned.
  const std::string& output() const { return output_; }

 private:
  using Deadline = std::chrono::steady_clock::time_point;
  bool readSome();
  bool waitForOutput(Deadline deadline, bool untilEnd);

  const Deadline start_ = std::chrono::steady_clock::now();
  pid_t pid_ = -1;
  int pidFd_ = -1;  // readable once the child has ended
  int outputFd_ = -1;
  std::string output_;
  std::optional<ChildEnd> end_;
};

}  // namespace zarn::testing
