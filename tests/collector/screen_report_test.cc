// Screens and the ways between them, out of what clients tell.
#include <gtest/gtest.h>

#include "collector/wire_samples.h"
#include "server/screen_pictures.h"
#include "server/screen_ways.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

struct Told {
  int n = 0;
  std::vector<std::string> events;

  void add(const std::string& type, const std::string& name, const std::string& properties,
           const std::string& session = "S") {
    std::string text = spoilt(eventText(++n, properties), "custom", type);
    text = spoilt(text, "item " + std::to_string(n % 3), name);
    events.push_back(spoilt(text, "\"S" + std::to_string(n % 2) + "\"", "\"" + session + "\""));
  }
  void view(const std::string& name, const std::string& id, const std::string& state,
            const std::string& more = {}) {
    add("screen_view", name,
        R"({"screen_class":")" + name + R"(Page","screen_fingerprint":")" + id +
            R"(","screen_state":")" + state + "\"" + more + "}");
  }
  void visit(int index, const std::string& name, const std::string& id, int dwell,
             const std::string& exit = "forward", const std::string& session = "S") {
    const std::int64_t entered = 1'769'851'800'000 + index * 10'000;
    add("screen_visit", name.empty() ? id : name,
        R"({"visit_id":"V","entry_index":)" + std::to_string(index) + R"(,"screen_id":")" + id +
            (name.empty() ? "" : R"(","screen_name":")" + name) + R"(","entered_at":)" +
            std::to_string(entered) + R"(,"dwell_ms":)" + std::to_string(dwell) +
            R"(,"tap_count":2,"scroll_count":1,"exit_reason":")" + exit + "\"}",
        session);
  }
  void transition(const std::string& from, const std::string& to, int ms,
                  const std::string& session = "S") {
    add("screen_transition", "screen_transition",
        R"({"duration_ms":)" + std::to_string(ms) + R"(,"from_identity_hash":"a",)" +
            R"("to_identity_hash":"b","from_screen":")" + from + R"(","to_screen":")" + to + "\"}",
        session);
  }
  void sendTo(const CollectorProcess& collector) const {
    EXPECT_EQ(
        collector.request("POST", "/api/sdk/batch", batchText(events), {"Authorization: k"}).status,
        200);
  }
};

// Home, the cart, back home; then the app goes to the background and Home goes on.
Told shopVisit() {
  Told told;
  told.view("Home", "0000000a", "populated",
            R"(,"_zarn_name_candidates":[{"text":"Home","source":"navTitle","confidence":0.95},)"
            R"({"text":"HomePage","source":"viewControllerType","confidence":0.3},7])");
  told.view("Cart", "0000000b", "loading");
  told.view("Cart", "0000000c", "empty", R"(,"trigger":"state_change")");
  told.visit(0, "Home", "0000000a", 4000);
  told.visit(1, "Cart", "0000000b", 1000);
  told.visit(2, "", "0000000a", 6000, "background");
  told.visit(3, "Home", "0000000a", 2000, "background");
  told.transition("0000000a", "0000000b", 300);
  told.transition("0000000a", "0000000b", 500);
  told.transition("0000000b", "0000000a", 200);
  return told;
}

