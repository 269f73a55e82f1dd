// What the reports make of events and calls, over HTTP.
#include <gtest/gtest.h>

#include "collector/wire_samples.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::string event(int n, const std::string& type, const std::string& name,
                  const std::string& properties) {
  const std::string text = spoilt(eventText(n, properties), "custom", type);
  return spoilt(text, "item " + std::to_string(n % 3), name);
}

void send(const CollectorProcess& collector, const std::vector<std::string>& events,
          const std::string& project = "shop") {
  const std::string batch = spoilt(batchText(events), "\"shop\"", "\"" + project + "\"");
  EXPECT_EQ(collector.request("POST", "/api/sdk/batch", batch, {"Authorization: k"}).status, 200);
}

std::string report(const CollectorProcess& collector, const std::string& what) {
  return collector.getJson("/api/collector/reports/" + what);
}

std::string route(const std::string& host, const std::string& path, const std::string& status,
                  const std::string& count) {
  return R"({"host":")" + host + R"(","route":")" + path + R"(","status_bucket":")" + status +
         R"(","count":)" + count + R"(,"request_bytes":10,"response_bytes":100,"lt_100ms":)" +
         count + R"(,"lt_300ms":0,"lt_1s":0,"lt_3s":0,"gte_3s":1})";
}

std::string summary(int n, int total, const std::string& routes) {
  return event(n, "network", "network_summary",
               R"({"window_seconds":30,"total_requests":)" + std::to_string(total) +
                   R"(,"dropped_records":2,"dropped_routes":1,"routes":[)" + routes + "]}");
}

TEST(NetworkReport, AddsUpWhatSummariesSay) {
  CollectorProcess collector;
  send(collector,
       {summary(
            1, 9,
            route("a.example", "/x/:id", "2xx", "3") + "," + route("b.example", "/", "5xx", "2")),
        summary(2, 7,
                route("a.example", "/x/:id", "error", "4") + "," +
                    route("a.example", "/y", "4xx", "1")),
        event(
            3, "network", "GET a.example/x",
            R"({"url":"a.example/x","method":"GET","status_code":200,"duration":12,"dns_ms":1})")});
  send(collector, {summary(4, 1, route("c.example", "/", "2xx", "1"))}, "cafe");
  const std::string shop = report(collector, "network?project=shop");
  EXPECT_TRUE(
      has(shop, R"("total_requests":16,"dropped_records":4,"dropped_routes":2,"summaries":2)"));
  EXPECT_TRUE(has(shop, R"("hosts":[{"host":"a.example","count":8,"errors":5,"request_bytes":30,)"
                        R"("response_bytes":300,"latency":[8,0,0,0,3],"routes":[{"route":"/x/:id",)"
                        R"("count":7,"errors":4,"request_bytes":20,"response_bytes":200,)"
                        R"("latency":[7,0,0,0,2],"statuses":{"2xx":3,"error":4}},{"route":"/y",)"))
      << shop;
  EXPECT_TRUE(has(shop, R"({"host":"b.example","count":2,"errors":2)"));
  EXPECT_FALSE(has(shop, "c.example"));
  EXPECT_TRUE(has(shop,
                  R"("url":"a.example/x","method":"GET","status_code":200,"duration":12,)"
                  R"("request_bytes":null,"response_bytes":null,"dns_ms":1,"connect_ms":null)"));
  EXPECT_TRUE(has(report(collector, "network"), "c.example"));
  EXPECT_TRUE(has(report(collector, "network?to=1000"), R"("summaries":0)"));
  EXPECT_TRUE(has(report(collector, "network?from=1000"), R"("summaries":3)"));
}

