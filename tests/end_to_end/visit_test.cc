// A visitor goes through an app that names none of its screens. What the collector has of it is
// held against what the visitor wrote down, and searched for what was hidden.
#include <gtest/gtest.h>

#ifdef ZARN_POCKET_SHOP_PROGRAM

#include <algorithm>
#include <set>
#include <span>

#include "base/base64.h"
#include "base/hex.h"
#include "egress.h"
#include "hosts/planted.h"
#include "pocket_shop.h"
#include "shop_pictures.h"

namespace zarn {
namespace {

using testing::number;
using testing::PocketShop;
using testing::text;
using Objects = std::vector<Properties>;

// Milliseconds between a page's coming and its being seen.
constexpr std::int64_t kTolerance = 1000;
// A picture is taken once a screen has rested for 1.5 s.
constexpr std::chrono::milliseconds kPace{2000};

/// As a visitor would tell what they pressed.
const std::vector<std::string> kTaps = {
    "ToolButton",  // within the password field, of which nothing is read
    "Sign in",
    "Kitchen",
    "Add to cart",
    "Tall kettle",
    "Add to cart",
    "Back",
    "Back",
    "Garden",
    "Back",
    "Offers",
    "Try again",
    "Back",
    "Cart",
    "Remove",
    "Cancel",
    "Remove",
    "Remove",
    "Checkout",
    "Pay €74.00",
    "Continue shopping",
    "Account",
    "Sign out [redacted]",
    "Cancel",
    "Settings",
    "Tell me of offers",
    "Receipts by e-mail",
    "Back",
    "Help and returns",
    "Back"};

std::vector<std::string> texts(const Objects& objects, std::string_view key) {
  std::vector<std::string> all;
  for (const Properties& each : objects) all.push_back(text(each, key));
  return all;
}

const Properties& propertiesOf(const Properties& event) {
  return *event.find("properties")->asProperties();
}

class VisitTest : public testing::EgressTest {
 protected:
  VisitTest() : EgressTest(ZARN_POCKET_SHOP_PROGRAM) {}

  Objects list(const std::string& path, std::string_view key) {
    const auto answer = base::parseJson(collector_.getJson("/api/collector/" + path));
    Objects all;
    for (const Value& each : *answer->asProperties()->find(key)->asArray()) {
      all.push_back(*each.asProperties());
    }
    return all;
  }
  Objects events(std::string_view type) {
    Objects found;
    for (const Properties& row : list("events?order=asc&limit=10000", "events")) {
      const Properties& event = *row.find("event")->asProperties();
      if (text(event, "event_type") == type) found.push_back(event);
    }
    return found;
  }
  /// While the app runs as well.
  std::string bytesOnDisk() const {
    std::ostringstream bytes;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(data_.path())) {
      if (entry.is_regular_file()) bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      bytes.clear();  // of an empty file there is nothing to take
    }
    return bytes.str();
  }
  void expectVisits(const Objects& seen);
  void expectStates(const Objects& seen);
  void expectWays(const Objects& ways);
  void expectPictures(const PocketShop& shop);
  void expectNoPlumbing();
  void expectNowhere(const PocketShop& shop, const std::string& kept);

