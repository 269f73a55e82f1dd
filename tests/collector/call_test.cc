// The calls about links, installs and push tokens: how they are checked and shown, what can be set
// to be answered, and both over HTTP.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "collector/wire_samples.h"
#include "server/answer_book.h"
#include "server/call_check.h"
#include "server/call_plan.h"
#include "server/digest.h"
#include "server/json.h"
#include "support/collector_process.h"

namespace zarn::collector {
namespace {

using testing::CollectorProcess;
using Problems = std::vector<std::string>;

constexpr const char* kClick = "3f2504e0-4f89-41d3-9a0c-0305e82c3301";
constexpr const char* kClipboard = "zn:web;exp=1893456000;znt=abc";
constexpr const char* kToken = "tok-4711-raw";

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::string resolveText() {
  return R"({"project_id":"shop","api_key":"k","zarn_click_id":")" + std::string(kClick) + R"("})";
}

std::string validateText() {
  return R"({"project_id":"shop","api_key":"k","platform":"ios","sdk_version":"1.0.16",)"
         R"("install_id":"I","device_id":"D","bundle_id":"io.shop","apple_receipt":"cmVjZWlwdA=="})";
}

std::string registerText() {
  return R"({"project_id":"shop","api_key":"k","device_id":"D","token":")" + std::string(kToken) +
         R"(","platform":"ios","provider":"apns","bundle_id":"io.shop",)"
         R"("environment":"production","sdk_version":"1.0.16"})";
}

CallFacts checked(Endpoint endpoint, const std::string& body) {
  CallFacts facts;
  std::string error;
  EXPECT_TRUE(checkCall(endpoint, body, facts, error)) << error;
  return facts;
}

TEST(CallCheck, NamesWhatIsWrong) {
  EXPECT_EQ(checked(Endpoint::resolve, resolveText()).caller.problems, Problems());
  EXPECT_EQ(checked(Endpoint::validate, validateText()).caller.problems, Problems());
  EXPECT_EQ(checked(Endpoint::registration, registerText()).caller.problems, Problems());
  const std::string clipboard = "\"clipboard_token\":\"" + std::string(kClipboard) + "\"";
  const std::string click = "\"zarn_click_id\":\"" + std::string(kClick) + "\"";
  EXPECT_EQ(checked(Endpoint::resolve, spoilt(resolveText(), click, clipboard)).caller.problems,
            Problems());
  const struct {
    Endpoint endpoint;
    std::string body, from, to, problem;
  } cases[] = {
      {Endpoint::resolve, resolveText(), "," + click, "",
       "zarn_click_id or clipboard_token must be there"},
      {Endpoint::resolve, resolveText(), "-41d3", "-61d3", "zarn_click_id is no click id: "},
      {Endpoint::resolve, resolveText(), "-9a0c", "-ca0c", "zarn_click_id is no click id: "},
      {Endpoint::resolve, resolveText(), click, click + R"(,"clipboard_token":"zn:;znt=a")",
       "clipboard_token must look like zn:...;exp=SECONDS;znt=..."},
      {Endpoint::resolve, resolveText(), click, click + R"(,"clipboard_token":"zn:;exp=1;znt=")",
       "clipboard_token must look like"},
      {Endpoint::resolve, resolveText(), click, click + ",\"url\":\"x\"", "unknown key \"url\""},
      {Endpoint::validate, validateText(), "\"install_id\":\"I\",", "", "install_id is missing"},
      {Endpoint::validate, validateText(), "A==", "A", "apple_receipt is no base64"},
      {Endpoint::registration, registerText(), "apns", "gcm",
       "provider must be apns or firebase: \"gcm\""},
      {Endpoint::registration, registerText(), "\"device_id\"", "\"user_id\":null,\"device_id\"",
       "user_id must be a non-empty string"},
      {Endpoint::registration, registerText(), "\"environment\":\"production\",", "",
       "environment is missing"},
  };
  for (const auto& each : cases) {
    const Problems problems =
        checked(each.endpoint, spoilt(each.body, each.from, each.to)).caller.problems;
    ASSERT_EQ(problems.size(), 1u) << each.problem;
    EXPECT_EQ(problems[0].rfind(each.problem, 0), 0u) << problems[0];
  }
}

