// The real program, over HTTP.
#include <curl/curl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include "collector/wire_samples.h"
#include "server/http_server.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;
using Answer = CollectorProcess::Answer;
using Clock = std::chrono::steady_clock;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

Answer send(const CollectorProcess& collector, const std::vector<std::string>& events) {
  return collector.request("POST", "/api/sdk/batch", batchText(events), {"Authorization: k"});
}

void setFault(const CollectorProcess& collector, const std::string& json) {
  collector.request("DELETE", "/api/collector/faults");
  collector.post("/api/collector/faults", json);
}

// Runs a command line of the program to its end.
struct Ended {
  int code;
  std::string said;
};
Ended run(const std::string& arguments) {
  FILE* pipe =
      popen((std::string(ZARN_COLLECTOR_PROGRAM) + " " + arguments + " 2>&1").c_str(), "r");
  Ended ended{-1, {}};
  std::array<char, 512> chunk{};
  while (fgets(chunk.data(), chunk.size(), pipe) != nullptr) ended.said += chunk.data();
  ended.code = WEXITSTATUS(pclose(pipe));
  return ended;
}

TEST(Program, SaysWhatIsWrongWithItsArguments) {
  EXPECT_EQ(run("--help").code, 0);
  EXPECT_TRUE(has(run("").said, "--data is missing"));
  EXPECT_EQ(run("--data").code, 2);
  EXPECT_TRUE(has(run("--data x --port 70000").said, "--port must be from 0 to 65535"));
  EXPECT_TRUE(has(run("--data x --fault kind=odd").said, "\"kind\" must be one of"));
  EXPECT_EQ(run("--data /proc/nowhere").code, 3);

  CollectorProcess collector;
  const std::string port = collector.address().substr(collector.address().rfind(':') + 1);
  const Ended second = run("--port 0 --data " + collector.dataDirectory().string());
  EXPECT_EQ(second.code, 3);
  EXPECT_TRUE(has(second.said, "another collector uses it"));
  const std::string other = (collector.dataDirectory() / "other").string();
  EXPECT_EQ(run("--port " + port + " --data " + other).code, 4);
}

TEST(Program, KeepsAcrossAKillWhatItAcknowledged) {
  CollectorProcess collector;
  EXPECT_EQ(send(collector, {eventText(1), eventText(2)}).status, 200);
  collector.kill();
  collector.start();
  EXPECT_TRUE(has(collector.getJson("/api/collector/counts"), R"("unique":2)"));
  EXPECT_EQ(collector.stop(), 0);
}

TEST(Program, SpeaksInitAndConfig) {
  CollectorProcess collector({.arguments = {"--pause", "tea"}});
  const std::string init = collector.post("/api/sdk/init", R"({"bundle_id":"io.shop"})");
  EXPECT_TRUE(has(init, R"("data_collection":{})") && has(init, R"("app_id":"app:io.shop")"))
      << init;
  EXPECT_TRUE(has(init, R"("paused":true,"paused_reason":"tea")")) << init;
  EXPECT_EQ(collector.getJson("/api/sdk/config"), R"({"dataCollection":{},"paused":true})");
  EXPECT_EQ(send(collector, {eventText(1)}).body, R"({"paused":true,"paused_reason":"tea"})");
  collector.post("/api/collector/resume", "");
  EXPECT_EQ(collector.getJson("/api/sdk/config"), R"({"dataCollection":{},"paused":false})");
  EXPECT_TRUE(has(collector.getJson("/api/collector/calls"), "sdk_version is missing"));
}

