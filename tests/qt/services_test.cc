#include <gtest/gtest.h>

#include <QClipboard>
#include <QFileOpenEvent>
#include <QGuiApplication>
#include <QImage>
#include <QTest>
#include <optional>
#include <string>
#include <vector>

#include "base/serial_queue.h"
#include "desktop/dispatch.h"
#include "platform/windows.h"
#include "qt/app_events.h"
#include "qt/clipboard.h"
#include "qt/image_codec.h"
#include "qt/main_executor.h"
#include "qt/url_opener.h"

namespace zarn::qt {
namespace {

class ClipboardTest : public ::testing::Test {
 protected:
  bool detects(const char* text) {
    QGuiApplication::clipboard()->setText(text);
    std::optional<bool> answer;
    clipboard_.detectProbableWebUrl(queue_, [&](bool isProbable) { answer = isProbable; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer.has_value(); }));
    return answer.value_or(false);
  }

  MainExecutor main_;
  base::SerialQueue queue_{main_, "test", base::LockRank::linksQueue};
  QtClipboard clipboard_{main_};
};

TEST_F(ClipboardTest, TellsAddressesAndTokensFromTexts) {
  EXPECT_TRUE(detects("https://shop.example/a?b=c"));
  EXPECT_TRUE(detects(" zn:1;exp=1893456000;znt=2f6c\n"));
  EXPECT_FALSE(detects(""));
  EXPECT_FALSE(detects("Dear Ida: see you at 5"));
  EXPECT_FALSE(detects("12:30"));
  EXPECT_FALSE(detects(std::string(9000, 'a').insert(4, ":").c_str()));
}

TEST_F(ClipboardTest, AnswersWithTheTextLaterAndOnTheQueue) {
  QGuiApplication::clipboard()->setText("Grüße");
  std::string text;
  clipboard_.readText(queue_, [&](std::string read) {
    EXPECT_TRUE(queue_.isCurrent());
    text = std::move(read);
  });
  EXPECT_EQ(text, "");
  EXPECT_TRUE(QTest::qWaitFor([&] { return !text.empty(); }));
  EXPECT_EQ(text, "Grüße");
}

TEST(QtUrlOpener, LeavesToThePlainOneWhatQtCannotOpen) {
  struct Plain final : platform::UrlOpener {
    void open(const std::string& url) override { opened.push_back(url); }
    std::vector<std::string> opened;
  } plain;
  MainExecutor main;
  QtUrlOpener opener(main, plain);
  opener.open("file:///etc/passwd");
  opener.open("tel:+491701234567");
  opener.open("https://shop.example/a b");
  opener.open("https://shop.example/faq");  // no program to open it with, on this platform
  EXPECT_TRUE(plain.opened.empty());
  EXPECT_TRUE(QTest::qWaitFor([&] { return plain.opened.size() == 2; }));
  EXPECT_EQ(plain.opened,
            (std::vector<std::string>{"https://shop.example/a b", "https://shop.example/faq"}));
}

TEST(QtImageCodec, WritesPicturesThatOthersRead) {
  platform::Bitmap bitmap{.width = 16, .height = 8, .scale = 1, .pixels = {}};
  for (int i = 0; i < 16 * 8; ++i) bitmap.pixels.insert(bitmap.pixels.end(), {200, 100, 0, 0});
  QtImageCodec codec;
  const auto bytes = codec.encodeJpeg(bitmap, 0.9);
  ASSERT_TRUE(bytes);
  QImage read;
  ASSERT_TRUE(read.loadFromData(QByteArray::fromStdString(*bytes), "JPEG"));
  EXPECT_EQ(read.size(), QSize(16, 8));
  EXPECT_NEAR(qRed(read.pixel(8, 4)), 200, 6);
  EXPECT_NEAR(qBlue(read.pixel(8, 4)), 0, 6);
  bitmap.pixels.pop_back();
  EXPECT_FALSE(codec.encodeJpeg(bitmap, 0.9)) << "rows are missing";
  EXPECT_FALSE(codec.encodeJpeg({}, 0.9));
}

TEST(AppEvents, ShowsLinksAndTakesNoneAway) {
  struct App final : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      hasSeen = hasSeen || event->type() == QEvent::FileOpen;
      return false;
    }
    bool hasSeen = false;
  } app;
  qGuiApp->installEventFilter(&app);  // asked after those that were installed later
  std::vector<QUrl> opened;
  AppEvents events;
  events.install({.windowsChanging = [] {},
                  .opened = [&](const QUrl& url) { opened.push_back(url); },
                  .madeByManager = [](QNetworkAccessManager&, QObject&) {}});
  QFileOpenEvent event(QUrl("shop://product/7"));
  QCoreApplication::sendEvent(qGuiApp, &event);
  EXPECT_EQ(opened, std::vector<QUrl>{QUrl("shop://product/7")});
  EXPECT_TRUE(app.hasSeen);
}

}  // namespace
}  // namespace zarn::qt
