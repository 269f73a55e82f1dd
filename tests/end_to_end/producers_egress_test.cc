// Plants secrets in all that comes in from outside, by links, push messages and requests, and in
// what is never sent, and looks for them wherever bytes end up.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/json.h"
#include "egress.h"
#include "hosts/planted.h"

namespace zarn {
namespace {

using testing::EgressTest;
using testing::kKept;
using testing::kLogged;
using testing::kNowhere;
using testing::kSent;
using testing::mark;
using testing::percentEncoded;

constexpr unsigned kInEvents = kSent | kKept;

/// Where what was planted in a place is to be found again: the secrets, and the harmless mark
/// beside them. Places that are not here let nothing pass at all.
struct Passage {
  std::string_view place;
  unsigned secrets;
  unsigned mark;
  const char* reason;
};

constexpr Passage kPassages[] = {
    {"link: short id", kNowhere, kInEvents, "the link's id is told, once it has been filtered"},
    {"link: repeated short id", kLogged, kInEvents | kLogged,
     "a line for the developer names a repeated link by its id"},
    {"link: campaign", kNowhere, kInEvents, "what marketing calls the link, filtered"},
    {"link: other campaign", kNowhere, kInEvents, "the same by another name"},
    {"link: host of a scheme", kNowhere, kInEvents, "hosts are told, filtered"},
    {"push: name", kNowhere, kInEvents, "the names at the top of a payload are told, filtered"},
    {"push: delivery", kNowhere, kInEvents, "told and kept for attribution, filtered"},
    {"push: campaign", kNowhere, kInEvents, "the same"},
    {"push: job", kNowhere, kInEvents, "the same"},
    {"push: send", kNowhere, kInEvents, "the same, and names the message"},
    {"push: repeated id", kLogged, kInEvents | kLogged,
     "a line for the developer names a repeated message by its id"},
    {"push: collapse id", kNowhere, kInEvents, "told, filtered"},
    {"push: category", kNowhere, kInEvents, "told, filtered"},
    {"push: thread", kNowhere, kInEvents, "told, filtered"},
    {"push: action", kNowhere, kInEvents, "told, filtered"},
    {"push: state", kNowhere, kInEvents, "told, filtered"},
    {"token", kSent, kNowhere, "the server needs it to reach the device; in one request alone"},
    {"consent", kKept, kKept, "kept for the host, and goes nowhere"},
};

/// What a message says: nothing of it is told unless the policy asks for it.
constexpr std::string_view kMessageTexts[] = {
    "push: title",         "push: body",  "push: subtitle",  "push: key of a title",
    "push: key of a body", "push: alert", "push: torn title"};

struct Passing {
  std::string_view text;
  unsigned where;
  const char* reason;
};

constexpr Passing kPassing[] = {
    {testing::kLinkHost, kInEvents, "the host of a link, which is the customer's"},
    {testing::kClickId, kInEvents, "the id of a click, given out by the server"},
    {testing::kPushId, kInEvents, "the id of a message, given out by its sender"},
    {testing::kPushName, kInEvents, "a name in a payload"},
    {testing::kRequestHost, kInEvents, "the host of a request"},
    {testing::kServerName, kInEvents, "what looks like the name of a server is one"},
    {testing::kRequestSegment, kInEvents, "a part of a path that identifies nobody"},
};

/// Places whose links are told of, each by a parameter that passes.
constexpr std::string_view kFollowed[] = {
    "link: user",     "link: path",      "link: value",      "link: name",
    "link: fragment", "link: click id",  "link: short id",   "link: repeated short id",
    "link: campaign", "link: known",     "activity: path",   "link: other campaign",
    "window: link",   "push: link",      "window: activity", "link: campaign's name",
    "question: path", "push: other link"};

struct Mode {
  const char* name;
  const char* policy;  // of push
  bool showsText;
  bool showsAll;
};

class ProducersEgressTest : public EgressTest, public ::testing::WithParamInterface<Mode> {
 protected:
  ProducersEgressTest() : EgressTest(PRODUCERS_EGRESS_HOST_PROGRAM) {}

