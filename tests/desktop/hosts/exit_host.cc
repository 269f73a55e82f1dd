// A host that ends while threads, timers, requests and OpenSSL are busy.
//
//   exit_host WAY URL        URL: a server on loopback, from the colon on
//
// Writes a line for each thing it was able to do; says "alive" once everything is under way.
#include <dirent.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "base/fork_guard.h"
#include "base/timer.h"
#include "desktop/dispatch.h"
#include "desktop/http_client.h"
#include "desktop/path_source.h"
#include "desktop/process.h"

namespace zarn {
namespace {

void say(std::string_view text) {
  const std::string line = std::string(text) + "\n";
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) _exit(99);
}

void digestOnce() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
  const std::array<unsigned char, 4096> bytes{};
  EVP_MD* const sha256 = EVP_MD_fetch(nullptr, "SHA256", nullptr);
  if (!sha256 || !EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, sha256, nullptr)) {
    _exit(98);
  }
  EVP_MD_free(sha256);
}

class NoPaths final : public desktop::PathSource {
 public:
  std::optional<platform::NetworkPath> current() override { return std::nullopt; }
  void observe(std::function<void()>) override {}
};

/// Keeps every thread of the backend at work, without a pause, until it is stopped.
class Library {
 public:
  explicit Library(std::string url) : url_(std::move(url)) {
    desktop::onProcessExit([this](base::Duration left) { dispatch_.stop(left); });
    desktop::onProcessExit([this](base::Duration left) { http_.stop(left); });
  }

  void keepBusy() {
    digestAgain();
    for (const char* scheme : {"http", "https"}) request(scheme);
    timer_.start();
    while (digests_ < 3 || answers_ < 3 || ticks_ < 1) std::this_thread::yield();
    say("alive");
  }

  void runOnMain(base::Closure task) { dispatch_.main().post(std::move(task)); }

  /// What a host's call does: on its own thread, with work left for others.
  void track() {
    int stored = 0;
    queue_.async([&] { ++stored; });
    queue_.sync([&] { ++stored; });
    later_ = queue_.asyncAfter(base::seconds(0), [] {});
    request("http");
    if (stored == 2) say("stored");
  }

 private:
  void digestAgain() {
    worker_->post([this] {
      digestOnce();
      ++digests_;
      digestAgain();
    });
  }

  void request(std::string scheme) {
    http_.start({.url = scheme + url_}, queue_, [this, scheme](platform::HttpResult) {
      ++answers_;
      request(scheme);
    });
  }

  const std::string url_;
  std::atomic<int> digests_ = 0;
  std::atomic<int> answers_ = 0;
  std::atomic<int> ticks_ = 0;
  desktop::ThreadDispatch dispatch_;
  std::unique_ptr<base::Executor> worker_ = dispatch_.makeThread("worker");
  base::SerialQueue queue_{dispatch_.pool(), "q", base::LockRank::workQueue};
  base::RepeatingTimer timer_{queue_, base::seconds(0.0001), [this] { ++ticks_; }};
  base::WorkItem later_;
  NoPaths paths_;
  desktop::CurlHttpClient http_{paths_, {}};
};

Library* library = nullptr;  // never destroyed

/// A static of the host's that uses the library in its destructor, as the last thing that happens.
struct LastCall {
  bool isWanted = false;
  ~LastCall() {
    if (!isWanted) return;
    library->track();
    std::thread([] { library->track(); }).join();
  }
};
LastCall lastCall;

/// Open sockets and the like. Files don't count: OpenSSL reads certificates without closing them on
/// exec, which nobody can help.
int countDescriptors() {
  DIR* const all = opendir("/proc/self/fd");
  int count = 0;
  while (const dirent* entry = readdir(all)) {
    struct stat what {};
    const bool isOpen = fstat(std::atoi(entry->d_name), &what) == 0;
    if (entry->d_name[0] != '.' && isOpen && !S_ISREG(what.st_mode)) ++count;
  }
  closedir(all);
  return count;
}

int waitFor(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 97;
}

int forkAndExit() {
  const pid_t child = fork();
  if (child == 0) {
    if (!base::inForkedChild()) _exit(96);
    library->runOnMain([] {});
    lastCall.isWanted = false;
    std::exit(0);  // with all handlers of the parent's
  }
  return waitFor(child);
}

/// The program starts anew, to see whether it got more descriptors than this process did.
int forkAndBecome(const char* program, int expected) {
  const std::string count = std::to_string(expected);
  const pid_t child = fork();
  if (child == 0) {
    execl(program, program, "count", count.c_str(), nullptr);
    _exit(95);
  }
  return waitFor(child);
}

[[noreturn]] void exitFromMainExecutor() {
  library->runOnMain([] { std::exit(0); });
  while (true) pause();
}

int run(const char* program, std::string_view way, const char* argument) {
  const int inherited = countDescriptors();
  if (way == "count") return inherited == std::atoi(argument) ? 0 : 94;
  if (way == "openssl-first") digestOnce();
  library = new Library(argument);
  library->keepBusy();
  if (way == "exit") std::exit(0);
  if (way == "_exit") _exit(0);
  if (way == "exit-on-main") exitFromMainExecutor();
  if (way == "static-destructor") lastCall.isWanted = true;
  if (way == "fork") return forkAndExit();
  if (way == "fork-exec") return forkAndBecome(program, inherited);
  return 0;
}

}  // namespace
}  // namespace zarn

/// Asked by the leak checker. In a forked child, what only the parent's threads pointed to looks
/// lost.
extern "C" int __lsan_is_turned_off() {
  return zarn::base::inForkedChild() ? 1 : 0;
}

int main(int count, char** arguments) {
  return count == 3 ? zarn::run(arguments[0], arguments[1], arguments[2]) : 2;
}
