// A whole client in an app with a user interface: what users see and do is told, and nothing of it
// across an opt-out, a reset or a pause.
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <thread>

#include "base/base64.h"
#include "core/test_host.h"

namespace zarn::core {
namespace {

using platform::LifeEvent;
using testing::NodePtr;
using testing::TestClient;
using testing::TestHost;
using Names = std::vector<std::string>;

constexpr const char* kCheck = "/screenshot/check";
constexpr const char* kUpload = "/screenshot";

struct Page {
  testing::ScreenPtr screen;
  NodePtr label, phone, secret, button;
};

class ClientCaptureTest : public ::testing::Test {
 protected:
  void settle() { host_.dispatch.runUntilIdle(); }
  /// Of a shape of its own.
  Page page(const std::string& title, int rows = 0) {
    auto& ui = host_.ui;
    Page made{.label = ui.label("Welcome", {10, 100, 200, 40}),
              .phone = ui.field({10, 200, 200, 40}, platform::TextContentType::telephoneNumber),
              .secret = ui.secureField({10, 300, 200, 40}, "hunter2"),
              .button = ui.button("Next", {10, 780, 200, 40})};
    std::vector<NodePtr> nodes{made.label, made.phone, made.secret, made.button};
    for (int i = 0; i < rows; ++i) nodes.push_back(ui.label("row", {10, 400 + 30.0 * i, 200, 20}));
    made.screen = ui.screen(
        {.classText = "ShopPage",
         .view = ui.node({.classText = "Column", .frame = {0, 0, 390, 844}}, std::move(nodes)),
         .title = title});
    ui.window(made.screen);
    return made;
  }
  /// A while after the last one.
  void appear(const Page& page) {
    host_.dispatch.advance(3.0);
    host_.ui.screens.appear(page.screen);
  }
  void optOut() {
    client_->optOut();
    appear(page("Unseen", 9));
    client_->optIn();
    settle();
    client_.answerConfig();
  }
  void pauseByBatch() {
    client_->track("answered with a pause", {});
    client_->flush();
    settle();
    host_.http.answer("/batch", 200, R"({"paused":true})");
    settle();
    resume();
  }
  void pauseByPolicy() {
    host_.dispatch.advance(1800.0);
    client_.answerConfig("{}", true);
    resume();
  }
  void resume() {
    appear(page("Unseen", 9));
    host_.dispatch.advance(1800.0);
    client_.answerConfig();
  }
  std::vector<std::function<void()>> boundaries() {
    return {[this] { optOut(); }, [this] { pauseByBatch(); }, [this] { pauseByPolicy(); },
            [this] { client_->reset(); }};
  }
  void goAway() {
    host_.life.tell(LifeEvent::didEnterBackground);
    settle();
  }
  /// All that has been told since the last call.
  std::vector<Properties> told() {
    std::vector<Properties> events;
    client_->flush();
    settle();
    while (host_.http.waitingCount("/batch") > 0) {
      const auto some = client_.allWaitingEvents();
      events.insert(events.end(), some.begin(), some.end());
      client_.acceptWaiting();
      client_->flush();
      settle();
    }
    return events;
  }
  Names toldNames() { return TestClient::namesOf(told()); }

  /// Answers that the server has no picture, and takes the one that comes; the colour that a node
  /// has in the middle of it.
  std::function<std::uint32_t(const NodePtr&)> pictureTaken() {
    host_.http.answer(kCheck, 200, R"({"exists":false})");
    settle();
    if (host_.http.waitingCount(kUpload) == 0) {
      ADD_FAILURE() << "no picture came";
      return [](const NodePtr&) { return 0u; };
    }
    const auto body = base::parseJson(host_.http.bodyOf(kUpload));
    // Not by EXPECT_EQ: a failure would print the whole picture.
    EXPECT_TRUE(body->asProperties()->find("image_b64")->asString() ==
                base::base64(host_.ui.images.last));
    host_.http.answer(kUpload, 200);
    settle();
    return [bitmap = testing::FakeImageCodec::decode(host_.ui.images.last)](const NodePtr& node) {
      const base::Rect& frame = node->look.frame;
      const auto x = static_cast<std::size_t>(frame.x + frame.width / 2);
      const auto y = static_cast<std::size_t>(frame.y + frame.height / 2);
      const auto at = (y * static_cast<std::size_t>(bitmap.width) + x) * 4;
      return (std::uint32_t{bitmap.pixels.at(at)} << 16) | (bitmap.pixels.at(at + 1) << 8) |
             bitmap.pixels.at(at + 2);
    };
  }

