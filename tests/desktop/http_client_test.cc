#include "desktop/http_client.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <map>

#include "desktop/dispatch.h"
#include "desktop/http_rules.h"
#include "desktop/path_source.h"
#include "support/loopback_server.h"

namespace zarn::desktop {
namespace {

using platform::HttpFailure;
using platform::HttpRequest;
using platform::HttpResponse;
using platform::HttpResult;
using testing::LoopbackAnswer;
using testing::LoopbackServer;
using Kind = LoopbackAnswer::Kind;
using namespace std::chrono_literals;

/// The network as the test wants it to be.
class ScriptedPath : public PathSource {
 public:
  std::optional<platform::NetworkPath> current() override {
    return platform::NetworkPath{.satisfied = satisfied_};
  }
  void observe(std::function<void()> changed) override {
    const std::lock_guard lock(mutex_);
    observer_ = std::move(changed);
  }
  void become(bool satisfied) {
    satisfied_ = satisfied;
    const std::lock_guard lock(mutex_);
    if (observer_) observer_();
  }

 private:
  std::atomic<bool> satisfied_ = true;
  std::mutex mutex_;
  std::function<void()> observer_;
};

class HttpClientTest : public ::testing::Test {
 protected:
  std::future<HttpResult> start(HttpRequest request, platform::HttpTaskId* id = nullptr) {
    auto promise = std::make_shared<std::promise<HttpResult>>();
    const auto started = client_.start(std::move(request), queue_, [this, promise](HttpResult r) {
      EXPECT_TRUE(queue_.isCurrent());
      promise->set_value(std::move(r));  // throws, and so is seen, when called twice
    });
    if (id) *id = started;
    return promise->get_future();
  }
  HttpResult run(HttpRequest request) { return start(std::move(request)).get(); }

  static std::vector<std::shared_ptr<const std::string>> pieces(
      std::initializer_list<std::string> texts) {
    std::vector<std::shared_ptr<const std::string>> shared;
    for (const auto& text : texts) shared.push_back(std::make_shared<const std::string>(text));
    return shared;
  }

  ThreadDispatch dispatch_;
  base::SerialQueue queue_{dispatch_.pool(), "test", base::LockRank::workQueue};
  ScriptedPath path_;
  LoopbackServer server_;
  CurlHttpClient client_{path_, {}};
};

TEST_F(HttpClientTest, SendsTheRequestAsGivenAndReturnsTheAnswer) {
  server_.answerWith({.status = 418, .body = "short and stout"});
  const std::string big(300'000, 'x');
  const auto result = run({.method = "POST",
                           .url = server_.url("/a?b=c"),
                           .headers = {{"Content-Type", "application/json"}, {"X-Empty", ""}},
                           .body = pieces({"[", "", big, ",2", "]"})});
  const auto& response = std::get<HttpResponse>(result);
  EXPECT_EQ(response.status, 418);
  EXPECT_EQ(response.body, "short and stout");

  const auto request = server_.requests().at(0);
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.path, "/a?b=c");
  EXPECT_EQ(request.body, "[" + big + ",2]");
  EXPECT_EQ(request.headers.at("content-type"), "application/json");
  EXPECT_EQ(request.headers.at("x-empty"), "");
  EXPECT_FALSE(request.headers.contains("expect"));
  EXPECT_FALSE(request.headers.contains("transfer-encoding"));
}

TEST_F(HttpClientTest, SpeaksEveryMethodWithAndWithoutBody) {
  for (const char* method : {"GET", "HEAD", "POST", "PUT", "PATCH", "DELETE"}) {
    for (const bool hasBody : {false, true}) {
      if (hasBody && std::string(method) == "HEAD") continue;
      HttpRequest request{.method = method, .url = server_.url()};
      if (hasBody) request.body = pieces({"x"});
      EXPECT_EQ(std::get<HttpResponse>(run(std::move(request))).status, 200) << method;
      EXPECT_EQ(server_.requests().back().method, method);
      EXPECT_EQ(server_.requests().back().body, hasBody ? "x" : "");
      EXPECT_FALSE(server_.requests().back().headers.contains("content-type"));
    }
  }
  EXPECT_EQ(server_.connectionCount(), 1U);
}

TEST_F(HttpClientTest, KeepsConnectionsAndRepeatsTheBodyWhenAKeptOneHasGone) {
  for (int round = 0; round < 3; ++round) run({.url = server_.url()});
  EXPECT_EQ(server_.connectionCount(), 1U);

  server_.answerNext({.kind = Kind::closeAfter});
  run({.url = server_.url()});
  const auto result = run({.method = "POST", .url = server_.url(), .body = pieces({"one", "two"})});
  EXPECT_EQ(std::get<HttpResponse>(result).status, 200);
  EXPECT_EQ(server_.requests().back().body, "onetwo");
  EXPECT_EQ(server_.connectionCount(), 2U);
}

TEST_F(HttpClientTest, RedirectsAreAnswersAndNotFollowed) {
  server_.answerWith({.status = 302, .headers = {{"Location", server_.url("/elsewhere")}}});
  EXPECT_EQ(std::get<HttpResponse>(run({.url = server_.url("/start")})).status, 302);
  EXPECT_EQ(server_.requestCount(), 1U);
}

TEST_F(HttpClientTest, BrokenAnswersAreFailuresAndEmptyOnesAreNot) {
  EXPECT_EQ(std::get<HttpResponse>(run({.url = server_.url()})).body, "");
  server_.answerNext({.kind = Kind::cutBody, .body = "four"});
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(run({.url = server_.url()})));
  server_.answerNext({.kind = Kind::closeAtOnce}, 2);  // the second on a fresh connection
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(run({.url = server_.url()})));
}

