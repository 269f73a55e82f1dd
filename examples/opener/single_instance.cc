#include "single_instance.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <system_error>
#include <thread>

namespace opener {
namespace {

constexpr std::size_t kLongest = std::size_t{64} << 10;  // of a text, in bytes

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

int openSocket() {
  return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

/// All until the other side ends, or nothing more comes for a second.
std::string readAll(int connection) {
  const timeval patience{1, 0};
  setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  std::string text;
  char bytes[4096];
  while (text.size() < kLongest) {
    const ssize_t count = read(connection, bytes, sizeof bytes);
    if (count <= 0) break;
    text.append(bytes, static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& place)
    : socketPath_(place.string() + ".socket") {
  std::error_code ignored;
  std::filesystem::create_directories(place.parent_path(), ignored);
  lock_ = open((place.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  // Where there can be no lock, the program runs nevertheless.
  isFirst_ = lock_ < 0 || flock(lock_, LOCK_EX | LOCK_NB) == 0;
  if (isFirst_) listen();
}

SingleInstance::~SingleInstance() {
  if (isFirst_) unlink(socketPath_.c_str());
  close(socket_);
  close(lock_);
}

void SingleInstance::listen() {
  unlink(socketPath_.c_str());  // of one that was killed
  socket_ = openSocket();
  const sockaddr_un address = addressOf(socketPath_);
  const mode_t before = umask(0077);
  const bool isBound =
      bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  umask(before);
  if (isBound && ::listen(socket_, 16) == 0) return;
  close(socket_);
  socket_ = -1;  // nobody can hand anything over
}

bool SingleInstance::handOver(const std::string& text) const {
  const sockaddr_un address = addressOf(socketPath_);
  const int connection = openSocket();
  bool isTaken = false;
  // The first one may have the lock and not listen yet.
  for (int i = 0; i < 100 && !isTaken; ++i) {
    if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(30));
    isTaken = connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  isTaken = isTaken && send(connection, text.data(), text.size(), MSG_NOSIGNAL) ==
                           static_cast<ssize_t>(text.size());
  close(connection);
  return isTaken;
}

void SingleInstance::serve(int end, const std::function<void(const std::string&)>& take) const {
  pollfd sources[] = {{socket_, POLLIN, 0}, {end, POLLIN, 0}};
  while (true) {
    if (poll(sources, 2, -1) < 0) continue;  // a signal came between
    if (sources[1].revents != 0) return;
    const int connection = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    take(readAll(connection));
    close(connection);
  }
}

}  // namespace opener
