// A Qt app that does what a test orders: qt_host API_HOST DATA ORDERS
#include <QFileOpenEvent>
#include <QGuiApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QQmlApplicationEngine>
#include <QThread>
#include <memory>

#include "orders.h"
#include "zarn/desktop.h"
#include "zarn/qt.h"

using zarn::Zarn;
using zarn::testing::comes;

namespace {

constexpr char kWindow[] = R"(
  import QtQuick
  import QtQuick.Controls.Basic
  ApplicationWindow {
    visible: true; width: 390; height: 844
    function show(title) { stack.push(page, { title: title }, StackView.Immediate) }
    StackView { id: stack; anchors.fill: parent; initialItem: Page { title: "Welcome" } }
    Component {
      id: page
      Page { header: Label { text: title }
        Repeater { model: stack.depth; Label { y: 60 * index; text: "Line " + index } } }
    }
  })";

/// On the thread of the user interface.
template <typename Work>
std::string there(QObject& object, Work work) {
  QMetaObject::invokeMethod(&object, work, Qt::BlockingQueuedConnection);
  return "done";
}

std::int64_t waiting() {
  return static_cast<std::int64_t>(Zarn::diagnostics().queue.bufferedEventCount);
}

zarn::testing::Orders makeOrders(QObject& window, QNetworkAccessManager& network) {
  auto orders = zarn::testing::commonOrders();
  orders["show"] = [&](const std::string& title) {
    return there(window, [&] {
      QMetaObject::invokeMethod(&window, "show", Q_ARG(QVariant, QString::fromStdString(title)));
    });
  };
  // Until the screen has been told of, which is kept while nothing is sent.
  orders["see"] = [&, show = orders["show"]](const std::string& title) {
    const auto before = waiting();
    show(title);
    return comes([&] { return waiting() > before; }) ? "done" : "no";
  };
  orders["open-link"] = [&](const std::string& url) {
    return there(window, [&] {
      QFileOpenEvent event(QUrl(QString::fromStdString(url)));
      QCoreApplication::sendEvent(qGuiApp, &event);
    });
  };
  orders["fetch"] = [&](const std::string& url) {
    QNetworkReply* reply = nullptr;
    there(window, [&] { reply = network.get(QNetworkRequest(QUrl(QString::fromStdString(url)))); });
    const auto isFinished = [&] {
      bool finished = false;
      there(window, [&] { finished = reply->isFinished(); });
      return finished;
    };
    return comes(isFinished) ? "done" : "no";
  };
  return orders;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  QGuiApplication app(argc, argv);
  zarn::desktop::describeHost({.bundleId = "com.example.qt", .dataDirectory = argv[2]});
  zarn::qt::attach(app);
  Zarn::configure("wk_test_x_qt_key", {.apiHost = argv[1]});

  QQmlApplicationEngine engine;
  engine.loadData(kWindow);
  if (engine.rootObjects().isEmpty()) return 2;
  QNetworkAccessManager network(&app);
  const auto orders = makeOrders(*engine.rootObjects().constFirst(), network);
  const std::unique_ptr<QThread> listener(QThread::create([&] {
    zarn::testing::follow(argv[3], orders);
    QMetaObject::invokeMethod(&app, &QCoreApplication::quit, Qt::QueuedConnection);
  }));
  listener->start();
  const int result = QGuiApplication::exec();
  listener->wait();
  return result;
}