TEST(ScreensReport, TellsOfEachScreenByItsName) {
  CollectorProcess collector;
  shopVisit().sendTo(collector);
  const std::string all = collector.getJson("/api/collector/reports/screens?project=shop");
  EXPECT_TRUE(has(all, R"({"screen_count":2,"screens":[{"name":"Home","views":1,"visits":3,)"
                       R"("dwell_median_ms":4000,"dwell_total_ms":12000,"taps":6,"scrolls":3,)"
                       R"("states":{"populated":1},"triggers":{},"classes":["HomePage"],)"
                       R"("fingerprints":["0000000a"],"candidates":[{"text":"Home","source":)"
                       R"("navTitle","confidence":0.95,"count":1},{"text":"HomePage",)"))
      << all;
  EXPECT_TRUE(has(all, R"("screenshots":[],"came_from":[{"name":"Cart","count":1}],)"
                       R"("went_to":[{"name":"Cart","count":2}],"recent_visits":[{"session_id":)"
                       R"("S","event_id":")" +
                           idOf(7) +
                           R"(","entered_at":"2026-01-31T09:30:30.000Z","entry_index":3,)"));
  EXPECT_TRUE(has(all, R"({"name":"Cart","views":2,"visits":1,"dwell_median_ms":1000,)"));
  EXPECT_TRUE(has(all, R"("states":{"empty":1,"loading":1},"triggers":{"state_change":1})"));
  EXPECT_TRUE(has(collector.getJson("/api/collector/reports/screens?project=cafe"),
                  R"({"screen_count":0,"screens":[],"other_screenshots":[]})"));
  EXPECT_EQ(collector.request("GET", "/api/collector/reports/flow?screen=Cart").status, 400);
}

TEST(FlowReport, CountsWaysByVisitsAndTimesThemByTransitions) {
  CollectorProcess collector;
  shopVisit().sendTo(collector);
  const std::string all = collector.getJson("/api/collector/reports/flow?project=shop");
  EXPECT_TRUE(has(all, R"({"visit_count":4,"transition_count":3,"screen_count":2,)"
                       R"("session_count":1,"screens":[)"
                       R"({"name":"Home","views":1,"visits":3,"dwell_median_ms":4000,"taps":6,)"
                       R"("scrolls":3,"starts":1,"ends":1,"screenshot":null},{"name":"Cart",)"))
      << all;
  // Two taps led to the cart, but only one visit of it has come to its end.
  EXPECT_TRUE(has(all, R"("edges":[{"from":"Home","to":"Cart","count":2,"visits":1,)"
                       R"("transitions":2,"median_ms":300},{"from":"Cart","to":"Home","count":1,)"
                       R"("visits":1,"transitions":1,"median_ms":200}],"sessions":[)"
                       R"({"session_id":"S","device_id":"D","started_at":)"
                       R"("2026-01-31T09:30:00.000Z","visit_count":4,"visits":[{"name":"Home",)"));
}

TEST(FlowReport, HoldsForWhateverAnEventHas) {
  CollectorProcess collector;
  Told told;
  told.add("screen_view", "Odd", R"({"screen_state":7,"_zarn_name_candidates":{"text":"x"}})");
  told.add("screen_visit", "odd", R"({"entered_at":"noon","dwell_ms":-5,"entry_index":[]})");
  told.add("screen_visit", "odd", "[]");
  told.add("screen_visit", "odd", R"({"screen_name":"Long","dwell_ms":9223372036854775807})");
  told.add("screen_visit", "odd", R"({"screen_name":"Long","dwell_ms":9223372036854775807})");
  told.transition("nowhere", "elsewhere", 5);
  told.transition("", "elsewhere", 5);
  for (int i = 0; i < 80; ++i) told.view("Page " + std::to_string(i), std::to_string(i), "normal");
  told.sendTo(collector);
  const std::string flow = collector.getJson("/api/collector/reports/flow");
  EXPECT_TRUE(has(flow, R"("transition_count":1,"screen_count":85,)")) << flow.substr(0, 300);
  EXPECT_TRUE(has(flow, R"("visit_count":4)"));
  const std::string screens = collector.getJson("/api/collector/reports/screens");
  EXPECT_TRUE(has(screens, R"("name":"Long","views":0,"visits":2,"dwell_median_ms":)"
                           R"(9223372036854775807,"dwell_total_ms":9223372036854775807)"));
}

ScreenVisit visitOf(std::string session, std::int64_t index, std::string name,
                    std::string exit = "forward") {
  ScreenVisit visit;
  visit.screenId = "id " + name;
  visit.name = std::move(name);
  visit.session = std::move(session);
  visit.index = index;
  visit.exitReason = std::move(exit);
  visit.enteredMs = index;
  return visit;
}