  void configureServer() {
    policy(std::string(R"({"push":)") + GetParam().policy +
           R"(,"network":{"diagnosticCapture":true,"maxEventsPerMin":1000,"hostAllowlist":[")" +
           std::string(testing::kRequestHost) + R"("]}})");
  }
  Array requests() {
    const auto page = *base::parseJson(collector_.getJson("/api/collector/requests?limit=10000"));
    return *page.asProperties()->find("requests")->asArray();
  }
  static std::string textIn(const Value& request, std::string_view key) {
    const Value* value = request.asProperties()->find(key);
    return value != nullptr ? std::string(value->asString().value_or("")) : "";
  }
  static bool isRegistration(const Value& request) {
    return textIn(request, "head").rfind("POST /api/sdk/push/register ", 0) == 0;
  }
  void awaitRegistrations() {
    const auto registered = [&] {
      const Array all = requests();
      return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), isRegistration));
    };
    for (int i = 0; i < 100 && registered() < testing::kKinds.size(); ++i) {
      const auto counts = base::parseJson(collector_.getJson("/api/collector/counts"));
      const auto calls = *counts->asProperties()->find("calls")->asInt();
      collector_.getJson("/api/collector/wait?timeout_ms=200&calls=" + std::to_string(calls + 1));
    }
    EXPECT_EQ(registered(), testing::kKinds.size());
  }
  void expectWhere(const std::string& what, std::string_view text, unsigned where) {
    const auto isIn = [&](const std::string& bytes) {
      return bytes.find(text) != std::string::npos ||
             bytes.find(percentEncoded(text)) != std::string::npos;
    };
    EXPECT_EQ(isIn(sent_), (where & kSent) != 0) << "sent: " << what << ": " << text;
    EXPECT_EQ(isIn(kept_), (where & kKept) != 0) << "kept: " << what << ": " << text;
    EXPECT_EQ(isIn(logged_), (where & kLogged) != 0) << "logged: " << what << ": " << text;
  }
  Passage passageOf(std::string_view place) {
    for (const Passage& passage : kPassages) {
      if (passage.place == place) return passage;
    }
    const bool isMessage = std::count(std::begin(kMessageTexts), std::end(kMessageTexts), place);
    return {place, kNowhere, isMessage && GetParam().showsText ? kInEvents : kNowhere, ""};
  }

  std::string sent_, kept_;
};

TEST_P(ProducersEgressTest, OnlyWhatIsMeantToLeavesIsKeptOrLogged) {
  configureServer();
  plant([&] { awaitRegistrations(); });
  kept_ = kept();
  deliver();
  sent_ = sent();
  for (const char* event : {"\"push_received\"", "\"push_open\"", "\"push_dismissed\"",
                            "\"push_action\"", "\"push_token_invalidated\"", "\"deep_link\"",
                            "\"network_summary\"", "\"attribution_campaign_id\""}) {
    ASSERT_NE(sent_.find(event), std::string::npos) << event;
    ASSERT_NE(kept_.find(event), std::string::npos) << event;
  }
  for (const std::string_view place : kFollowed) {
    EXPECT_NE(sent_.find(testing::followed(place)), std::string::npos) << place;
  }

  for (const std::string_view place : testing::kOutsidePlaces) {
    const Passage passage = passageOf(place);
    expectWhere("mark of " + std::string(place), mark(place), passage.mark);
    for (const std::string_view kind : testing::kKinds) {
      expectWhere(std::string(kind) + " as " + std::string(place),
                  testing::secret(kind, place).core, passage.secrets);
    }
  }
  for (const auto& [text, where, reason] : kPassing) expectWhere(reason, text, where);
  expectWhere("the end of a message", testing::kPastThePreview,
              GetParam().showsAll ? kInEvents : kNowhere);
  for (const auto& [what, core, where] : surroundings_.secrets(data_.path())) {
    expectWhere(what, core, where);
  }
  for (const Value& request : requests()) {
    const std::string body = textIn(request, "head") + textIn(request, "body");
    for (const std::string_view kind : testing::kKinds) {
      if (isRegistration(request)) continue;
      EXPECT_EQ(body.find(testing::secret(kind, "token").text), std::string::npos) << body;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    ContentModes, ProducersEgressTest,
    ::testing::Values(Mode{"Absent", "{}", false, false},
                      Mode{"HashOnly", R"({"contentMode":"hash_only"})", false, false},
                      Mode{"Preview", R"({"contentMode":"preview"})", true, false},
                      Mode{"Full", R"({"contentMode":"full"})", true, true}),
    [](const auto& mode) { return std::string(mode.param.name); });

}  // namespace
}  // namespace zarn