  Objects visits_;  // in their order
};

void VisitTest::expectVisits(const Objects& seen) {
  visits_ = events("screen_visit");
  const auto index = [](const Properties& event) {
    return number(propertiesOf(event), "entry_index");
  };
  std::sort(visits_.begin(), visits_.end(),
            [&](const auto& a, const auto& b) { return index(a) < index(b); });
  ASSERT_EQ(texts(visits_, "event_name"), texts(seen, "name"));
  for (std::size_t i = 0; i < seen.size(); ++i) {
    SCOPED_TRACE(std::to_string(i) + " " + text(seen[i], "name"));
    const Properties& visit = propertiesOf(visits_[i]);
    EXPECT_EQ(index(visits_[i]), static_cast<std::int64_t>(i));
    EXPECT_EQ(number(visit, "tap_count"), number(seen[i], "taps"));
    EXPECT_EQ(number(visit, "scroll_count"), number(seen[i], "scrolls"));
    EXPECT_NEAR(number(visit, "entered_at"), number(seen[i], "entered"), kTolerance);
    EXPECT_NEAR(number(visit, "dwell_ms"), number(seen[i], "left") - number(seen[i], "entered"),
                kTolerance);
  }
}

/// A screen comes into sight once a visit, and what follows are changes of its state. One that a
/// tab has led to is told of without a state.
void VisitTest::expectStates(const Objects& seen) {
  struct Arrival {
    std::string name;
    std::vector<std::string> states;
  };
  std::vector<Arrival> arrivals;
  for (const Properties& event : events("screen_view")) {
    const std::string state = text(propertiesOf(event), "screen_state");
    const std::string name = text(event, "event_name");
    if (text(propertiesOf(event), "trigger") != "state_change") {
      arrivals.push_back({name, {}});
    }
    ASSERT_FALSE(arrivals.empty());
    EXPECT_EQ(arrivals.back().name, name) << "a change of another screen";
    auto& states = arrivals.back().states;
    if (!state.empty() && (states.empty() || states.back() != state)) states.push_back(state);
  }
  ASSERT_EQ(arrivals.size(), seen.size());
  for (std::size_t i = 0; i < seen.size(); ++i) {
    SCOPED_TRACE(std::to_string(i) + " " + text(seen[i], "name"));
    std::vector<std::string> states;
    for (const Value& each : *seen[i].find("states")->asArray()) {
      states.push_back(text(*each.asProperties(), "state"));
    }
    EXPECT_EQ(arrivals[i].name, text(seen[i], "name"));
    if (!arrivals[i].states.empty()) {
      EXPECT_EQ(arrivals[i].states, states);
    }
  }
}

void VisitTest::expectWays(const Objects& ways) {
  ASSERT_EQ(ways.size() + 1, visits_.size());
  const auto idOf = [&](std::size_t visit) {
    return text(propertiesOf(visits_[visit]), "screen_id");
  };
  const Objects transitions = events("screen_transition");
  std::size_t told = 0;
  for (std::size_t i = 0; i < ways.size(); ++i) {
    SCOPED_TRACE(text(ways[i], "from") + " to " + text(ways[i], "to"));
    EXPECT_EQ(text(visits_[i], "event_name"), text(ways[i], "from"));
    EXPECT_EQ(text(visits_[i + 1], "event_name"), text(ways[i], "to"));
    if (text(ways[i], "by") == "tab") continue;  // a choice among what is there already
    ASSERT_LT(told, transitions.size());
    const Properties& transition = propertiesOf(transitions[told++]);
    EXPECT_EQ(text(transition, "from_screen"), idOf(i));
    EXPECT_EQ(text(transition, "to_screen"), idOf(i + 1));
    EXPECT_NEAR(number(transition, "duration_ms"), number(ways[i], "elapsed"), kTolerance);
  }
  EXPECT_EQ(told, transitions.size()) << "each transition is one that the visitor has made";
}

void VisitTest::expectPictures(const PocketShop& shop) {
  std::set<std::string> screens;
  for (const Properties& row : list("screenshots?project=pocket", "screenshots")) {
    const std::string key = text(row, "screen_name");
    SCOPED_TRACE(key);
    const std::string screen = key.substr(0, key.rfind('_'));
    screens.insert(screen);
    testing::ShopPicture picture(
        collector_.getJson("/api/collector/screenshots/" + text(row, "sha256")));
    for (const Properties& hidden : shop.record("hidden")) {
      if (text(hidden, "screen") == screen) picture.expectHidden(hidden);
    }
    picture.expectRestToBeSeen();
  }
  for (const Properties& hidden : shop.record("hidden")) {
    EXPECT_TRUE(screens.count(text(hidden, "screen"))) << text(hidden, "screen");
  }
  EXPECT_GE(screens.size(), 10u);
}

void VisitTest::expectNoPlumbing() {
  const std::set<std::string> plumbing = {
      "Item",        "Loader",    "StackView", "SwipeView", "ApplicationWindow", "Window",
      "ContentItem", "QmlWindow", "Page",      "Overlay",   "PopupItem",         "Pocket Shop"};
  for (const char* type : {"screen_view", "screen_visit"}) {
    for (const Properties& event : events(type)) {
      const Properties& properties = propertiesOf(event);
      for (const std::string& name : {text(event, "event_name"), text(properties, "screen_class"),
                                      text(properties, "trigger_view_class")}) {
        EXPECT_FALSE(plumbing.count(name)) << type << ": " << name;
      }
    }
  }
  const std::string all = collector_.getJson("/api/collector/events?limit=10000");
  for (const char* mark : {"QQuick", "QML", "QWidget", "QObject"}) {
    EXPECT_EQ(all.find(mark), std::string::npos) << all.substr(all.find(mark) - 100, 200);
  }
}

/// What the bytes of a text are turned into on some way or other.
std::vector<std::string> formsOf(const std::string& text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::vector<std::string> forms = {text, testing::percentEncoded(text),
                                    base::lowerHex(std::span(bytes, text.size()))};
  for (std::size_t offset = 0; offset < 3; ++offset) {
    const std::size_t begin = (offset * 8 + 5) / 6, end = (offset + text.size()) * 8 / 6;
    forms.push_back(base::base64(std::string(offset, 'x') + text).substr(begin, end - begin));
  }
  return forms;
}

void VisitTest::expectNowhere(const PocketShop& shop, const std::string& kept) {
  std::vector<testing::Planted> secrets = surroundings_.secrets(data_.path());
  std::erase_if(secrets, [](const auto& each) { return each.what == "environment"; });
  for (const Properties& secret : shop.record("secret")) {
    secrets.push_back({text(secret, "what"), text(secret, "text")});
  }
  for (const char* part : {"mara.lindqvist", "Lindqvist", "sw0rdfish", "99 28 41 70", "99284170",
                           "4417 is under", "0001234995", "Fyrstikkbakken", "0667 Oslo"}) {
    secrets.push_back({"a part of a secret", part});
  }
  const std::string sent = this->sent();
  ASSERT_NE(sent.find("Tall kettle"), std::string::npos);
  ASSERT_NE(kept.find("Tall kettle"), std::string::npos);
  ASSERT_NE(shop.said().find("[Zarn"), std::string::npos);
  for (const auto& [what, secret, where] : secrets) {
    for (const std::string& form : formsOf(secret)) {
      EXPECT_EQ(sent.find(form), std::string::npos) << "sent: " << what << ": " << form;
      EXPECT_EQ(kept.find(form), std::string::npos) << "kept: " << what << ": " << form;
      EXPECT_EQ(shop.said().find(form), std::string::npos) << "logged: " << what << ": " << form;
    }
  }
}

TEST_F(VisitTest, IsToldAsTheVisitorSawItAndWithoutWhatIsTheirs) {
  PocketShop shop(program_, collector_.address(), data_.path(), kPace);
  ASSERT_TRUE(shop.comesBy(12)) << shop.said();  // they have paid
  std::string kept = bytesOnDisk();
  shop.expectEnd();
  kept += bytesOnDisk();

  const Objects seen = shop.record("screen");
  ASSERT_FALSE(seen.empty());
  ASSERT_EQ(number(shop.record("end").at(0), "screens"), static_cast<std::int64_t>(seen.size()));
  expectVisits(seen);
  expectStates(seen);
  expectWays(shop.record("transition"));
  EXPECT_EQ(texts(events("tap"), "event_name"), kTaps);
  expectPictures(shop);
  expectNoPlumbing();
  expectNowhere(shop, kept);
}

/// Whatever was told before is delivered by the next launch, though nobody could end the app.
TEST_F(VisitTest, IsNotLostWhenTheAppIsKilled) {
  const std::string batches = R"({"endpoint":"batch","kind":"status","status":503})";
  Objects seen;
  {
    collector_.post("/api/collector/faults", batches);
    PocketShop shop(program_, collector_.address(), data_.path(), std::chrono::milliseconds(200));
    ASSERT_TRUE(shop.comesBy(4)) << shop.said();
    shop.kill();
    seen = shop.record("screen");
  }
  EXPECT_TRUE(events("screen_view").empty());
  collector_.request("DELETE", "/api/collector/faults");
  PocketShop shop(program_, collector_.address(), data_.path(), std::chrono::milliseconds(200));
  ASSERT_TRUE(shop.comesBy(1));
  for (int i = 0; i < 100 && events("screen_view").size() < seen.size(); ++i) {
    collector_.getJson("/api/collector/wait?timeout_ms=200&batches=1000");
  }
  std::vector<std::string> arrived;
  for (const Properties& event : events("screen_view")) {
    if (text(propertiesOf(event), "trigger").empty()) arrived.push_back(text(event, "event_name"));
  }
  const auto names = texts(seen, "name");
  ASSERT_GE(arrived.size(), names.size());
  EXPECT_TRUE(std::equal(names.begin(), names.end(), arrived.begin()));
}

}  // namespace
}  // namespace zarn

#endif