TEST(Program, RefusesAndSurvivesWhatIsNoRequest) {
  CollectorProcess collector({.arguments = {"--max-body-mib", "1"}});
  const auto status = [&](const std::string& method, const std::string& path,
                          const std::string& body = {},
                          const std::vector<std::string>& headers = {}) {
    return collector.request(method, path, body, headers).status;
  };
  const std::string large(3 << 20, 'x');
  EXPECT_EQ(status("POST", "/api/sdk/batch", batchText({}), {"Content-Type: text/plain"}), 415);
  EXPECT_EQ(status("POST", "/api/sdk/batch", "{\"batch\":"), 400);
  EXPECT_EQ(status("POST", "/api/sdk/batch", large), 413);
  EXPECT_EQ(status("POST", "/api/sdk/batch", large, {"Transfer-Encoding: chunked"}), 413);
  EXPECT_EQ(status("POST", "/nowhere", large, {"Transfer-Encoding: chunked"}), 404);
  EXPECT_EQ(status("PUT", "/api/sdk/batch", "{}"), 405);
  EXPECT_EQ(status("GET", "/api/sdk/init"), 405);
  EXPECT_EQ(status("GET", "/api/sdk/nowhere"), 404);
  EXPECT_EQ(status("GET", "/..%2f..%2fetc/passwd"), 404);
  EXPECT_EQ(status("GET", "/api/collector/events?tpye=tap"), 400);
  EXPECT_EQ(status("GET", "/api/collector/events?limit=0"), 400);
  EXPECT_EQ(status("GET", "/api/collector/batches/x"), 404);
  EXPECT_EQ(status("POST", "/api/collector/faults", R"({"kind":"odd"})"), 400);
  EXPECT_EQ(status("GET", "/", {}, {"Host: evil.example"}), 403);
  EXPECT_EQ(status("POST", "/api/collector/reset", "{}", {"Origin: http://evil.example"}), 403);
  EXPECT_EQ(status("GET", "/" + std::string(20'000, 'a')), 414);
  EXPECT_EQ(send(collector, {eventText(1)}).status, 200);
  EXPECT_TRUE(has(collector.getJson("/api/collector/counts"), R"("batches":5,"refused":4)"));
}

TEST(Program, KeepsInvalidEventsWithTheReason) {
  CollectorProcess collector;
  const Answer answer =
      send(collector, {eventText(1), spoilt(eventText(2), "\"custom\"", "7"), "{}"});
  EXPECT_TRUE(has(answer.body, idOf(2)));
  const std::string invalid = collector.getJson("/api/collector/events?valid=false&order=asc");
  EXPECT_TRUE(has(invalid, R"("problems":["event_type must be a string"])")) << invalid;
  EXPECT_TRUE(has(collector.getJson("/api/collector/counts"), R"("invalid":2)"));
  const std::string one = collector.getJson("/api/collector/events/" + idOf(1));
  EXPECT_TRUE(has(one, R"("event":)" + eventText(1))) << one;
  const std::string batch = collector.getJson("/api/collector/batches/1");
  EXPECT_TRUE(has(batch, R"("items":[[")" + idOf(1) + R"(","stored","accept",[]],)")) << batch;
}

TEST(Program, PagesInOrderOfArrival) {
  CollectorProcess collector;
  std::vector<std::string> events;
  for (int i = 0; i < 25; ++i) events.push_back(eventText(i));
  send(collector, events);
  const std::string page = collector.getJson("/api/collector/events?since=10&limit=5");
  EXPECT_TRUE(has(page, R"("next":15)"));
  EXPECT_LT(page.find(R"("seq":11,)"), page.find(R"("seq":15,)"));
  const std::string newest = collector.getJson("/api/collector/events?limit=2");
  EXPECT_LT(newest.find(R"("seq":25,)"), newest.find(R"("seq":24,)"));
  EXPECT_EQ(collector.getJson("/api/collector/count?session=S1"), R"({"count":12})");
  EXPECT_EQ(collector.getJson("/api/collector/counts/by?field=launch"),
            R"({"field":"launch","values":[{"value":"2026-01-31T09:00:00.000Z","count":25}]})");
}

TEST(Faults, SpoilTheAnswerAsAsked) {
  CollectorProcess collector;
  const auto answer = [&](const std::string& fault) {
    setFault(collector, fault);
    return send(collector, {eventText(1)});
  };
  EXPECT_EQ(answer(R"({"kind":"status","status":429})").status, 429);
  EXPECT_EQ(answer(R"({"kind":"drop"})").status, 0);
  EXPECT_EQ(answer(R"({"kind":"hang","hang_ms":30})").status, 0);
  EXPECT_EQ(answer(R"({"kind":"empty"})").body, "");
  const Answer cut = answer(R"({"kind":"cut"})");
  EXPECT_EQ(cut.status, 0);  // the client noticed that the body ended early
  EXPECT_TRUE(has(cut.body, "accepted_event_ids") && cut.body.back() != '}') << cut.body;
  EXPECT_TRUE(has(collector.getJson("/api/collector/counts"), R"("unique":0)"));
  answer(R"({"kind":"drop","keep":true})");
  EXPECT_TRUE(has(collector.getJson("/api/collector/counts"), R"("unique":1)"));

  const auto start = Clock::now();
  EXPECT_EQ(answer(R"({"kind":"delay","delay_ms":120})").status, 200);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(120));
  EXPECT_TRUE(
      has(answer(R"({"kind":"outcomes","outcome":"permanent"})").body, R"("permanent":true)"));

  setFault(collector, R"({"endpoint":"config","kind":"status","count":1})");
  EXPECT_EQ(collector.request("GET", "/api/sdk/config").status, 503);
  EXPECT_EQ(collector.request("GET", "/api/sdk/config").status, 200);
}

TEST(Faults, HangingRequestsDoNotStarveOthersAndEndWithTheFault) {
  CollectorProcess collector;
  setFault(collector, R"({"endpoint":"batch","kind":"hang","hang_ms":600000})");
  std::vector<std::thread> hanging;
  std::atomic<int> ended{0};
  for (int i = 0; i < 40; ++i) {
    hanging.emplace_back([&] {
      EXPECT_EQ(send(collector, {eventText(1)}).status, 0);
      ++ended;
    });
  }
  EXPECT_TRUE(has(collector.getJson("/api/collector/wait?batches=40"), R"("reached":true)"));
  EXPECT_EQ(ended, 0);
  collector.request("DELETE", "/api/collector/faults");
  for (std::thread& thread : hanging) thread.join();
}

TEST(Program, StopsAtOnceWhateverIsGoingOn) {
  CollectorProcess collector({.arguments = {"--fault", "endpoint=batch,kind=hang"}});
  std::thread hanging([&] { send(collector, {eventText(1)}); });
  std::thread live([&] { collector.request("GET", "/api/collector/live"); });
  std::thread waiting(
      [&] { collector.request("GET", "/api/collector/wait?unique=9&timeout_ms=60000"); });
  collector.getJson("/api/collector/wait?batches=1");
  const auto start = Clock::now();
  EXPECT_EQ(collector.stop(), 0);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
  hanging.join();
  live.join();
  waiting.join();
}

TEST(Live, TellsOfWhatArrives) {
  CollectorProcess collector;
  struct Feed {
    std::string text;
    std::atomic<bool> isOpen{false};
  } feed;
  std::thread listening([&] {
    CURL* curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, (collector.address() + "/api/collector/live").c_str());
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &feed);
    curl_easy_setopt(
        curl, CURLOPT_WRITEFUNCTION,
        +[](char* data, size_t size, size_t count, void* to) -> size_t {
          Feed& its = *static_cast<Feed*>(to);
          its.text.append(data, size * count);
          its.isOpen = true;
          return has(its.text, "event: reset") ? 0 : size * count;
        });
    curl_easy_perform(curl);
    curl_easy_cleanup(curl);
  });
  while (!feed.isOpen) std::this_thread::yield();
  send(collector, {eventText(1)});
  collector.post("/api/collector/pause", R"({"reason":"tea"})");
  collector.post("/api/collector/reset", "");
  listening.join();
  EXPECT_TRUE(has(feed.text, "event: batch\ndata: {\"id\":1,")) << feed.text;
  EXPECT_TRUE(has(feed.text, idOf(1)));
  EXPECT_TRUE(has(feed.text, R"("paused_reason":"tea")"));
}