TEST(NetworkReport, HoldsForWhateverAnEventHas) {
  CollectorProcess collector;
  const std::string most = "9223372036854775807";
  std::string many;
  for (int i = 0; i < 300; ++i) {
    many += (i > 0 ? "," : "") + route("m.example", "/" + std::to_string(i), "odd", "1");
  }
  send(collector,
       {summary(1, 1,
                route("a.example", "/", "2xx", most) + "," + route("a.example", "/", "2xx", most)),
        summary(2, 1, R"(7,null,[],{"host":5,"count":"many"},{"count":-4})"), summary(3, 1, many),
        event(4, "network", "network_summary", R"({"total_requests":{},"routes":"none"})"),
        event(5, "network", "network_summary", "[]"),
        event(6, "network", "odd", R"({"url":["a",{"b":null}],"status_code":1.5})")});
  const std::string all = report(collector, "network");
  EXPECT_TRUE(
      has(all, R"("total_requests":3,"dropped_records":6,"dropped_routes":3,"summaries":5)"));
  EXPECT_TRUE(has(all, R"({"host":"a.example","count":)" + most)) << all;
  EXPECT_TRUE(has(all, R"({"host":"","count":0,)"));
  EXPECT_TRUE(has(all, R"({"host":"m.example","count":300,)"));
  EXPECT_TRUE(has(all, R"("statuses":{"other":1})"));
  std::size_t routes = 0;
  for (std::size_t at = 0; (at = all.find("{\"route\":\"/", at)) != std::string::npos; ++at)
    ++routes;
  EXPECT_EQ(routes, 101u);  // the 100 busiest of one host, and that of the other
  EXPECT_TRUE(has(all, R"("url":["a",{"b":null}],"method":null,"status_code":1.5)"));
}

TEST(LinkReport, TellsOfLinksInstallsAndWhatTheyWereAnswered) {
  CollectorProcess collector;
  const std::string click = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
  collector.request("PUT", "/api/collector/projects/shop/answers",
                    R"({"defaultLink":{"campaign":"spring","link":{"id":"l7"}}})");
  const std::string resolve =
      R"({"project_id":"shop","api_key":"k","zarn_click_id":")" + click + R"("})";
  collector.post("/api/sdk/link/resolve", resolve);
  collector.post("/api/collector/faults", R"({"endpoint":"resolve","kind":"cut"})");
  collector.request("POST", "/api/sdk/link/resolve",
                    spoilt(resolve, "zarn_click_id", "clipboard_token"));
  collector.post("/api/sdk/install/validate",
                 R"({"project_id":"shop","api_key":"k","install_id":"I","device_id":"D"})");
  send(
      collector,
      {event(1, "deep_link", "deep_link",
             R"({"link_host":"a.example","link_path_hash":"0123456789abcdef","source":)"
             R"("universalLink","is_deferred":false,"utm_source":"mail","utm_campaign":"spring"})"),
       event(2, "deep_link", "deep_link", R"({"source":"push","utm_campaign":"spring"})"),
       event(3, "install", "app_install",
             R"({"app_version":"2.4","zarn_click_id":")" + click + "\"}")});
  const std::string links = report(collector, "links?project=shop");
  EXPECT_TRUE(has(links,
                  R"("link_host":"a.example","link_path_hash":"0123456789abcdef","source":)"
                  R"("universalLink","is_deferred":false,"link_id":null,"zarn_click_id":null,)"
                  R"("utm":{"utm_source":"mail","utm_campaign":"spring"}})"))
      << links;
  EXPECT_LT(links.find(idOf(2)), links.find(idOf(1)));
  EXPECT_TRUE(has(links, R"("by_source":{"push":1,"universalLink":1})"));
  EXPECT_TRUE(has(links, R"("by_campaign":[{"campaign":"spring","count":2}])"));
  EXPECT_TRUE(has(links, R"("has_click_id":true,"has_clipboard_token":false,"resolved":true,)"
                         R"("link_id":"l7","campaign":"spring","status":200})"));
  // The answer was cut off: its client could read nothing.
  EXPECT_TRUE(has(links, R"("has_click_id":false,"has_clipboard_token":true,"resolved":null,)"
                         R"("link_id":null,"campaign":null,"status":200,"cause":"cut"})"));
  EXPECT_TRUE(has(links, R"("device_id":"D","app_version":"2.4","zarn_click_id":")" + click));
  EXPECT_TRUE(has(links, R"("install_id":"I","device_id":"D","status":"validated"})"));
  EXPECT_TRUE(has(report(collector, "links?project=cafe"), R"("resolves":[],"installs":[])"));
}