TEST(CallCheck, ShowsDigestsOnlyOfWhatIsSecret) {
  const std::string digest = sha256Hex(kToken);
  EXPECT_EQ(sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  const std::string shown = checked(Endpoint::registration, registerText()).shown;
  EXPECT_TRUE(has(shown, "\"token_sha256\":\"" + digest + "\"")) << shown;
  EXPECT_TRUE(has(shown, R"("provider":"apns")")) << shown;
  const std::string quotedToken = "\"" + std::string(kToken) + "\"";
  for (const std::string& secret :
       {"{\"a\":" + quotedToken + "}", "[" + quotedToken + "]",
        quotedToken + ",\"Token\":" + quotedToken, quotedToken + ",\"token\":" + quotedToken,
        quotedToken + ",\"app_id\":[" + quotedToken + "]"}) {
    const CallFacts facts =
        checked(Endpoint::registration, spoilt(registerText(), quotedToken, secret));
    EXPECT_FALSE(has(facts.shown, kToken)) << facts.shown;
    ASSERT_FALSE(facts.caller.problems.empty()) << secret;
    EXPECT_FALSE(has(facts.caller.problems[0], kToken)) << facts.caller.problems[0];
  }
  EXPECT_FALSE(has(checked(Endpoint::validate, validateText()).shown, "cmVj"));
}

class AnswerBookTest : public ::testing::Test {
 protected:
  AnswerBookTest() {
    std::string name = (std::filesystem::temp_directory_path() / "zarn-answers-XXXXXX").string();
    directory_ = mkdtemp(name.data());
    store_ = Store::open(directory_, error_);
  }
  ~AnswerBookTest() override {
    store_.reset();
    std::filesystem::remove_all(directory_);
  }

  std::string directory_, error_;
  std::unique_ptr<Store> store_;
};

const std::string kRules = R"({"links":[{"zarn_click_id":")" + std::string(kClick) +
                           R"(","answer":{"campaign":"spring","match_confidence":0.5}},)" +
                           R"({"clipboard_token":")" + std::string(kClipboard) +
                           R"(","answer":null}],"defaultLink":{"link":{"id":"l7"}},)" +
                           R"("validation_status":"replayed","register_status":503,)"
                           R"("screenshot_exists":null,"screenshot_status":200})";

TEST_F(AnswerBookTest, RemembersWhatWasSetAndKeepsWhatWasLeftOut) {
  {
    AnswerBook book(*store_);
    ASSERT_TRUE(book.edit("shop", kRules, error_)) << error_;
    ASSERT_TRUE(book.edit("shop", R"({"register_status":null})", error_)) << error_;
    ASSERT_TRUE(book.edit("cafe", R"({"validation_status":"error"})", error_)) << error_;
    ASSERT_TRUE(book.remove("cafe", error_));
  }
  store_.reset();
  store_ = Store::open(directory_, error_);
  AnswerBook book(*store_);
  const std::string json = answersJson(book.answers("shop"));
  EXPECT_EQ(json, spoilt(kRules, "503", "200"));
  EXPECT_TRUE(book.edit("cafe", json, error_)) << error_;  // what it says, it takes
  EXPECT_EQ(answersJson(book.answers("cafe")), json);
  EXPECT_EQ(answersJson(book.answers("zoo")),
            R"({"links":[],"defaultLink":null,"validation_status":"validated",)"
            R"("register_status":200,"screenshot_exists":null,"screenshot_status":200})");
}