TEST(ForeignRequest, IsKnownByItsHeaders) {
  const auto foreign = [](const char* host, const char* origin = "", const char* site = "") {
    return isForeignRequest(host, origin, site, 80);
  };
  EXPECT_FALSE(foreign("127.0.0.1:80"));
  EXPECT_FALSE(foreign("localhost:80", "http://localhost:80", "same-origin"));
  EXPECT_TRUE(foreign(""));
  EXPECT_TRUE(foreign("127.0.0.1:81"));
  EXPECT_TRUE(foreign("shop.example"));
  EXPECT_TRUE(foreign("127.0.0.1:80", "null"));
  EXPECT_TRUE(foreign("127.0.0.1:80", "http://127.0.0.1:81"));
  EXPECT_TRUE(foreign("127.0.0.1:80", "https://127.0.0.1:80"));
  EXPECT_TRUE(foreign("127.0.0.1:80", "", "cross-site"));
}

TEST(Viewer, IsMissedPolitelyAndServedFromItsTable) {
  CollectorProcess bare({.arguments = {"--web", "/nowhere"}});
  EXPECT_TRUE(has(bare.getJson("/"), "has not been built"));
  const auto web = bare.dataDirectory() / "web";
  std::filesystem::create_directories(web / "assets");
  std::ofstream(web / "index.html") << "<p>viewer";
  std::ofstream(web / "assets/app.js") << "1";
  std::ofstream(web / "notes.txt") << "secret";
  CollectorProcess collector({.arguments = {"--web", web.string()}});
  EXPECT_EQ(collector.getJson("/"), "<p>viewer");
  EXPECT_EQ(collector.getJson("/assets/app.js"), "1");
  EXPECT_EQ(collector.request("GET", "/notes.txt").status, 404);
  EXPECT_EQ(collector.request("GET", "/assets/../index.html").status, 200);  // curl tidies it
  EXPECT_EQ(collector.request("GET", "/assets/%2e%2e%2fnotes.txt").status, 404);
}

}  // namespace
}  // namespace zarn::collector