TEST_F(HttpClientTest, BoundsTheAnswer) {
  server_.answerWith({.body = std::string(5000, 'x')});
  HttpRequest request{.url = server_.url(), .maxResponseBytes = 5000};
  EXPECT_EQ(std::get<HttpResponse>(run(request)).body.size(), 5000U);
  request.maxResponseBytes = 4999;
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(run(request)));
}

TEST_F(HttpClientTest, GivesUpWhenTheTimeIsOver) {
  server_.answerWith({.kind = Kind::hang});
  const auto begin = std::chrono::steady_clock::now();
  const auto result = run({.url = server_.url("/?secret"), .timeout = 100ms});
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(std::get<HttpFailure>(result).description.find("secret"), std::string::npos);
  EXPECT_GE(took, 100ms);
  EXPECT_LT(took, 2s);
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(run({.url = server_.url(), .timeout = 0ns})));
}

TEST_F(HttpClientTest, CancelEndsOneRequestAndNoOther) {
  server_.answerWith({.kind = Kind::hang});
  platform::HttpTaskId first = 0;
  auto cancelled = start({.url = server_.url()}, &first);
  auto other = start({.url = server_.url()});
  ASSERT_TRUE(server_.waitForRequests(2));
  client_.cancel(first);
  client_.cancel(first);
  client_.cancel(987654);
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(cancelled.get()));
  EXPECT_EQ(other.wait_for(20ms), std::future_status::timeout);
  client_.stop(1s);
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(other.get()));
}

TEST_F(HttpClientTest, StoppedItFailsWhatComes) {
  run({.url = server_.url()});
  client_.stop(1s);
  client_.stop(1s);
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(run({.url = server_.url()})));
  EXPECT_EQ(server_.requestCount(), 1U);
}

TEST_F(HttpClientTest, RefusesWhatIsNoSafeRequest) {
  for (const char* url : {"", "no address", "ftp://127.0.0.1/", "file:///etc/passwd", "http://"}) {
    EXPECT_TRUE(std::holds_alternative<HttpFailure>(run({.url = url}))) << url;
  }
  const HttpRequest injected{.url = server_.url(), .headers = {{"A", "b\r\nC: d"}}};
  EXPECT_TRUE(std::holds_alternative<HttpFailure>(run(injected)));
  EXPECT_EQ(server_.requestCount(), 0U);
}

