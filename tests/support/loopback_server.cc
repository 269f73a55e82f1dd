#include "support/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <stdexcept>

namespace zarn::testing {
namespace {

bool sendAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

/// Requests out of one connection's bytes.
struct LoopbackServer::Reader {
  int fd;
  std::string pending{};

  bool more() {
    std::array<char, 65536> buffer;
    const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (got <= 0) return false;
    pending.append(buffer.data(), static_cast<std::size_t>(got));
    return true;
  }

  std::optional<LoopbackRequest> next() {
    std::size_t end = 0;
    while ((end = pending.find("\r\n\r\n")) == std::string::npos) {
      if (!more()) return std::nullopt;
    }
    LoopbackRequest request = head(std::string_view(pending).substr(0, end + 2));
    pending.erase(0, end + 4);
    const auto length = request.headers.find("content-length");
    const std::size_t size = length == request.headers.end() ? 0 : std::stoul(length->second);
    while (pending.size() < size) {
      if (!more()) return std::nullopt;
    }
    request.body = pending.substr(0, size);
    pending.erase(0, size);
    return request;
  }

  static LoopbackRequest head(std::string_view text) {
    LoopbackRequest request;
    bool first = true;
    while (!text.empty()) {
      const auto end = text.find("\r\n");
      const std::string_view line = text.substr(0, end);
      text.remove_prefix(end + 2);
      if (std::exchange(first, false)) {
        const auto space = line.find(' ');
        request.method = line.substr(0, space);
        request.path = line.substr(space + 1, line.rfind(' ') - space - 1);
        continue;
      }
      const auto colon = line.find(':');
      if (colon == std::string_view::npos) continue;
      const auto value = line.find_first_not_of(' ', colon + 1);
      request.headers[lower(std::string(line.substr(0, colon)))] =
          value == std::string_view::npos ? "" : line.substr(value);
    }
    return request;
  }
};

LoopbackServer::LoopbackServer(const char* address) {
  answerWith({});
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_addr.s_addr = ::inet_addr(address);
  socklen_t size = sizeof(place);
  auto* const at = reinterpret_cast<sockaddr*>(&place);
  if (listener_ < 0 || ::bind(listener_, at, size) != 0 || ::listen(listener_, 64) != 0 ||
      ::getsockname(listener_, at, &size) != 0) {
    throw std::runtime_error("the loopback server can't listen");
  }
  port_ = ntohs(place.sin_port);
  acceptor_ = std::thread([this] { acceptAll(); });
}

LoopbackServer::~LoopbackServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  ::shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  dropConnections();
  for (auto& server : servers_) server.join();
  ::close(listener_);
}

std::string LoopbackServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

void LoopbackServer::answerWith(LoopbackAnswer answer) {
  answerBy([answer = std::move(answer)](const LoopbackRequest&) { return answer; });
}

void LoopbackServer::answerBy(Handler handler) {
  const std::lock_guard lock(mutex_);
  handler_ = std::move(handler);
}

void LoopbackServer::answerNext(LoopbackAnswer answer, int times) {
  const std::lock_guard lock(mutex_);
  next_.insert(next_.end(), static_cast<std::size_t>(times), answer);
}

void LoopbackServer::dropConnections() {
  const std::lock_guard lock(mutex_);
  for (const int fd : open_) ::shutdown(fd, SHUT_RDWR);
}

std::vector<LoopbackRequest> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t LoopbackServer::requestCount() const {
  const std::lock_guard lock(mutex_);
  return requests_.size();
}

std::size_t LoopbackServer::connectionCount() const {
  const std::lock_guard lock(mutex_);
  return connections_;
}

bool LoopbackServer::waitForRequests(std::size_t count) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(10),
                           [&] { return requests_.size() >= count; });
}

void LoopbackServer::acceptAll() {
  while (true) {
    const int fd = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) return;
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const std::lock_guard lock(mutex_);
    ++connections_;
    open_.push_back(fd);
    servers_.emplace_back([this, fd] { serve(fd); });
  }
}

void LoopbackServer::serve(int fd) {
  Reader reader{fd};
  while (auto request = reader.next()) {
    const bool isHead = request->method == "HEAD";
    if (!answer(fd, take(*request), isHead)) break;
  }
  const std::lock_guard lock(mutex_);
  open_.erase(std::find(open_.begin(), open_.end(), fd));
  ::close(fd);
}

LoopbackAnswer LoopbackServer::take(const LoopbackRequest& request) {
  Handler handler;
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    changed_.notify_all();
    if (!next_.empty()) {
      LoopbackAnswer answer = std::move(next_.front());
      next_.pop_front();
      return answer;
    }
    handler = handler_;
  }
  return handler(request);
}

bool LoopbackServer::sleepUnlessStopping(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return !changed_.wait_for(lock, time, [this] { return stopping_; });
}

bool LoopbackServer::answer(int fd, const LoopbackAnswer& answer, bool isHead) {
  using Kind = LoopbackAnswer::Kind;
  if (answer.delay.count() > 0 && !sleepUnlessStopping(answer.delay)) return false;
  if (answer.kind == Kind::closeAtOnce) return false;
  if (answer.kind == Kind::hang) {
    pollfd gone{.fd = fd, .events = POLLRDHUP, .revents = 0};
    ::poll(&gone, 1, -1);
    return false;
  }
  std::string bytes = "HTTP/1.1 " + std::to_string(answer.status) + " Scripted\r\n";
  bytes += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n";
  for (const auto& [name, value] : answer.headers) bytes += name + ": " + value + "\r\n";
  bytes += "\r\n";
  const bool isCut = answer.kind == Kind::cutBody;
  if (!isHead) bytes += answer.body.substr(0, isCut ? answer.body.size() / 2 : std::string::npos);
  return sendAll(fd, bytes) && answer.kind == Kind::whole;
}

}  // namespace zarn::testing
