#include "server/sockets.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstdlib>
#include <functional>

namespace zarn::collector {
namespace {

using NameOf = int (*)(int, sockaddr*, socklen_t*);

int portOf(int socket, NameOf nameOf) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  if (nameOf(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return -1;
  return address.sin_family == AF_INET ? ntohs(address.sin_port) : -1;
}

int localPort(int socket) {
  return portOf(socket, [](int s, sockaddr* a, socklen_t* l) { return getsockname(s, a, l); });
}

// -1 for a socket that only listens.
int peerPort(int socket) {
  return portOf(socket, [](int s, sockaddr* a, socklen_t* l) { return getpeername(s, a, l); });
}

// Calls `look` with each descriptor until it says that it has found what it wants.
int findDescriptor(const std::function<bool(int)>& look) {
  DIR* directory = opendir("/proc/self/fd");
  if (directory == nullptr) return -1;
  int found = -1;
  while (const dirent* entry = readdir(directory)) {
    const int descriptor = std::atoi(entry->d_name);
    if (descriptor > 2 && look(descriptor)) {
      found = descriptor;
      break;
    }
  }
  closedir(directory);
  return found;
}

}  // namespace

int connectionFrom(int clientPort, int serverPort) {
  return findDescriptor([=](int descriptor) {
    return peerPort(descriptor) == clientPort && localPort(descriptor) == serverPort;
  });
}

bool hasLeft(int connection) {
  pollfd poll{connection, POLLRDHUP, 0};
  return connection >= 0 && ::poll(&poll, 1, 0) > 0;
}

void breakConnection(int connection) {
  if (connection >= 0) shutdown(connection, SHUT_RDWR);
}

void breakConnectionsTo(int serverPort) {
  findDescriptor([=](int descriptor) {
    if (localPort(descriptor) == serverPort && peerPort(descriptor) >= 0) {
      breakConnection(descriptor);
    }
    return false;
  });
}

}  // namespace zarn::collector
