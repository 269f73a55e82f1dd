// A small app of QML documents, in a window that nobody sees, and what is told of its screens.
#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "qt/screen_events.h"

namespace zarn::testing {

class QmlApp {
 public:
  using Documents = std::map<QString, QByteArray>;
  /// By their names; `Main` is the window. Qt Quick, its Controls and Layouts are imported.
  explicit QmlApp(const Documents& documents);

  QQuickWindow& window() { return *window_; }
  /// By its objectName, anywhere among the objects of the window.
  QObject* object(const QString& name) { return window_->findChild<QObject*>(name); }
  QQuickItem* item(const QString& name);
  /// Calls a function of the window.
  void call(const char* function) { QMetaObject::invokeMethod(window_.get(), function); }
  /// The middle of an item, in the window.
  QPoint middleOf(const QString& name);
  void click(const QString& name);

 private:
  QTemporaryDir folder_;
  QQmlEngine engine_;
  std::unique_ptr<QQuickWindow> window_;
};

/// Screens as a person would list them: by title, tab, or else class.
class ScreenJournal {
 public:
  explicit ScreenJournal(bool watchesTabs = false);
  /// Waits for the list, and whether nothing more comes.
  void expect(const std::vector<std::string>& screens);
  int layouts() const { return *layouts_; }

 private:
  std::string nameOf(const platform::Screen& screen);
  void watchTabsAround(const platform::Screen& screen);

  qt::QtScreenEvents events_;
  std::shared_ptr<std::vector<std::string>> seen_ = std::make_shared<std::vector<std::string>>();
  std::shared_ptr<int> layouts_ = std::make_shared<int>(0);
  std::map<std::uint64_t, std::unique_ptr<platform::Observation>> tabs_;
};

/// Turns the wheel over a place of the window.
void turnWheel(QWindow& window, QPoint at, int angle);

/// Lets the app run until this holds, but not for ever.
bool waitUntil(const std::function<bool()>& holds);

}  // namespace zarn::testing
