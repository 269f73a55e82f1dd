// What the server decides for a project, and how it tells it: the book of decisions, the answers
// made of it, and both over HTTP.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "collector/wire_samples.h"
#include "server/exchange_plan.h"
#include "server/json.h"
#include "server/policy_keys.h"
#include "server/project_book.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::vector<std::string> problemsOf(std::string_view policy) {
  rapidjson::Document parsed;
  std::string error;
  EXPECT_TRUE(parseJson(policy, parsed, error)) << error;
  return policyProblems(parsed);
}

TEST(PolicyKeys, NameWhatIsWrongAndTakeTheRest) {
  EXPECT_EQ(problemsOf("{}"), std::vector<std::string>());
  EXPECT_EQ(problemsOf(R"({"core":{"sessions":false,"errors":null},"push":null,
      "replay":{"sampleRate":12.5,"maxConcurrentCaptures":2,"autoMaskCategories":["image"]},
      "screenshots":{"quality":30}})"),
            std::vector<std::string>());
  EXPECT_EQ(problemsOf("[]"), std::vector<std::string>{"a policy must be a JSON object"});
  EXPECT_EQ(
      problemsOf(R"({"core":{"session":true,"errors":1},"cores":{},"push":[],
      "screenshots":{"quality":30.5,"excludedScreens":["a",1]},"core":{}})"),
      (std::vector<std::string>{"unknown key \"core.session\"", "core.errors must be true or false",
                                "unknown section \"cores\"", "push must be an object",
                                "screenshots.quality must be a whole number",
                                "screenshots.excludedScreens must be a list of strings",
                                "core appears more than once"}));
}

class ProjectBookTest : public ::testing::Test {
 protected:
  ProjectBookTest() {
    std::string name = (std::filesystem::temp_directory_path() / "zarn-book-XXXXXX").string();
    directory_ = mkdtemp(name.data());
    store_ = Store::open(directory_, error_);
  }
  ~ProjectBookTest() override {
    store_.reset();
    std::filesystem::remove_all(directory_);
  }

  std::string directory_, error_;
  std::unique_ptr<Store> store_;
};

