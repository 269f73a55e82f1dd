// A window of Qt Quick for a test, from QML text, in sight when it has been made.
#pragma once

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <memory>

namespace zarn::testing {

/// By its objectName, at or below `from`; null without one.
QQuickItem* itemNamed(QQuickItem* from, const QString& name);
/// Ends the process when the document is no window.
std::unique_ptr<QQuickWindow> makeWindow(QQmlComponent& component);

/// An item that an app has written itself, into which the user can type.
class Editor : public QQuickItem {
  Q_OBJECT

 public:
  explicit Editor(QQuickItem* parent = nullptr) : QQuickItem(parent) {
    setFlag(ItemAcceptsInputMethod);
    setFlag(ItemHasContents);
  }
};

class QuickScene {
 public:
  /// `body` is what stands in the window; Qt Quick, its Controls and Layouts and `Zarn` are
  /// imported.
  explicit QuickScene(const QByteArray& body);

  QQuickWindow& window() { return *window_; }
  /// By its objectName, anywhere in the window.
  QQuickItem* item(const QString& name);

 private:
  QQmlEngine engine_;
  std::unique_ptr<QQuickWindow> window_;
};

}  // namespace zarn::testing
