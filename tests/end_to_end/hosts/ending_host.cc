// Ends in one of the ways in which processes end, with a live connection: ending_host API_HOST DATA
// HOW
#include <openssl/ssl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "zarn/desktop.h"
#include "zarn/network.h"
#include "zarn/zarn.h"

using zarn::Zarn;

namespace {

bool tracksLate = false;
bool isForkedChild = false;

struct TracksAtTheEnd {
  ~TracksAtTheEnd() {
    if (tracksLate) Zarn::track("from a static destructor", {{"late", true}});
  }
} atTheEnd;

[[noreturn]] void endForkedChild(int code) {
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
  // The sanitizer's allocator may have been locked by another thread at the fork, and exit frees.
  _exit(code);
#endif
#endif
  std::exit(code);
}

/// In the child every call must do nothing and return; the parent goes on.
int forks(bool executes) {
  const pid_t child = fork();
  if (child == 0) {
    isForkedChild = true;
    Zarn::track("from the child", {});
    Zarn::identify("child", {});
    Zarn::flush();
    if (Zarn::flush(5)) _exit(3);
    Zarn::networkDelegate()->didFinishCollectingMetrics({}, {.url = "https://shop.example/"});
    if (executes) execl("/bin/true", "true", static_cast<char*>(nullptr));
    endForkedChild(executes ? 4 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Zarn::track("after the fork", {});
  return status == 0 ? 0 : 5;
}

}  // namespace

/// Asked by the leak checker. In a forked child, what only the parent's threads pointed to looks
/// lost.
extern "C" int __lsan_is_turned_off() {
  return isForkedChild ? 1 : 0;
}

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const std::string how = argv[3];
  tracksLate = how == "destructor";
  if (how == "openssl") SSL_CTX_free(SSL_CTX_new(TLS_client_method()));
  zarn::desktop::describeHost({.bundleId = "com.example.ending", .dataDirectory = argv[2]});
  Zarn::configure("wk_test_x_ending_key", {.flushAt = 1, .apiHost = argv[1]});
  for (int i = 0; i < 3; ++i) Zarn::track("before the end", {{"i", i}});
  if (how == "linger") std::this_thread::sleep_for(std::chrono::milliseconds(30));
  if (how == "exit") std::exit(0);
  if (how == "fork") return forks(false);
  if (how == "fork-exec") return forks(true);
  if (how == "thread") {
    std::thread([] {
      for (;;) Zarn::track("from another thread", {});
    }).detach();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return 0;
}