TEST_F(ProjectBookTest, MakesARevisionOfEveryChangeAndOfNothingElse) {
  ProjectBook book(*store_);
  EXPECT_EQ(book.settings("shop").policy, "{}");
  ASSERT_TRUE(book.edit("shop", R"({"data_collection":{"core":{"sessions":false}}})", error_));
  ASSERT_TRUE(book.pause("shop", "tea", error_));
  ASSERT_TRUE(book.pause("shop", "tea", error_));
  ASSERT_TRUE(book.edit("shop", R"({"data_collection":{"core":{"sessions":false}}})", error_));
  const ProjectSettings now = book.settings("shop");
  EXPECT_EQ(now.revision, 2);
  EXPECT_EQ(now.policyRevision, 1);
  EXPECT_EQ(now.pauseRevision, 2);
  EXPECT_EQ(now.paused, "tea");
  EXPECT_EQ(now.policy, R"({"core":{"sessions":false}})");

  EXPECT_FALSE(book.edit("shop", R"({"data_collection":{"core":{"sessions":1}}})", error_));
  EXPECT_EQ(error_, "core.sessions must be true or false");
  EXPECT_FALSE(book.edit("shop", R"({"policy":{}})", error_));
  const std::string deep = std::string(30'000, '[') + std::string(30'000, ']');
  EXPECT_FALSE(book.edit("shop", "{\"data_collection\":" + deep + "}", error_));
  EXPECT_EQ(error_, "a policy must be a JSON object");
  EXPECT_EQ(book.settings("shop").revision, 2);

  ASSERT_TRUE(book.edit("cafe", R"({"paused":true,"paused_reason":"soon","app_id":"a"})", error_));
  ASSERT_TRUE(book.remove("shop", error_));
  EXPECT_EQ(book.settings("shop").revision, 4);
  EXPECT_FALSE(book.settings("shop").paused);
  EXPECT_EQ(book.earlier("shop", 0).revision, 2);
  EXPECT_EQ(book.earlier("shop", 1).revision, 1);
  EXPECT_EQ(book.earlier("shop", 3).revision, 2);
  EXPECT_EQ(book.earlier("cafe", 2).revision, 0);
}

TEST_F(ProjectBookTest, RemembersAcrossARestart) {
  {
    ProjectBook book(*store_);
    ASSERT_TRUE(book.edit("shop", R"({"paused":true,"release_id":"r7"})", error_));
  }
  store_.reset();
  store_ = Store::open(directory_, error_);
  ProjectBook book(*store_);
  EXPECT_EQ(book.settings("shop").paused, "");
  EXPECT_EQ(book.settings("shop").releaseId, "r7");
  ASSERT_TRUE(book.resume("shop", error_));
  EXPECT_EQ(book.settings("shop").revision, 2);
}

// An exchange answered under the fault, with the policy {"core":{}} of revision 7, and paused.
ExchangeRecord answered(Endpoint endpoint, std::string_view fault) {
  ExchangeMeeting meeting;
  meeting.settings.revision = 7;
  meeting.settings.policy = R"({"core":{}})";
  meeting.paused = "tea";
  std::string error;
  if (!fault.empty()) meeting.fault = faultFromWords(fault, error);
  EXPECT_EQ(error, "");
  ExchangeRecord record;
  record.endpoint = endpoint;
  record.caller.project = "shop";
  record.caller.appVersion = "2";
  planExchange(record, meeting);
  return record;
}

TEST(ExchangePlan, TellsPolicyAndPause) {
  const ExchangeRecord init = answered(Endpoint::init, "");
  EXPECT_EQ(init.response, R"({"data_collection":{"core":{}},"release_id":"shop@2",)"
                           R"("app_id":"app:shop","paused":true,"paused_reason":"tea"})");
  EXPECT_EQ(init.told.revision, 7);
  EXPECT_EQ(init.told.policy, R"({"core":{}})");
  EXPECT_EQ(answered(Endpoint::config, "").response,
            R"({"dataCollection":{"core":{}},"paused":true})");
}

TEST(ExchangePlan, CountsAsToldOnlyWhatAClientCanRead) {
  const ExchangeRecord bare = answered(Endpoint::recovery, "kind=no_policy,endpoint=recovery");
  EXPECT_FALSE(has(bare.response, "data_collection"));
  EXPECT_EQ(bare.told.policy, "");
  EXPECT_EQ(bare.told.paused, true);
  // An answer to config must have its policy to be read at all.
  EXPECT_FALSE(answered(Endpoint::config, "kind=no_policy").told.paused);
  for (const char* fault : {"kind=status", "kind=hang", "kind=drop", "kind=cut", "kind=empty",
                            "kind=garbled", "kind=mistyped", "kind=body,body=no"}) {
    const ExchangeRecord record = answered(Endpoint::config, fault);
    EXPECT_FALSE(record.told.revision || record.told.paused) << fault;
    EXPECT_EQ(record.told.policy, "") << fault;
  }
  EXPECT_EQ(answered(Endpoint::init, "kind=drop").status, 0);
  EXPECT_EQ(answered(Endpoint::init, "kind=body,body=no").response, "no");
  rapidjson::Document parsed;
  std::string error;
  EXPECT_FALSE(parseJson(answered(Endpoint::init, "kind=garbled").response, parsed, error));
}

constexpr const char* kConfigPath =
    "/api/sdk/config?project_id=shop&platform=ios&bundle_id=io.shop&environment=production"
    "&sdk_version=1.0.16";

std::string fetch(const CollectorProcess& collector) {
  return collector.request("GET", kConfigPath, {}, {"Authorization: k", "Accept: application/json"})
      .body;
}

std::string initText(bool recovery) {
  return std::string(
             R"({"project_id":"shop","api_key":"k","platform":"ios","bundle_id":"io.shop",)") +
         R"("app_version":"1.0",)" + (recovery ? "" : R"("build":"7",)") +
         R"("environment":"production","sdk_version":"1.0.16"})";
}

TEST(Projects, AChangeReachesAClientAtItsNextExchange) {
  CollectorProcess collector;
  const std::string project = "/api/collector/projects/shop";
  EXPECT_TRUE(has(fetch(collector), R"("dataCollection":{})"));
  const std::string changed =
      collector.request("PUT", project, R"({"data_collection":{"core":{"sessions":false}}})").body;
  EXPECT_TRUE(has(changed, R"("revision":1)")) << changed;
  EXPECT_TRUE(has(changed, R"("reached":false)")) << changed;
  std::thread asking([&] { fetch(collector); });
  EXPECT_TRUE(has(collector.getJson(project + "/wait"), R"("all_reached":true)"));
  asking.join();

  // A batch tells of the pause, but brings no policy.
  collector.post(project + "/pause", R"({"reason":"tea"})");
  EXPECT_EQ(collector.post("/api/sdk/batch", batchText({eventText(1)})),
            R"({"paused":true,"paused_reason":"tea"})");
  EXPECT_TRUE(has(collector.getJson(project), R"("reached":true)"));
  const std::string batch = collector.getJson("/api/collector/batches/1");
  EXPECT_TRUE(has(batch, R"("policy_exchange":2,"policy_revision":1)")) << batch;
  EXPECT_TRUE(has(collector.getJson("/api/collector/exchanges?endpoint=batch"),
                  R"("revision":2,"newest_revision":2,"paused":true,"paused_reason":"tea",)"
                  R"("policy":null,"batch":1)"));

  EXPECT_EQ(collector.request("PUT", project, R"({"data_collection":{"core":1}})").status, 400);
  EXPECT_EQ(collector.request("POST", project + "/pause", R"({"why":1})").status, 400);
  collector.kill();
  collector.start();
  EXPECT_EQ(fetch(collector), R"({"dataCollection":{"core":{"sessions":false}},"paused":true})");
  collector.request("DELETE", project);
  EXPECT_EQ(fetch(collector), R"({"dataCollection":{},"paused":false})");
}

TEST(Projects, FaultsOfOneProjectMakeItsAnswersStaleLateOrBare) {
  CollectorProcess collector;
  const auto post = [&](const std::string& fault) {
    collector.post("/api/collector/faults", fault);
  };
  const std::string project = "/api/collector/projects/shop";
  collector.request("PUT", project, R"({"data_collection":{"core":{"errors":false}}})");
  collector.request("PUT", project, R"({"data_collection":{}})");
  post(R"({"endpoint":"config","kind":"stale","project":"cafe"})");
  EXPECT_TRUE(has(fetch(collector), R"("dataCollection":{},)"));
  post(R"({"endpoint":"config","kind":"stale","project":"shop","count":1})");
  EXPECT_TRUE(has(fetch(collector), R"("errors":false)"));
  EXPECT_TRUE(has(collector.getJson(project), R"("reached":true)"));  // by the first answer

  post(R"({"endpoint":"recovery","kind":"no_policy","project":"shop"})");
  EXPECT_TRUE(has(collector.post("/api/sdk/init", initText(false)), "data_collection"));
  EXPECT_FALSE(has(collector.post("/api/sdk/init", initText(true)), "data_collection"));

  // Decided when the request came, given when the fault is switched off: by then it is stale.
  collector.request("DELETE", "/api/collector/faults");
  post(R"({"endpoint":"config","kind":"delay","delay_ms":60000})");
  std::string late;
  std::thread asking([&] { late = fetch(collector); });
  collector.getJson("/api/collector/wait?calls=5");
  EXPECT_TRUE(has(collector.getJson("/api/collector/exchanges?limit=1"), R"("answered_at":null)"));
  collector.request("PUT", project, R"({"data_collection":{"core":{"pageViews":false}}})");
  collector.request("DELETE", "/api/collector/faults");
  asking.join();
  EXPECT_TRUE(has(late, R"("dataCollection":{},)")) << late;
  EXPECT_FALSE(has(collector.getJson("/api/collector/exchanges?limit=1"), R"("answered_at":null)"));
  EXPECT_TRUE(has(collector.getJson(project), R"("reached":false)"));
}

}  // namespace
}  // namespace zarn::collector
