#include "server/http_server.h"

#include <fcntl.h>
#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "server/sockets.h"
#include "server/worker_pool.h"

namespace zarn::collector {
namespace {

constexpr std::size_t kMostThreads = 512;
// Of all bodies that are held at a time, as a multiple of the largest one.
constexpr std::size_t kMostBodies = 4;

class Workers : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> work) override { pool_.post(std::move(work)); }
  void shutdown() override { pool_.finish(); }

 private:
  WorkerPool pool_{kMostThreads};
};

// "application/json; charset=utf-8" -> "application/json"
std::string mediaType(std::string text) {
  text.resize(std::min(text.size(), text.find(';')));
  while (!text.empty() && text.back() == ' ') text.pop_back();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

void setReply(httplib::Response& response, const Reply& reply) {
  response.status = reply.status;
  for (const auto& [name, value] : reply.headers) response.set_header(name, value);
  response.set_content(reply.body, reply.contentType);
}

// Announces the whole body and ends the connection after half of it.
void setCutReply(httplib::Response& response, const Reply& reply, int connection) {
  response.status = reply.status;
  const std::string body = reply.body;
  response.set_content_provider(
      body.size(), reply.contentType,
      [body, connection](std::size_t, std::size_t, httplib::DataSink& sink) {
        sink.write(body.data(), body.size() / 2);
        breakConnection(connection);
        return false;
      });
}

}  // namespace