TEST(ScreenWays, JoinOnlyNeighboursOfOneSession) {
  ScreenFacts facts;
  facts.visits = {visitOf("a", 0, "A"), visitOf("a", 1, "B", "background"),
                  visitOf("a", 2, "B"), visitOf("a", 4, "C"),
                  visitOf("b", 5, "A"), visitOf("b", 6, "A")};
  facts.visits[5].screenId = "another shape";
  const ScreenWays ways = waysOf(facts);
  ASSERT_EQ(ways.size(), 2u);  // nothing from the visit that was lost, nor over the session's end
  EXPECT_EQ(ways.at({"A", "B"}).visits, 1);
  EXPECT_EQ(ways.at({"A", "A"}).visits, 1);
  const auto stays = staysOf(facts);
  EXPECT_EQ(stays.at("A").starts, 2);
  EXPECT_EQ(stays.at("C").ends, 1);
  EXPECT_EQ(stays.at("B").starts + stays.at("B").ends, 0);
  EXPECT_EQ(medianOf({}), std::nullopt);
  EXPECT_EQ(medianOf({9, 1, 4, 2}), 2);
}

// Two screens of one shape share an id: the session and the time tell which of them was meant.
TEST(FlowReport, NamesScreensOfOneShapeByWhenTheyWereSeen) {
  CollectorProcess collector;
  Told told;
  told.visit(0, "Orders", "0000000d", 1000);
  told.visit(1, "Home", "0000000a", 1000);
  told.visit(0, "Offers", "0000000d", 1000, "forward", "T");
  told.visit(1, "Home", "0000000a", 1000, "forward", "T");
  told.transition("0000000d", "0000000a", 100);
  told.transition("0000000d", "0000000a", 200, "T");
  told.sendTo(collector);
  const std::string flow = collector.getJson("/api/collector/reports/flow");
  EXPECT_TRUE(has(flow, R"("from":"Orders","to":"Home","count":1,"visits":1,"transitions":1,)"
                        R"("median_ms":100)"))
      << flow;
  EXPECT_TRUE(has(flow, R"("from":"Offers","to":"Home","count":1,"visits":1,"transitions":1,)"
                        R"("median_ms":200)"));
}

TEST(ScreenPictures, AreFoundByWhatIsLeftOfTheName) {
  EXPECT_EQ(simplified("Your cart – 2 items!"), "yourcart–2items");
  CollectorProcess collector;
  Told told;
  told.view("Offer – “today”", "0000000e", "normal");
  told.view("Корзина", "0000000f", "populated");
  told.view("Unnamed", "00000010", "normal");
  told.sendTo(collector);
  for (const char* key :
       {"Offer_today_normal", "Корзина_populated", "Screen_00000010_normal", "Gone_empty"}) {
    const std::string body =
        R"({"project_id":"shop","app_id":"a","platform":"ios","sdk_version":"1","bundle_id":"b",)"
        R"("width":390,"height":844,"device_id":"D","anonymous_id":"A",)"
        R"("image_b64":"/9j//gAEcXT//8IACwgDTAGGAQERAP/Z","screen_name":")" +
        std::string(key) + "\"}";
    EXPECT_EQ(collector.post("/api/sdk/screenshot", body), R"({"stored":true})");
  }
  const std::string all = collector.getJson("/api/collector/reports/screens");
  for (const char* key : {"Offer_today_normal", "Корзина_populated", "Screen_00000010_normal"}) {
    EXPECT_TRUE(has(all, R"("screenshots":[{"screen_name":")" + std::string(key))) << all;
  }
  EXPECT_TRUE(has(all, R"("other_screenshots":[{"screen_name":"Gone_empty","state":"empty",)"));
  EXPECT_FALSE(has(collector.getJson("/api/collector/reports/flow"), R"("screenshot":null)"));
}

}  // namespace
}  // namespace zarn::collector
