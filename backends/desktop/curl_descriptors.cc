#include "desktop/curl_descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

namespace zarn::desktop {
namespace {

/// Bytes that wait to be read from a socket, and bytes sent into it that its peer has not read.
struct Levels {
  int fd = -1;
  int unread = 0;
  int unsent = 0;
};

std::optional<Levels> levelsOf(int fd) {
  int domain = 0;
  int type = 0;
  socklen_t size = sizeof(int);
  if (getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0 || domain != AF_UNIX) return {};
  if (getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_STREAM) return {};
  Levels levels{.fd = fd};
  if (ioctl(fd, FIONREAD, &levels.unread) != 0) return {};
  if (ioctl(fd, SIOCOUTQ, &levels.unsent) != 0) return {};
  return levels;
}

/// Local stream sockets that a started program would inherit and through which nothing is on its
/// way.
std::vector<int> quietSockets() {
  std::vector<int> found;
  const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
  if (!directory) return found;
  while (const dirent* entry = readdir(directory.get())) {
    const int fd = std::atoi(entry->d_name);
    const int flags = fcntl(fd, F_GETFD);
    if (flags < 0 || (flags & FD_CLOEXEC) != 0) continue;
    const auto levels = levelsOf(fd);
    if (levels && levels->unread == 0 && levels->unsent == 0) found.push_back(fd);
  }
  return found;
}

}  // namespace

void closeWakeupSocketsOnExec(CURLM* multi) {
  const std::vector<int> candidates = quietSockets();
  curl_multi_wakeup(multi);
  std::vector<int> woken;
  std::vector<int> waking;
  for (const int fd : candidates) {
    const auto levels = levelsOf(fd);
    if (levels && levels->unread == 1 && levels->unsent == 0) woken.push_back(fd);
    if (levels && levels->unread == 0 && levels->unsent > 0) waking.push_back(fd);
  }
  if (woken.size() != 1 || waking.size() != 1) return;
  fcntl(woken.front(), F_SETFD, FD_CLOEXEC);
  fcntl(waking.front(), F_SETFD, FD_CLOEXEC);
}

}  // namespace zarn::desktop
