#include "quick_scene.h"

#include "qt/qml_module.h"

namespace zarn::testing {
namespace {

QQuickItem* find(QQuickItem* from, const QString& name) {
  if (from->objectName() == name) return from;
  const auto children = from->childItems();
  for (QQuickItem* const child : children) {
    if (QQuickItem* const found = find(child, name)) return found;
  }
  return nullptr;
}

}  // namespace

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
  window_.reset(qobject_cast<QQuickWindow*>(component.create()));
  if (window_ == nullptr) {
    ADD_FAILURE() << component.errorString().toStdString();
    std::abort();
  }
  EXPECT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
  QCoreApplication::processEvents();
}

QQuickItem* QuickScene::item(const QString& name) {
  QQuickItem* const found = find(window_->contentItem(), name);
  EXPECT_NE(found, nullptr) << name.toStdString();
  return found;
}

}  // namespace zarn::testing
