#include "many_pages.h"

#include <unistd.h>

#include <QElapsedTimer>
#include <QMetaObject>
#include <QQuickWindow>
#include <QTest>
#include <QVariant>
#include <fstream>
#include <iostream>

namespace {

const char* const kPages[] = {"SettingsPage.qml", "ProductListPage.qml", "CheckoutPage.qml",
                              "HelpPage.qml", "OrderPage.qml"};

long residentKb() {
  long size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

bool open(QQuickWindow& window, const char* page) {
  return QMetaObject::invokeMethod(&window, "openAtOnce", Q_ARG(QVariant, QVariant(page)));
}

/// Until what has changed is in the window.
bool awaitFrame(QQuickWindow& window) {
  bool drawn = false;
  const auto connection = QObject::connect(
      &window, &QQuickWindow::frameSwapped, &window, [&] { drawn = true; }, Qt::QueuedConnection);
  window.update();
  const bool inTime = QTest::qWaitFor([&] { return drawn; });
  QObject::disconnect(connection);
  return inTime;
}

}  // namespace

bool openManyPages(QQuickWindow& window, int count) {
  for (int page = 1; page <= count; ++page) {
    if (!open(window, kPages[page % std::size(kPages)]) || !awaitFrame(window)) return false;
    if (!QMetaObject::invokeMethod(&window, "closeAtOnce")) return false;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    if (page == 1000 || page == count) {
      std::cout << page << " pages: " << residentKb() << " KB" << std::endl;
    }
  }
  return true;
}
