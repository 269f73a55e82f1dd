#include "desktop/url_opener.h"

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <memory>
#include <utility>

#include "base/executor.h"
#include "base/hex.h"
#include "base/text.h"

/// glibc's clone by its other name: the thread sanitizer takes every call of the first for a fork,
/// after which no thread may start.
extern "C" int __clone(int (*)(void*), void*, int, void*, ...) noexcept;

namespace zarn::desktop {
namespace {

constexpr std::size_t kMostUrlBytes = 8 << 10;
constexpr std::size_t kStackBytes = 64 << 10;

bool mayStand(char c) {
  static constexpr std::string_view kSigns = "-._~:/?#[]@!$&()*+,;=%";  // no quotation marks
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         kSigns.find(c) != kSigns.npos;
}

/// How the opener is to be started: in a session of its own, with signals as a program expects
/// them, and without the host's descriptors.
class SpawnPlan {
 public:
  SpawnPlan() {
    posix_spawnattr_init(&attributes);
    sigset_t all, none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    }
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  }
  ~SpawnPlan() {
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  posix_spawnattr_t attributes;
  posix_spawn_file_actions_t actions;
};

struct Opening {
  SpawnPlan plan;
  std::array<char*, 3> arguments;
};

/// Runs in a process between host and opener that ends at once, so that the opener belongs to
/// nobody here.
int startOpener(void* data) {
  auto& opening = *static_cast<Opening*>(data);
  pid_t opener = 0;
  ::posix_spawnp(&opener, opening.arguments[0], &opening.plan.actions, &opening.plan.attributes,
                 opening.arguments.data(), environ);
  return 0;
}

void runOpener(std::string url) {
  std::string program = "xdg-open";
  Opening opening{.plan = {}, .arguments = {program.data(), url.data(), nullptr}};
  struct alignas(16) Stack {
    std::byte bytes[kStackBytes];
  };
  const auto stack = std::make_unique<Stack>();
  sigset_t all, before;
  sigfillset(&all);
  // No handler of the host's may run in the process in between, which shares our memory.
  pthread_sigmask(SIG_SETMASK, &all, &before);
  // As vfork does it, but with no signal to the host at its end: a host that waits for all its
  // children never sees it, and no fork handlers run.
  const pid_t between = ::__clone(startOpener, stack.get() + 1, CLONE_VM | CLONE_VFORK, &opening);
  if (between > 0) {
    while (::waitpid(between, nullptr, __WALL) < 0 && errno == EINTR) {
    }
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

std::optional<std::string> openableUrl(std::string_view url) {
  if (url.size() > kMostUrlBytes) return std::nullopt;
  const auto colon = url.find("://");
  if (colon == url.npos || colon + 3 == url.size()) return std::nullopt;
  const std::string scheme = base::lowerCaseAscii(url.substr(0, colon));
  if (scheme != "http" && scheme != "https") return std::nullopt;
  std::string openable;
  openable.reserve(url.size());
  for (const char c : url) {
    if (mayStand(c)) {
      openable += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    openable += '%';
    openable += base::kUpperHexDigits[byte >> 4];
    openable += base::kUpperHexDigits[byte & 15];
  }
  return openable;
}

void DesktopUrlOpener::open(const std::string& url) {
  if (auto openable = openableUrl(url)) {
    background_.post([url = *std::move(openable)] { runOpener(url); });
  }
}

}  // namespace zarn::desktop