bool isForeignRequest(std::string_view host, std::string_view origin, std::string_view fetchSite,
                      int port) {
  const std::string number = std::to_string(port);
  const std::array<std::string, 2> names = {"127.0.0.1:" + number, "localhost:" + number};
  const auto isOurs = [&](std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  constexpr std::string_view scheme = "http://";
  if (!isOurs(host)) return true;
  if (!origin.empty() && !(origin.starts_with(scheme) && isOurs(origin.substr(scheme.size())))) {
    return true;
  }
  return fetchSite == "cross-site" || fetchSite == "same-site";
}

// A body that is being held, counted as long as it is.
struct HttpServer::Body {
  explicit Body(std::atomic<std::size_t>& all) : all_(all) {}
  ~Body() { drop(); }
  Body(const Body&) = delete;
  Body& operator=(const Body&) = delete;

  std::size_t append(const char* data, std::size_t length) {
    text.append(data, length);
    counted_ += length;
    return all_ += length;
  }

  void drop() {
    std::string().swap(text);
    all_ -= counted_;
    counted_ = 0;
  }

  std::string text;

 private:
  std::atomic<std::size_t>& all_;
  std::size_t counted_ = 0;
};

HttpServer::HttpServer(FaultBoard& faults, LiveFeed& feed, std::size_t mostBodyBytes)
    : faults_(faults),
      feed_(feed),
      mostBodyBytes_(mostBodyBytes),
      server_(std::make_unique<httplib::Server>()) {
  server_->new_task_queue = [] { return new Workers; };
  server_->set_tcp_nodelay(true);
  server_->set_keep_alive_max_count(1'000'000'000);
  server_->set_keep_alive_timeout(75);
  server_->set_read_timeout(15);
  server_->set_write_timeout(15);
  server_->set_payload_max_length(mostBodyBytes);
  server_->set_default_headers({{"X-Content-Type-Options", "nosniff"}});
  // The library's own options would let two collectors share a port.
  server_->set_socket_options([this](int socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    fcntl(socket, F_SETFD, FD_CLOEXEC);
    listening_ = socket;
  });
}

HttpServer::~HttpServer() = default;

bool HttpServer::bind(int port) {
  const char* loopback = "127.0.0.1";
  if (port == 0) {
    port_ = server_->bind_to_any_port(loopback);
  } else {
    port_ = server_->bind_to_port(loopback, port) ? port : -1;
  }
  constexpr int waitingConnections = 256;
  return port_ > 0 && listen(listening_, waitingConnections) == 0;
}

void HttpServer::run(Router& router) {
  addRoutes(router);
  server_->listen_after_bind();
  hasEnded_ = true;
}

void HttpServer::stop() {
  faults_.stop();
  feed_.close();
  // Repeated, since run() may only just be starting, or just be taking one more connection.
  while (!hasEnded_) {
    server_->stop();
    breakConnectionsTo(port_);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

void HttpServer::addRoutes(Router& router) {
  const char* any = "[\\s\\S]*";
  server_->set_pre_routing_handler([this](const httplib::Request& request, auto& response) {
    if (!isForeign(request)) return httplib::Server::HandlerResponse::Unhandled;
    setReply(response, errorReply(403, "only for this machine and for pages of this server"));
    return httplib::Server::HandlerResponse::Handled;
  });
  server_->set_expect_100_continue_handler([this](const httplib::Request& request, auto& response) {
    if (request.get_header_value<uint64_t>("Content-Length") <= mostBodyBytes_) return 100;
    setReply(response, errorReply(413, "the body is too large"));
    return 413;
  });
  const auto plain = [this, &router](const httplib::Request& request, httplib::Response& response) {
    answer(router, request, response, {}, {});
  };
  const auto withBody = [this, &router](const httplib::Request& request,
                                        httplib::Response& response,
                                        const httplib::ContentReader& reader) {
    Body body(bodyBytes_);
    const auto refusal = readBody(request, response, reader, body);
    answer(router, request, response, std::move(body.text), refusal);
  };
  server_->Get(any, plain);
  server_->Options(any, plain);
  server_->Post(any, withBody);
  server_->Put(any, withBody);
  server_->Patch(any, withBody);
  server_->Delete(any, withBody);
  server_->set_error_handler([](const httplib::Request&, httplib::Response& response) {
    if (response.body.empty() && !response.content_provider_ && response.status >= 400) {
      setReply(response, errorReply(response.status, "the request could not be read"));
    }
  });
}

bool HttpServer::isForeign(const httplib::Request& request) const {
  return isForeignRequest(request.get_header_value("Host"), request.get_header_value("Origin"),
                          request.get_header_value("Sec-Fetch-Site"), port_);
}

// Reads what is too large to its end, or nearly so, without keeping it: what is left of a body
// would be taken for the next request.
std::optional<Refusal> HttpServer::readBody(const httplib::Request& request,
                                            const httplib::Response& response,
                                            const httplib::ContentReader& reader, Body& body) {
  if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) return {};
  const std::size_t most = kMostBodies * mostBodyBytes_;
  std::size_t read = 0;
  bool areTooMany = false;
  const bool isWhole = reader([&](const char* data, std::size_t length) {
    read += length;
    if (read > mostBodyBytes_ || areTooMany) {
      body.drop();
      return read <= most;
    }
    areTooMany = body.append(data, length) > most;
    return true;
  });
  if (read > mostBodyBytes_ || response.status == 413) {
    return Refusal{413, "the body is larger than " + std::to_string(mostBodyBytes_) + " bytes"};
  }
  if (areTooMany) return Refusal{503, "too many large bodies at a time"};
  if (!isWhole) return Refusal{400, "the body ended early"};
  return {};
}

void HttpServer::answer(Router& router, const httplib::Request& request,
                        httplib::Response& response, std::string body,
                        std::optional<Refusal> refusal) {
  Request ours;
  ours.method = request.method;
  ours.path = request.path;
  ours.target = request.target;
  ours.query = request.target.substr(std::min(request.target.size(), request.target.find('?')));
  if (!ours.query.empty()) ours.query.erase(0, 1);
  ours.parameters = request.params;
  ours.contentType = mediaType(request.get_header_value("Content-Type"));
  ours.authorization = request.get_header_value("Authorization");
  ours.headers.assign(request.headers.begin(), request.headers.end());
  ours.body = std::move(body);
  ours.refusal = std::move(refusal);
  send(router.answer(ours), request, response);
}

void HttpServer::send(Reply reply, const httplib::Request& request, httplib::Response& response) {
  if (reply.isLive) return sendLive(response);
  if (!reply.fault) return setReply(response, reply);

  const FaultRule& fault = *reply.fault;
  const int connection = connectionFrom(request.remote_port, port_);
  const auto clientLeft = [connection] { return hasLeft(connection); };
  if (fault.delayMs > 0) faults_.hold(fault.id, fault.delayMs, clientLeft);
  if (fault.kind == FaultKind::hang) faults_.hold(fault.id, fault.hangMs, clientLeft);
  if (reply.onAnswer && !clientLeft()) reply.onAnswer();
  if (fault.kind == FaultKind::cut) return setCutReply(response, reply, connection);
  if (fault.kind == FaultKind::hang || fault.kind == FaultKind::drop) breakConnection(connection);
  setReply(response, reply);
}

void HttpServer::sendLive(httplib::Response& response) {
  constexpr int aliveEveryMs = 10'000;
  response.set_header("Cache-Control", "no-store");
  response.set_chunked_content_provider(
      "text/event-stream",
      [listener = feed_.listen(), isFirst = true](std::size_t, httplib::DataSink& sink) mutable {
        // At once, so that the client knows that it will miss nothing from here on.
        const auto text = isFirst ? ": welcome\n\n" : listener->next(aliveEveryMs);
        isFirst = false;
        if (!text) {
          sink.done();
          return true;
        }
        return sink.write(text->data(), text->size());
      });
}

}  // namespace zarn::collector
