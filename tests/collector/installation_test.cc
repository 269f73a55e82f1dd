// What is known of one installation over time, and the record of all that came in.
#include <gtest/gtest.h>

#include "collector/wire_samples.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// An event of a person in a session; the number is also the second in which it happened.
std::string event(int n, const std::string& anonymous, const std::string& user,
                  const std::string& session) {
  std::string text = spoilt(eventText(n), "\"anonymous_id\":\"A\"",
                            "\"anonymous_id\":\"" + anonymous + "\"" +
                                (user.empty() ? "" : ",\"user_id\":\"" + user + "\""));
  text = spoilt(text, "\"session_id\":\"S" + std::to_string(n % 2), "\"session_id\":\"" + session);
  const std::string second = (n < 10 ? "0" : "") + std::to_string(n);
  return spoilt(text, "09:30:00Z", "09:30:" + second + "Z");
}

void send(const CollectorProcess& collector, const std::string& batch) {
  EXPECT_EQ(collector.request("POST", "/api/sdk/batch", batch, {"Authorization: k"}).status, 200);
}

TEST(Installations, TellWhoUsedThemWhenAndUnderWhatContext) {
  CollectorProcess collector;
  send(collector, batchText({event(1, "A", "", "one"), event(2, "A", "u-7", "one")}));
  // Arrives late, belongs between the others.
  send(collector, batchText({event(4, "B", "", "two")}));
  send(collector, batchText({event(3, "A", "u-7", "one")}, contextText(R"(,"low_memory":true)")));
  send(collector,
       spoilt(batchText({event(5, "B", "", "two")}), "\"context\":" + contextText() + ",", ""));
  send(collector, spoilt(batchText({event(6, "C", "", "three")}), "\"io.shop\"", "\"io.cafe\""));

  const std::string list = collector.getJson("/api/collector/installations?project=shop");
  EXPECT_TRUE(has(list, R"("app":"io.shop","device_id":"D")")) << list;
  EXPECT_TRUE(has(list, R"("app":"io.cafe","device_id":"D")")) << list;
  const std::string one = collector.getJson("/api/collector/installations/1");
  EXPECT_TRUE(has(one, R"("batches":4,"events":5)")) << one;
  const std::size_t b =
      one.find(R"({"anonymous_id":"B","user_id":null,"from":1769851804,"until":17)"
               R"(69851805,)");
  const std::size_t known = one.find(R"({"anonymous_id":"A","user_id":"u-7","from":1769851802,)"
                                     R"("until":1769851803,)");
  const std::size_t unknown = one.find(R"({"anonymous_id":"A","user_id":null,)");
  EXPECT_LT(b, known);
  EXPECT_LT(known, unknown);
  EXPECT_LT(unknown, std::string::npos) << one;
  EXPECT_FALSE(has(one, R"("anonymous_id":"C")"));
  EXPECT_TRUE(has(one, R"({"session_id":"one","from":1769851801,"until":1769851803,"events":3,)"));
  // The newest first: none, the second, the first.
  const std::size_t contexts = one.find(R"("contexts":[)");
  EXPECT_TRUE(has(one.substr(contexts), R"("batches":1,"first_batch":4,"context":null)")) << one;
  EXPECT_TRUE(has(one.substr(contexts), R"("batches":1,"first_batch":3,"context":{)"));
  EXPECT_TRUE(has(one.substr(contexts), R"("batches":2,"first_batch":1,"context":{)"));
  EXPECT_EQ(collector.request("GET", "/api/collector/installations/9").status, 404);
}

TEST(Requests, AreKeptAsTheyCame) {
  CollectorProcess collector({.arguments = {"--max-body-mib", "1"}});
  const std::string binary("\x01\xff\x00secret\xfe", 10);
  collector.request("POST", "/api/sdk/batch?a=%41", "{\"batch\":[1, 2]}", {"X-Odd: value one"});
  collector.request("POST", "/api/sdk/batch", binary);
  collector.request("POST", "/elsewhere", "told to nobody");
  collector.request("DELETE", "/api/sdk/init", "wrong method");
  collector.request("POST", "/api/sdk/init", std::string(2 << 20, 'x'));
  collector.request("POST", "/api/collector/pause", R"({"reason":"own"})");
  collector.kill();
  collector.start();
  collector.request("POST", "/api/sdk/batch", "after the kill");
  const std::string raw = collector.getJson("/api/collector/requests/raw");
  for (const std::string part :
       {"POST /api/sdk/batch?a=%41 HTTP/1.1\r\n", "X-Odd: value one\r\n", "{\"batch\":[1, 2]}\r\n",
        "told to nobody\r\n", "DELETE /api/sdk/init HTTP/1.1\r\n", "wrong method",
        "after the kill"}) {
    EXPECT_TRUE(has(raw, part)) << part << "\n" << raw;
  }
  EXPECT_TRUE(has(raw, binary));
  EXPECT_FALSE(has(raw, "pause"));
  const std::string list = collector.getJson("/api/collector/requests?limit=5");
  EXPECT_TRUE(has(list, R"("body":"{\"batch\":[1, 2]}")")) << list;
  EXPECT_TRUE(has(list, R"("bytes":)" + std::to_string(binary.size()) + R"(,"body":null)")) << list;
  EXPECT_TRUE(has(list, R"("refused":"the body is larger than 1048576 bytes")")) << list;
  collector.post("/api/collector/reset", "");
  EXPECT_EQ(collector.getJson("/api/collector/requests/raw"), "");
}

}  // namespace
}  // namespace zarn::collector
