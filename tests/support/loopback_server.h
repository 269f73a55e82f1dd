// A small HTTP server on 127.0.0.1 that answers as it is told, badly too.
//
//   LoopbackServer server;
//   server.answerWith({.status = 503, .body = "later"});       // from now on
//   server.answerNext({.kind = LoopbackAnswer::Kind::hang});   // once, before that
//   client.get(server.url("/x"));
//   ASSERT_TRUE(server.waitForRequests(1));
//   EXPECT_EQ(server.requests().at(0).path, "/x");
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace zarn::testing {

struct LoopbackRequest {
  std::string method;
  std::string path;                            // with its query
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;
};

struct LoopbackAnswer {
  enum class Kind {
    whole,
    cutBody,      // half of the body that the head announced, then the end of the connection
    hang,         // nothing, until the client gives up or the server dies
    closeAtOnce,  // the end of the connection instead of an answer
    closeAfter,   // a whole answer, then the end of the connection without announcing it
  };
  Kind kind = Kind::whole;
  int status = 200;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
  std::chrono::milliseconds delay{0};
};

/// Any thread. One thread for each connection.
class LoopbackServer {
 public:
  using Handler = std::function<LoopbackAnswer(const LoopbackRequest&)>;

  /// Listens when this returns, on a free port. `address` is for tests in a network of their own.
  explicit LoopbackServer(const char* address = "127.0.0.1");
  /// Ends all connections and waits for their threads.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  std::string url(std::string_view path = "/") const;

  void answerWith(LoopbackAnswer answer);
  /// Runs on the connections' threads, several at once.
  void answerBy(Handler handler);
  /// For one request; those given first are used first, before what the other calls have set.
  void answerNext(LoopbackAnswer answer, int times = 1);
  /// Ends the connections that are open, as a restart of a server does.
  void dropConnections();

  std::vector<LoopbackRequest> requests() const;
  std::size_t requestCount() const;
  std::size_t connectionCount() const;
  /// False when fewer have come within 10 seconds.
  bool waitForRequests(std::size_t count) const;

 private:
  struct Reader;
  void acceptAll();
  void serve(int fd);
  bool answer(int fd, const LoopbackAnswer& answer, bool isHead);
  LoopbackAnswer take(const LoopbackRequest& request);
  bool sleepUnlessStopping(std::chrono::milliseconds time);

  int listener_ = -1;
  int port_ = 0;
  std::thread acceptor_;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  // Guarded by mutex_.
  bool stopping_ = false;
  Handler handler_;
  std::deque<LoopbackAnswer> next_;
  std::vector<LoopbackRequest> requests_;
  std::size_t connections_ = 0;
  std::vector<int> open_;
  std::vector<std::thread> servers_;
};

}  // namespace zarn::testing
