// A small shop as a phone app, in Qt Quick. It says who it is and where its server is, and calls
// the library for purchases and its customer: its screens, taps and flows are found without a word.
//
//   zarn-pocket-shop [--server URL] [--data DIR] [--debug]
//   zarn-pocket-shop --visit [--record FILE] [--pace MS]     a visitor uses it, by mouse and keys
//   zarn-pocket-shop --open N                                opens and closes N pages
#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTest>
#include <QTimer>
#include <chrono>
#include <iostream>

#include "customer.h"
#include "many_pages.h"
#include "shop_server.h"
#include "visitor.h"
#include "zarn/desktop.h"
#include "zarn/qt.h"
#include "zarn/zarn.h"

using std::chrono::milliseconds;
using zarn::Zarn;

namespace {

constexpr int kCanNotGoOn = 1;

struct Options {
  std::string server, data;
  bool visit = false;
  bool debug = false;
  QString record;
  milliseconds pace{0};
  int pages = 0;
};

Options parse(const QCoreApplication& app) {
  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addOptions({{"server", "Where events go.", "url", "http://127.0.0.1:8090"},
                     {"data", "Where the library keeps its files.", "directory"},
                     {"debug", "Says what the library does."},
                     {"visit", "A visitor uses the app, and closes it."},
                     {"record", "What the visitor writes.", "file"},
                     {"pace", "How long the visitor looks at a screen.", "ms", "1800"},
                     {"answer-after", "How long the shop's own server takes.", "ms", "1500"},
                     {"open", "Opens and closes so many pages.", "count", "0"}});
  parser.process(app);
  ShopServer::instance().delay = milliseconds(parser.value("answer-after").toInt());
  return {.server = parser.value("server").toStdString(),
          .data = parser.value("data").toStdString(),
          .visit = parser.isSet("visit"),
          .debug = parser.isSet("debug"),
          .record = parser.value("record"),
          .pace = milliseconds(parser.value("pace").toInt()),
          .pages = parser.value("open").toInt()};
}

void startAnalytics(QGuiApplication& app, const Options& options) {
  zarn::desktop::describeHost({.bundleId = "com.example.pocket-shop",
                               .name = "Pocket Shop",
                               .version = "3.0.2",
                               .dataDirectory = options.data});
  zarn::qt::attach(app);
  Zarn::configure("wk_demo_x_pocket_shop", {.apiHost = options.server, .debug = options.debug});
}

bool visit(QQuickWindow& window, const Options& options) {
  VisitRecord record(options.record);
  if (!record.isOpen()) {
    std::cerr << "zarn-pocket-shop: can't write " << options.record.toStdString() << "\n";
    return false;
  }
  try {
    Visitor(window, record, options.pace).visit();
    return true;
  } catch (const Stuck& trouble) {
    std::cerr << "zarn-pocket-shop: the visitor is stuck: " << trouble.what() << "\n";
    return false;
  }
}

bool openPages(QQmlEngine& engine, QQuickWindow& window, int count) {
  const int type = qmlTypeId("PocketShop", 1, 0, "Customer");
  auto* const customer = engine.singletonInstance<Customer*>(type);
  if (customer == nullptr) return false;
  customer->signIn("somebody@example.com");
  return openManyPages(window, count);
}

/// What has been seen and done is on disk, and a later launch would send it: who compares the
/// visitor's record with it does not want to wait for that.
void deliver() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!Zarn::flush(5.0) && std::chrono::steady_clock::now() < deadline) QTest::qWait(20);
}

}  // namespace

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  const Options options = parse(app);
  startAnalytics(app, options);

  QQmlApplicationEngine engine;
  engine.addImportPath("qrc:/");
  engine.load("qrc:/PocketShop/qml/Main.qml");
  auto* const window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0));
  if (window == nullptr) return kCanNotGoOn;

  bool wentOn = true;
  if (options.visit || options.pages > 0) {
    QTimer::singleShot(0, window, [&] {
      wentOn = options.visit ? visit(*window, options) : openPages(engine, *window, options.pages);
      window->close();
    });
  }
  const int result = QGuiApplication::exec();
  if (options.visit) deliver();
  return wentOn ? result : kCanNotGoOn;
}