TEST(PushReport, FollowsEachPushAndWhatItLedTo) {
  CollectorProcess collector;
  const std::string push = R"("push_id":"p1","provider":"apns","zarn_campaign_id":"c1")";
  const auto open = [&](int n, const std::string& more) {
    return event(n, "push_open", "push_open", "{" + push + more + "}");
  };
  send(collector,
       {event(1, "push_received", "push_received",
              "{" + push + R"(,"content_hash":"ab","received_at_ms":1769851799500})"),
        event(2, "push_silent", "push_silent", R"({"push_id":"p2","provider":"fcm"})"),
        open(3, R"(,"time_to_open_ms":500)"), open(4, R"(,"time_to_open_ms":9000)"),
        event(5, "push_dismissed", "push_dismissed", "{" + push + "}"),
        event(6, "custom", "checkout",
              R"({"attribution_push_id":"p1","attribution_campaign_id":"c1"})"),
        event(7, "tap", "checkout",
              R"({"attribution_push_id":"p0","attribution_campaign_id":"c0"})"),
        event(8, "custom", "note", R"({"note":"attribution_push_id"})"),
        event(9, "push_action", "push_action", R"({"push_id":7,"zarn_campaign_id":["c1"]})"),
        event(10, "push_permission", "push_permission", R"({"authorization_status":"denied"})")});
  collector.post("/api/sdk/push/register",
                 R"({"project_id":"shop","device_id":"D","provider":"firebase","token":"raw"})");
  const std::string all = report(collector, "push?project=shop");
  EXPECT_TRUE(
      has(all, R"("funnel":{"received":1,"silent":1,"opened":2,"dismissed":1,"actions":1})"))
      << all;
  EXPECT_TRUE(has(all, R"("campaigns":[{"campaign_id":"c1","received":1,"opened":2,"dismissed":1,)"
                       R"("actions":0,"attributed_events":1},{"campaign_id":"c0",)"));
  EXPECT_TRUE(has(all,
                  R"("pushes":[{"push_id":"p1","provider":"apns","campaign_id":"c1",)"
                  R"("received_at":"2026-01-31T09:29:59.500Z","opened_at":)"
                  R"("2026-01-31T09:30:00.000Z","time_to_open_ms":500,"outcome":"opened",)"
                  R"("content_hash":"ab","title":null,"attributed_events":1},{"push_id":"p2",)"));
  EXPECT_TRUE(has(all, R"("opened_at":null,"time_to_open_ms":null,"outcome":"silent")"));
  EXPECT_TRUE(has(all, R"("attributed":[{"event_name":"checkout","count":2}])"));
  EXPECT_TRUE(has(all, R"("permissions":[{"status":"denied","count":1}])"));
  EXPECT_TRUE(has(all, R"("device_id":"D","provider":"firebase","token_sha256":")")) << all;
  EXPECT_FALSE(has(all, "\"raw\""));
}

TEST(CrashReport, ListsTheNewestWithTheirStacks) {
  CollectorProcess collector;
  send(collector, {event(1, "crash", "metric_kit_crash",
                         R"({"signal_name":"SIGSEGV","signal_code":11,"stack_trace":"a\nb"})"),
                   event(2, "crash", "hang", R"({"signal_name":"hang","frozen_ms":2500})")});
  std::vector<std::string> more;
  for (int n = 3; n < 103; ++n) more.push_back(event(n, "crash", "metric_kit_crash", "{}"));
  const std::string two = report(collector, "crashes");
  EXPECT_TRUE(
      has(two, R"("kind":"crash","device_id":"D","signal_name":"SIGSEGV","signal_code":11,)"));
  EXPECT_TRUE(has(two, R"("stack_trace":"a\nb","frozen_ms":null})"));
  EXPECT_LT(two.find(R"("kind":"hang")"), two.find(R"("kind":"crash")"));
  EXPECT_TRUE(has(two, R"("frozen_ms":2500)"));
  send(collector, more);
  const std::string newest = report(collector, "crashes");
  EXPECT_TRUE(has(newest, idOf(3)) && has(newest, idOf(102)) && !has(newest, idOf(2)));
}

TEST(Reports, RefuseWhatTheyCannotMean) {
  CollectorProcess collector;
  const auto said = [&](const std::string& query) {
    return collector.request("GET", "/api/collector/reports/" + query).body;
  };
  EXPECT_TRUE(has(said("push?from=5&to=5"), R"(\"from\" must be before \"to\")"));
  EXPECT_TRUE(has(said("push?from=soon"), R"(\"from\" must be a whole number from 0)"));
  EXPECT_TRUE(has(said("links?projct=shop"), R"(\"projct\" is no parameter of)"));
  EXPECT_TRUE(has(said("taps"), "there is nothing at this path"));
}

}  // namespace
}  // namespace zarn::collector
