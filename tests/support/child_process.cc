#include "support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace zarn::testing {
namespace {

std::vector<std::string> environmentWith(
    const std::vector<std::pair<std::string, std::string>>& added) {
  std::vector<std::string> all;
  for (char** variable = environ; *variable; ++variable) {
    const std::string text = *variable;
    const auto names = [&](const auto& entry) { return text.starts_with(entry.first + "="); };
    if (std::none_of(added.begin(), added.end(), names)) all.push_back(text);
  }
  for (const auto& [name, value] : added) all.push_back(name + "=" + value);
  return all;
}

std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

[[noreturn]] void becomeProgram(char* const* arguments, char* const* environment,
                                const char* directory, int output, bool capturesErrors) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  dup2(output, STDOUT_FILENO);
  if (capturesErrors) dup2(output, STDERR_FILENO);
  if (!*directory || chdir(directory) == 0) execve(arguments[0], arguments, environment);
  _exit(127);
}

std::string firstLineOf(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

/// Where the threads of a process, and of its children, are in the kernel: for a report on one that
/// hangs.
std::string whereabouts(pid_t pid, int depth = 0) {
  std::string text;
  std::error_code ignored;
  const auto tasks = std::filesystem::path("/proc") / std::to_string(pid) / "task";
  for (const auto& task : std::filesystem::directory_iterator(tasks, ignored)) {
    text += std::string(static_cast<std::size_t>(2 * depth), ' ') +
            firstLineOf(task.path() / "comm") + " " + task.path().filename().string() + ": " +
            firstLineOf(task.path() / "wchan") + ", system call " +
            firstLineOf(task.path() / "syscall") + "\n";
    std::istringstream children(firstLineOf(task.path() / "children"));
    for (pid_t child = 0; depth < 2 && children >> child;) text += whereabouts(child, depth + 1);
  }
  return text;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ChildEnd& end) {
  if (end.timedOut) out << "killed after ";
  if (!end.timedOut && end.signal) out << "ended by signal " << end.signal << " after ";
  if (!end.timedOut && !end.signal) out << "exited with " << end.code << " after ";
  return out << end.duration.count() << " ms";
}

ChildProcess::ChildProcess(const std::string& program, const Options& options) {
  // All that allocates comes before the fork: another thread may hold the allocator's lock.
  std::vector<std::string> words{program};
  words.insert(words.end(), options.arguments.begin(), options.arguments.end());
  std::vector<std::string> variables = environmentWith(options.environment);
  const std::vector<char*> arguments = pointersTo(words);
  const std::vector<char*> environment = pointersTo(variables);

  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  pid_ = fork();
  if (pid_ == 0) {
    becomeProgram(arguments.data(), environment.data(), options.directory.c_str(), ends[1],
                  options.capturesErrors);
  }
  close(ends[1]);
  outputFd_ = ends[0];
  fcntl(outputFd_, F_SETFL, O_NONBLOCK);
  // A log drops what its reader leaves no room for, and a test may get little time to read.
  fcntl(outputFd_, F_SETPIPE_SZ, 1 << 20);
  if (pid_ > 0) pidFd_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  if (pidFd_ < 0) throw std::runtime_error("no child process");
}

ChildProcess::~ChildProcess() {
  wait(std::chrono::milliseconds(0));
  close(pidFd_);
  close(outputFd_);
}

bool ChildProcess::readSome() {
  char bytes[4096];
  const ssize_t count = read(outputFd_, bytes, sizeof bytes);
  if (count > 0) output_.append(bytes, static_cast<std::size_t>(count));
  return count > 0;
}

// False when the deadline came first, or there is nothing more to wait for.
bool ChildProcess::waitForOutput(Deadline deadline, bool untilEnd) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  const int milliseconds = static_cast<int>(std::max<long>(left.count(), 0));
  pollfd sources[] = {{outputFd_, POLLIN, 0}, {pidFd_, POLLIN, 0}};
  if (poll(sources, untilEnd ? 2 : 1, milliseconds) < 0) return true;  // a signal came between
  if (sources[0].revents && readSome()) return true;
  const bool isClosed = sources[0].revents & POLLHUP;
  if (!untilEnd || sources[1].revents || !isClosed) return false;
  // A closed pipe would be reported for ever, and the child may go on without it.
  return poll(&sources[1], 1, milliseconds) < 0;
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds patience) {
  const Deadline deadline = std::chrono::steady_clock::now() + patience;
  std::size_t lineEnd;
  while ((lineEnd = output_.find('\n')) == std::string::npos) {
    if (!waitForOutput(deadline, false)) return std::nullopt;
  }
  std::string line = output_.substr(0, lineEnd);
  output_.erase(0, lineEnd + 1);
  return line;
}

void ChildProcess::signal(int number) {
  if (!end_) ::kill(pid_, number);
}

ChildEnd ChildProcess::wait(std::chrono::milliseconds patience) {
  if (end_) return *end_;
  const Deadline deadline = std::chrono::steady_clock::now() + patience;
  while (waitForOutput(deadline, true)) {
  }
  int status = 0;
  ChildEnd end;
  if (waitpid(pid_, &status, WNOHANG) == 0) {
    end.timedOut = true;
    output_ += whereabouts(pid_);
    ::kill(pid_, SIGKILL);
    waitpid(pid_, &status, 0);
  }
  if (WIFEXITED(status)) end.code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) end.signal = WTERMSIG(status);
  end.duration = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - start_);
  while (readSome()) {
  }
  end_ = end;
  return end;
}

}  // namespace zarn::testing