TEST_F(AnswerBookTest, SaysWhatIsWrongAndChangesNothing) {
  AnswerBook book(*store_);
  ASSERT_TRUE(book.edit("shop", kRules, error_)) << error_;
  const struct {
    std::string body, message;
  } cases[] = {
      {"[]", "the body must be an object like"},
      {"{\"links\":", "malformed JSON"},
      {R"({"link":[]})", "\"link\" is no part of a project's answers"},
      {R"({"links":{}})", "links must be a list"},
      {R"({"links":[7]})", "links[0] must be an object like"},
      {R"({"links":[{"answer":{}}]})", "links[0] must have one of zarn_click_id and"},
      {R"({"links":[{"zarn_click_id":"a"}]})", "links[0].answer is missing"},
      {R"({"links":[{"zarn_click_id":"a","answer":7}]})", "links[0].answer must be an object"},
      {R"({"links":[{"zarn_click_id":"a","answer":{}},{"zarn_click_id":"a","answer":{}}]})",
       "links[1] is about the same link as an earlier one"},
      {R"({"defaultLink":{"match_confidence":"high","link":{"path":"/"}}})",
       "defaultLink.match_confidence must be a number; unknown key \"defaultLink.link.path\""},
      {R"({"defaultLink":true})", "defaultLink must be an object, or null"},
      {R"({"validation_status":"fine"})", "validation_status must be one of not_run, unavail"},
      {R"({"register_status":99})", "register_status must be a whole number from 200 to 599"},
      {R"({"register_status":200,"links":null,"validation_status":5})", "validation_status must"},
      {"{\"links\":\"" + std::string(AnswerBook::kLongest, 'x') + "\"}", "the answers are longer"},
      {R"({"defaultLink":{"link":)" + std::string(30'000, '[') + std::string(30'000, ']') + "}}",
       "defaultLink.link must be an object"},
  };
  for (const auto& each : cases) {
    EXPECT_FALSE(book.edit("shop", each.body, error_)) << each.body.substr(0, 80);
    EXPECT_EQ(error_.rfind(each.message, 0), 0u) << error_;
  }
  EXPECT_EQ(answersJson(book.answers("shop")), kRules);
}

TEST_F(AnswerBookTest, PicksTheAnswerByClickThenByClipboard) {
  AnswerBook book(*store_);
  CallFacts facts;
  const auto answer = [&](std::string click, std::string clipboard) {
    facts.clickId = std::move(click);
    facts.clipboardToken = std::move(clipboard);
    ExchangeRecord record;
    record.endpoint = Endpoint::resolve;
    return planCall(record, facts, {.answers = book.answers("shop")}).body;
  };
  EXPECT_EQ(answer(kClick, ""), R"({"resolved":false})");
  ASSERT_TRUE(book.edit("shop", kRules, error_)) << error_;
  const std::string spring = R"({"resolved":true,"campaign":"spring","match_confidence":0.5})";
  EXPECT_EQ(answer(kClick, ""), spring);
  EXPECT_EQ(answer(kClick, kClipboard), spring);
  EXPECT_EQ(answer("", kClipboard), R"({"resolved":false})");
  EXPECT_EQ(answer("other", "zn:other"), R"({"resolved":true,"link":{"id":"l7"}})");
  ASSERT_TRUE(book.edit("shop", R"({"defaultLink":{}})", error_)) << error_;
  EXPECT_EQ(answer("other", ""), R"({"resolved":true})");
}

TEST(CallPlan, MeetsPausesAndFaults) {
  const auto planned = [](Endpoint endpoint, std::string_view fault, bool isPaused = false) {
    CallMeeting meeting;
    std::string error;
    if (!fault.empty()) meeting.fault = faultFromWords(fault, error);
    EXPECT_EQ(error, "");
    if (isPaused) meeting.paused = "tea";
    ExchangeRecord record;
    record.endpoint = endpoint;
    planCall(record, {}, meeting);
    EXPECT_FALSE(record.told.revision || record.told.paused);
    return record;
  };
  EXPECT_EQ(planned(Endpoint::validate, "").response, R"({"validation_status":"validated"})");
  EXPECT_EQ(planned(Endpoint::registration, "").status, 200);
  const ExchangeRecord putOff = planned(Endpoint::registration, "", true);
  EXPECT_EQ(putOff.status, 503);
  EXPECT_EQ(putOff.cause, "paused");
  EXPECT_EQ(planned(Endpoint::validate, "", true).response,
            R"({"paused":true,"paused_reason":"tea"})");
  EXPECT_EQ(planned(Endpoint::resolve, "kind=status,status=404").status, 404);
  EXPECT_EQ(planned(Endpoint::resolve, "kind=drop").status, 0);
  EXPECT_EQ(planned(Endpoint::validate, "kind=mistyped").response, R"({"validation_status":7})");

  std::string error;
  EXPECT_FALSE(faultFromWords("kind=stale,endpoint=resolve", error));
  EXPECT_EQ(error, "stale is for the endpoints init, recovery and config");
  EXPECT_FALSE(faultFromWords("kind=outcomes,endpoint=register", error));
  const auto stale = faultFromWords("kind=stale", error);
  ASSERT_TRUE(stale);
  EXPECT_FALSE(concerns(*stale, Endpoint::validate, "shop"));
  EXPECT_TRUE(concerns(*stale, Endpoint::config, "shop"));
}

TEST(Calls, AreAnsweredAsSetAndShownWithoutSecrets) {
  CollectorProcess collector;
  const std::string answers = "/api/collector/projects/shop/answers";
  EXPECT_EQ(collector.request("PUT", answers, kRules).body, kRules);
  EXPECT_EQ(collector.request("PUT", answers, R"({"links":1})").status, 400);
  collector.kill();
  collector.start();
  EXPECT_EQ(collector.getJson(answers), kRules);
  EXPECT_TRUE(has(collector.post("/api/sdk/link/resolve", resolveText()), "spring"));
  EXPECT_TRUE(has(collector.post("/api/sdk/install/validate", validateText()), "replayed"));
  EXPECT_EQ(collector.request("POST", "/api/sdk/push/register", registerText()).status, 503);
  collector.request("DELETE", "/api/collector/projects/shop");
  EXPECT_EQ(collector.request("POST", "/api/sdk/push/register", registerText()).status, 200);
  EXPECT_EQ(collector.request("POST", "/api/sdk/push/register", registerText() + kToken).status,
            400);
  EXPECT_EQ(collector.request("GET", "/api/sdk/push/register").status, 405);

  const std::string kept = collector.getJson("/api/collector/exchanges?endpoint=register");
  EXPECT_TRUE(has(kept, sha256Hex(kToken))) << kept;
  EXPECT_FALSE(has(kept, kToken)) << kept;
  EXPECT_TRUE(has(collector.getJson("/api/collector/requests/raw"), kToken));
  // They name no settings: nobody is to wait for them to be told some.
  EXPECT_EQ(collector.getJson("/api/collector/projects/shop/wait?timeout_ms=0"),
            R"({"all_reached":false,"apps":[]})");
  EXPECT_TRUE(has(collector.getJson("/api/collector/counts"), R"("calls":5)"));

  collector.post("/api/collector/projects/shop/pause", "");
  EXPECT_EQ(collector.post("/api/sdk/link/resolve", resolveText()), R"({"paused":true})");
  collector.post("/api/collector/projects/shop/resume", "");
  collector.post("/api/collector/faults",
                 R"({"endpoint":"resolve","kind":"drop","project":"shop"})");
  EXPECT_EQ(collector.request("POST", "/api/sdk/link/resolve", resolveText()).status, 0);
  EXPECT_EQ(collector.request("POST", "/api/sdk/install/validate", validateText()).status, 200);
}

}  // namespace
}  // namespace zarn::collector
