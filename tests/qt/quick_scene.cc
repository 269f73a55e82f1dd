#include "quick_scene.h"

#include "qt/qml_module.h"

namespace zarn::testing {
QQuickItem* itemNamed(QQuickItem* from, const QString& name) {
  if (from->objectName() == name) return from;
  const auto children = from->childItems();
  for (QQuickItem* const child : children) {
    if (QQuickItem* const found = itemNamed(child, name)) return found;
  }
  return nullptr;
}

std::unique_ptr<QQuickWindow> makeWindow(QQmlComponent& component) {
  std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow*>(component.create()));
  if (window == nullptr) {
    ADD_FAILURE() << component.errorString().toStdString();
    std::abort();
  }
  return window;
}

QuickScene::QuickScene(const QByteArray& body) {
  static const bool isRegistered = [] {
    qt::registerQmlModule();
    qmlRegisterType<Editor>("Testing", 1, 0, "Editor");
    return true;
  }();
  static_cast<void>(isRegistered);
  QQmlComponent component(&engine_);
  component.setData(
      "import QtQuick\nimport QtQuick.Controls\nimport QtQuick.Layouts\nimport Zarn 1.0\n"
      "import Testing 1.0\nApplicationWindow { visible: true; width: 390; height: 844\n" +
          body + "\n}",
      {});
  window_ = makeWindow(component);
  EXPECT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  QCoreApplication::processEvents();
}

QQuickItem* QuickScene::item(const QString& name) {
  QQuickItem* const found = itemNamed(window_->contentItem(), name);
  EXPECT_NE(found, nullptr) << name.toStdString();
  return found;
}

}  // namespace zarn::testing
