// Plants secrets in every input of the API, and looks for them in every byte that reached a server,
// in every file of the data directory and in the debug log.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "egress.h"
#include "hosts/planted.h"

namespace zarn {
namespace {

using testing::EgressTest;
using testing::kKept;
using testing::kLogged;
using testing::kNowhere;
using testing::kSent;
using testing::Planted;

struct Passing {
  std::string_view text;
  unsigned where;
  const char* reason;
};

/// What is let pass, and why. Each must be found: what is no longer let pass has to leave this
/// table.
constexpr Passing kPassing[] = {
    {testing::kUserId, kSent | kKept, "an id is what an event is filed under"},
    {testing::kEventName, kSent | kKept,
     "names of events are words of the program, not of its users"},
    {testing::kPropertyKey, kSent | kKept, "so are keys"},
    {testing::kExperiment, kSent | kKept, "an experiment's name becomes a key"},
    {testing::kGoal, kSent | kKept, "a goal is named by the program too, in a narrow alphabet"},
    {testing::kLateText, kSent | kKept,
     "only the first 256 characters are searched, so that the time is bounded"},
    {testing::kRestOfTornToken, kSent | kKept,
     "each expression sees what the ones before have left, and that of phone numbers comes early"},
    {testing::kAvatar, kSent | kKept,
     "given for just that purpose, and the server's flags do not speak of it"},
    {testing::kNestedGoverned, kSent | kKept,
     "the server's flags speak of the keys of the call, not of what is inside its values"},
    {"4000123499567897", kSent | kKept, "numbers are no text"},
    {testing::kBundleId, kSent | kKept | kLogged, "the app, as it describes itself"},
    {testing::kAppName, kSent, "the app, as it describes itself"},
    // Besides, in the Authorization of a batch alone.
    {testing::kWriteKeySecret, kSent, "a batch is authorised by the write key"},
    {testing::kApiKey, kSent, "the other requests go by the key that takes its place"},
};

/// What the host sets for later launches is kept as it was given, in a file that only the user can
/// read; it passes the filter each time it goes into an event.
constexpr std::string_view kKeptAsGiven[] = {"trait",
                                             "trait, three deep",
                                             "user property",
                                             "user property, three deep",
                                             "super property",
                                             "super property, three deep",
                                             "super property, set alone",
                                             "experiment variant"};

std::vector<Planted> filteredSecrets() {
  std::vector<Planted> all;
  for (const std::string_view place : testing::kPlaces) {
    const bool isKept = std::count(std::begin(kKeptAsGiven), std::end(kKeptAsGiven), place) > 0;
    for (const std::string_view kind : testing::kKinds) {
      all.push_back({std::string(kind) + " as " + std::string(place),
                     testing::secret(kind, place).core, isKept ? kKept : kNowhere});
    }
  }
  return all;
}

/// `deniedFlag` is what the server has switched off, or empty.
std::vector<Planted> governedWords(std::string_view deniedFlag) {
  std::vector<Planted> all;
  for (const auto& [key, flag] : testing::kGovernedKeys) {
    const unsigned where = flag == deniedFlag ? kNowhere : kSent | kKept;
    for (const char* call : {"trait", "property"}) {
      for (const std::string& spelled : {std::string(key), "$" + std::string(key)}) {
        all.push_back({"governed key " + spelled, testing::governedWord(call, spelled), where});
      }
    }
  }
  all.push_back({"e-mail under $email", std::string(testing::kOwnEmail),
                 deniedFlag == "collectEmail" ? kNowhere : kSent | kKept});
  return all;
}

std::vector<std::string> eventIds(const std::string& bytes) {
  constexpr std::string_view kBefore = "{\"event_id\":\"";
  constexpr std::size_t kLength = 36;
  std::vector<std::string> ids;
  for (auto at = bytes.find(kBefore); at != std::string::npos; at = bytes.find(kBefore, at + 1)) {
    ids.push_back(bytes.substr(at + kBefore.size(), kLength));
  }
  return ids;
}

class CallsEgressTest : public EgressTest {
 protected:
  CallsEgressTest() : EgressTest(EGRESS_HOST_PROGRAM) {}
};

class EgressByFlagTest : public CallsEgressTest,
                         public ::testing::WithParamInterface<const char*> {};

TEST_P(EgressByFlagTest, OnlyWhatIsMeantToLeavesIsKeptOrLogged) {
  const std::string flag = GetParam();
  if (!flag.empty()) policy(R"({"identity":{")" + flag + R"(":false}})");
  plant();
  const std::string kept = this->kept();
  deliver();
  const std::string sent = this->sent();
  // Otherwise the search below would find nothing for want of anything to find.
  for (const auto* bytes : {&kept, &sent}) {
    for (const char* event : {"\"marker\"", "\"purchase\"", "\"invite\"", "\"user_property\""}) {
      ASSERT_NE(bytes->find(event), std::string::npos) << event;
    }
    for (const std::string_view place : testing::kPlaces) {
      EXPECT_NE(bytes->find(testing::mark(place)), std::string::npos) << place;
    }
  }

  std::vector<Planted> all = filteredSecrets();
  for (auto& more : {governedWords(flag), surroundings_.secrets(data_.path())}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  for (const auto& [text, where, reason] : kPassing)
    all.push_back({reason, std::string(text), where});
  for (const auto& [what, core, where] : all) {
    const auto isIn = [&core = core](const std::string& bytes) {
      return bytes.find(core) != std::string::npos;
    };
    EXPECT_EQ(isIn(sent), (where & kSent) != 0) << "sent: " << what << ": " << core;
    EXPECT_EQ(isIn(kept), (where & kKept) != 0) << "kept: " << what << ": " << core;
    EXPECT_EQ(isIn(logged_), (where & kLogged) != 0) << "logged: " << what << ": " << core;
  }
}

INSTANTIATE_TEST_SUITE_P(Flags, EgressByFlagTest,
                         ::testing::Values("", "collectEmail", "collectPhone", "collectName",
                                           "collectLocation"),
                         [](const auto& flag) {
                           return std::string(flag.param) + (*flag.param == '\0' ? "AllOn" : "Off");
                         });

// A key in an address ends up in the logs of every proxy on the way.
TEST_F(CallsEgressTest, NoKeyIsInAnAddress) {
  plant();
  deliver();
  std::istringstream lines(sent());
  int requests = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("POST ", 0) != 0 && line.rfind("GET ", 0) != 0) continue;
    ++requests;
    EXPECT_EQ(line.find(testing::kApiKey), std::string::npos) << line;
    EXPECT_EQ(line.find(testing::kWriteKeySecret), std::string::npos) << line;
  }
  EXPECT_GE(requests, 5);
}

TEST_F(CallsEgressTest, AfterAnOptOutTheNextLaunchLeavesNoByteOfAnEvent) {
  plant();
  const std::vector<std::string> ids = eventIds(kept());
  ASSERT_GE(ids.size(), 15u);
  const auto host = launch();
  (*host)("opt-out");
  host->kill();
  end(*launch());
  const std::string left = kept();
  for (const std::string& id : ids) EXPECT_EQ(left.find(id), std::string::npos);
  for (const char* bytes : {"event_id", "marker", "purchase"}) {
    EXPECT_EQ(left.find(bytes), std::string::npos) << bytes;
  }
}

}  // namespace
}  // namespace zarn