TEST_F(HttpClientTest, LoopbackGoesAroundProxiesAndIsAskedEvenOffline) {
  path_.become(false);
  CurlHttpClient proxied(path_, {.http = "http://127.0.0.1:1", .https = {}, .bypass = {}});
  std::promise<HttpResult> done;
  proxied.start({.url = server_.url(), .waitsForConnectivity = true}, queue_,
                [&done](HttpResult result) { done.set_value(std::move(result)); });
  EXPECT_EQ(std::get<HttpResponse>(done.get_future().get()).status, 200);
}

TEST_F(HttpClientTest, ARefusedConnectionFailsAtOnce) {
  int closedPort = 0;
  { closedPort = LoopbackServer().port(); }
  const auto begin = std::chrono::steady_clock::now();
  const auto result =
      run({.url = "http://127.0.0.1:" + std::to_string(closedPort), .waitsForConnectivity = true});
  EXPECT_NE(std::get<HttpFailure>(result).description.find("refused"), std::string::npos);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

TEST_F(HttpClientTest, ManyThreadsStartAndCancelAtOnce) {
  std::atomic<int> completed = 0;
  constexpr int kThreads = 4;
  constexpr int kEach = 100;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i) {
        const auto id = client_.start({.url = server_.url()}, queue_,
                                      [&completed](const HttpResult&) { ++completed; });
        if ((i + t) % 3 == 0) client_.cancel(id);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  client_.stop(5s);
  queue_.sync([] {});
  EXPECT_EQ(completed, kThreads * kEach);
}

TEST_F(HttpClientTest, ItsDescriptorsAreClosedInStartedPrograms) {
  run({.url = server_.url()});
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl("/bin/sh", "sh", "-c",
            "for fd in /proc/self/fd/*; do [ ${fd##*/} -le 2 ] && continue; "
            "case $(readlink $fd) in socket:*) exit 1;; esac; done; exit 0",
            nullptr);
    ::_exit(2);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(HttpClientTest, AForkedChildDoesNotUseIt) {
  run({.url = server_.url()});
  const pid_t child = ::fork();
  if (child == 0) {
    client_.start({.url = server_.url()}, queue_, [](const HttpResult&) {});
    client_.cancel(1);
    client_.stop(1s);
    ::_exit(0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(std::get<HttpResponse>(run({.url = server_.url()})).status, 200);
}

TEST(HttpRules, LoopbackHosts) {
  for (const char* host :
       {"localhost", "LOCALHOST.", "app.localhost", "127.0.0.1", "127.9.8.7", "[::1]", "::1"}) {
    EXPECT_TRUE(isLoopbackHost(host)) << host;
  }
  for (const char* host : {"", "localhost.example", "127.0.0.1.example", "128.0.0.1", "10.0.0.1",
                           "[fe80::1]", "notlocalhost"}) {
    EXPECT_FALSE(isLoopbackHost(host)) << host;
  }
}

TEST(HttpRules, OnlyAMissingNetworkIsWaitedFor) {
  const auto connect = [](long error) { return AttemptError{CURLE_COULDNT_CONNECT, error}; };
  for (const bool offline : {false, true}) {
    EXPECT_TRUE(meansNoNetwork(connect(ENETUNREACH), offline));
    EXPECT_TRUE(meansNoNetwork(connect(EHOSTUNREACH), offline));
    EXPECT_FALSE(meansNoNetwork(connect(ECONNREFUSED), offline));
    EXPECT_FALSE(meansNoNetwork({CURLE_RECV_ERROR, 0}, offline));
    EXPECT_FALSE(meansNoNetwork({CURLE_OPERATION_TIMEDOUT, 0}, offline));
    EXPECT_EQ(meansNoNetwork({CURLE_COULDNT_RESOLVE_HOST, 0}, offline), offline);
    EXPECT_EQ(meansNoNetwork(connect(ETIMEDOUT), offline), offline);
  }
  EXPECT_EQ(connectivityRetryDelay(1), 1s);
  EXPECT_EQ(connectivityRetryDelay(100), 8s);
}

}  // namespace
}  // namespace zarn::desktop
