// Puts the router on HTTP: on loopback only, for clients of this machine and pages of this server,
// with bounded bodies; and carries out what a fault does to a reply on its way out.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "server/fault_board.h"
#include "server/live_feed.h"
#include "server/router.h"

namespace httplib {
class Server;
struct Request;
struct Response;
class ContentReader;
}  // namespace httplib

namespace zarn::collector {

class HttpServer {
 public:
  HttpServer(FaultBoard& faults, LiveFeed& feed, std::size_t mostBodyBytes);
  ~HttpServer();

  /// Takes the port, 0 for a free one. False when it is not to be had.
  bool bind(int port);
  int port() const { return port_; }
  /// Answers until stop() is called from another thread.
  void run(Router& router);
  /// Ends hanging requests, live feeds and idle connections, and then run().
  void stop();

 private:
  struct Body;

  void addRoutes(Router& router);
  bool isForeign(const httplib::Request& request) const;
  std::optional<Refusal> readBody(const httplib::Request& request,
                                  const httplib::Response& response,
                                  const httplib::ContentReader& reader, Body& body);
  void answer(Router& router, const httplib::Request& request, httplib::Response& response,
              std::string body, std::optional<Refusal> refusal);
  void send(Reply reply, const httplib::Request& request, httplib::Response& response);
  void sendLive(httplib::Response& response);

  // Constant after construction.
  FaultBoard& faults_;
  LiveFeed& feed_;
  const std::size_t mostBodyBytes_;

  std::unique_ptr<httplib::Server> server_;
  int listening_ = -1;
  int port_ = 0;
  std::atomic<bool> hasEnded_{false};
  std::atomic<std::size_t> bodyBytes_{0};  // of all requests that are being read or answered
};

/// Whether a request with these headers comes from a page of another site, or by another name than
/// this machine's own (which a page elsewhere can make point here). Empty text: no such header.
bool isForeignRequest(std::string_view host, std::string_view origin, std::string_view fetchSite,
                      int port);

}  // namespace zarn::collector