  TestHost host_;
  TestClient client_{host_};
};

TEST_F(ClientCaptureTest, TellsTheWayOfAUserAndHowLongItTook) {
  client_.run();
  const Page home = page("Home"), cart = page("Cart", 3);
  appear(home);
  host_.dispatch.advance(2.0);
  host_.ui.input.tap(home.button);
  host_.dispatch.advance(0.4);
  host_.ui.screens.appear(cart.screen);
  const auto way = told();
  ASSERT_EQ(TestClient::namesOf(way), (Names{"Home", "Next", "screen_transition", "Cart"}));
  EXPECT_EQ(*way[2].find("properties")->asProperties()->find("duration_ms"), Value(400));

  host_.dispatch.advance(5.0);
  goAway();
  const auto visits = told();
  ASSERT_EQ(TestClient::namesOf(visits), (Names{"Home", "Cart", "app_background"}));
  EXPECT_EQ(*visits[0].find("event_type"), Value("screen_visit"));
  const Properties& stay = *visits[0].find("properties")->asProperties();
  EXPECT_EQ(*stay.find("dwell_ms"), Value(2400));
  EXPECT_EQ(*stay.find("tap_count"), Value(1));

  appear(home);
  EXPECT_EQ(toldNames(), Names{"Home"});
  goAway();
  EXPECT_EQ(host_.http.waitingCount("/batch"), 1u) << "at once, since the app may not come back";
}

TEST_F(ClientCaptureTest, NothingIsToldAcrossABoundary) {
  client_.run();
  for (const auto& boundary : boundaries()) {
    const Page home = page("Home", 1), cart = page("Cart", 2), payment = page("Payment", 3);
    appear(home);
    appear(cart);
    host_.ui.input.tap(cart.button);
    EXPECT_EQ(toldNames(), (Names{"Home", "Cart", "Next"}));
    boundary();
    host_.ui.input.tap(cart.button);
    appear(payment);
    goAway();
    EXPECT_EQ(toldNames(), (Names{"Next", "Payment", "Payment", "app_background"}));
  }
}

TEST_F(ClientCaptureTest, AHostNamesItsScreensOnAnyThreadOnceThereIsAClient) {
  page("Home");
  client_->screenView("Too early", {});
  client_.run();
  std::thread([&] { client_->screenView("Ticket of jo@mail.example", {{"seat", 7}}); }).join();
  const auto events = told();
  ASSERT_EQ(TestClient::namesOf(events), (Names{"Ticket of [redacted]"}));
  EXPECT_EQ(*events[0].find("event_type"), Value("screen_view"));
  EXPECT_EQ(*events[0].find("properties"),
            Value(Properties{{"seat", 7}, {"screen_class", "manual"}}));
  host_.dispatch.advance(1.5);
  EXPECT_NE(host_.http.bodyOf(kCheck).find("Ticket_of_redacted_"), std::string::npos)
      << host_.http.bodyOf(kCheck);

  client_->optOut();
  client_->screenView("Unwanted", {});
  host_.dispatch.advance(10.0);
  EXPECT_EQ(host_.http.waitingCount(), 0u);
}

TEST_F(ClientCaptureTest, TakesAPictureOfWhatTheServerLacksWithoutWhatIsSecret) {
  client_.run();
  const Page home = page("Home");
  appear(home);
  host_.dispatch.advance(1.5);
  const auto colorOf = pictureTaken();
  EXPECT_EQ(colorOf(home.secret), 0u);
  EXPECT_EQ(colorOf(home.phone), 0u);
  EXPECT_EQ(colorOf(home.label), home.label->color);
  appear(home);
  host_.dispatch.advance(1.5);
  EXPECT_EQ(host_.http.countOf(kCheck), 1) << "the server has it";
}

TEST_F(ClientCaptureTest, ThePolicySaysWhatElseIsMaskedInPictures) {
  client_.run(R"({"replay":{"enabled":true,"autoMaskCategories":["text"],"maskInputs":false}})");
  const Page home = page("Home");
  appear(home);
  host_.dispatch.advance(1.5);
  const auto colorOf = pictureTaken();
  EXPECT_EQ(colorOf(home.label), 0u);
  EXPECT_EQ(colorOf(home.secret), 0u);
  EXPECT_EQ(colorOf(home.phone), home.phone->color);
}

TEST_F(ClientCaptureTest, ThePolicySaysOfWhichScreensThereAreNoPictures) {
  client_.run(R"({"screenshots":{"excludedScreens":["cart"]}})");
  appear(page("Cart", 1));
  host_.dispatch.advance(1.5);
  EXPECT_EQ(host_.http.countOf(kCheck), 0);
  appear(page("Home"));
  host_.dispatch.advance(1800.0);
  ASSERT_EQ(host_.http.countOf(kCheck), 1);
  client_.answerConfig(R"({"screenshots":{"enabled":false}})");
  host_.http.answer(kCheck, 200, R"({"exists":false})");
  appear(page("Orders", 2));
  host_.dispatch.advance(10.0);
  EXPECT_EQ(host_.http.countOf(kCheck), 1);
  EXPECT_EQ(host_.ui.windows.draws, 0) << "switched off meanwhile";
}

TEST_F(ClientCaptureTest, AsksForNoPictureWhileTheServerFails) {
  client_.run();
  client_->track("refused", {});
  client_->flush();
  settle();
  for (int failure = 0; failure < 30; ++failure) {
    ASSERT_EQ(host_.http.waitingCount("/batch"), 1u);
    host_.http.answer("/batch", 503);
    settle();
    host_.dispatch.advance(120.0);
  }
  ASSERT_EQ(host_.log.count("[Zarn] Entering recovery: batch_cooldown"), 1);
  const int before = host_.http.countOf(kCheck);
  appear(page("Home"));
  host_.dispatch.advance(3.0);
  EXPECT_EQ(host_.http.countOf(kCheck), before);
}

// The two come with different answers, in any order.
TEST_F(ClientCaptureTest, TakesPicturesOnceThereAreAPolicyAndTheAppsId) {
  for (const bool isPolicyFirst : {true, false}) {
    const int before = host_.http.countOf(kCheck);
    TestClient client(host_);
    client.configure();
    const auto answerInit = [&] {
      host_.http.answer("/init", 200, R"({"app_id":"a1","data_collection":{}})");
      settle();
    };
    isPolicyFirst ? client.answerConfig() : answerInit();
    appear(page("Home"));
    host_.dispatch.advance(3.0);
    EXPECT_EQ(host_.http.countOf(kCheck), before) << isPolicyFirst;
    isPolicyFirst ? answerInit() : client.answerConfig();
    appear(page("Cart", 1));
    host_.dispatch.advance(1.5);
    EXPECT_EQ(host_.http.countOf(kCheck), before + 1) << isPolicyFirst;
  }
}

TEST_F(ClientCaptureTest, ABoundaryEndsAPictureThatIsUnderWay) {
  client_.run();
  int shape = 0;
  const auto askFor = [&](const std::string& title) {
    appear(page(title, ++shape));
    host_.dispatch.advance(1.5);
    ASSERT_EQ(host_.http.waitingCount(kCheck), 1u) << title;
  };
  for (const auto& boundary : boundaries()) {
    askFor(std::string("Page") + static_cast<char>('A' + shape));
    boundary();
    if (host_.http.waitingCount(kCheck) > 0) {
      host_.http.answer(kCheck, 200, R"({"exists":false})");
    }
    host_.dispatch.advance(10.0);
    EXPECT_EQ(host_.ui.windows.draws, 0) << shape;
  }
  askFor("Last");
  pictureTaken();
  EXPECT_EQ(host_.http.countOf(kUpload), 1);
}

// Nothing runs any more after the exit: all must have been stored by then.
TEST_F(ClientCaptureTest, AnExitTellsTheVisitsBeforeTheEndOfTheSession) {
  {
    TestClient leaving(host_);
    auto options = TestClient::options();
    options.autoTrackSessions = true;
    leaving->configure(TestClient::kKey, options);
    settle();
    appear(page("Home"));
    host_.life.tell(LifeEvent::willTerminate);
  }
  client_.run();
  const auto left = client_.allWaitingEvents();
  ASSERT_EQ(TestClient::namesOf(left), (Names{"session_start", "app_launch", "Home", "Home",
                                              "app_terminate", "session_end", "app_launch"}));
  for (std::size_t i = 1; i < 6; ++i) {
    EXPECT_EQ(*left[i].find("session_id"), *left[0].find("session_id"));
  }
  const auto isFirst = [&](std::size_t launch) {
    return *left[launch].find("properties")->asProperties()->find("is_first_launch");
  };
  EXPECT_EQ(isFirst(1), Value(true));
  EXPECT_EQ(isFirst(6), Value(false));
}

}  // namespace
}  // namespace zarn::core
