#include "qml_app.h"

#include <QFile>
#include <QQmlComponent>
#include <QTest>
#include <QWheelEvent>
#include <algorithm>

#include "base/text_arena.h"
#include "quick_scene.h"

namespace zarn::testing {

bool waitUntil(const std::function<bool()>& holds) {
  return QTest::qWaitFor(holds, 5000);
}

void turnWheel(QWindow& window, QPoint at, int angle) {
  QWheelEvent event(at, window.mapToGlobal(at), {}, {0, angle}, Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  event.setTimestamp(static_cast<quint64>(QTest::lastMouseTimestamp += 10));
  QSpontaneKeyEvent::setSpontaneous(&event);  // as from the system: Widgets pass on only those
  QCoreApplication::instance()->notify(&window, &event);
}

QmlApp::QmlApp(const Documents& documents) {
  for (const auto& [name, body] : documents) {
    QFile file(folder_.filePath(name + ".qml"));
    if (!file.open(QFile::WriteOnly)) std::abort();
    file.write("import QtQuick\nimport QtQuick.Controls\nimport QtQuick.Layouts\n" + body);
  }
  EXPECT_EQ(documents.count("Main"), 1u);
  QQmlComponent component(&engine_, QUrl::fromLocalFile(folder_.filePath("Main.qml")));
  window_ = makeWindow(component);
  window_->resize(390, 844);
  window_->show();
  EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
}

QQuickItem* QmlApp::item(const QString& name) {
  return itemNamed(window_->contentItem(), name);
}

QPoint QmlApp::middleOf(const QString& name) {
  QQuickItem* const found = item(name);
  if (found == nullptr) {
    ADD_FAILURE() << "no " << name.toStdString();
    return {};
  }
  return found->mapToScene({found->width() / 2, found->height() / 2}).toPoint();
}

void QmlApp::click(const QString& name) {
  QTest::mouseClick(window_.get(), Qt::LeftButton, {}, middleOf(name));
}

ScreenJournal::ScreenJournal(bool watchesTabs) {
  events_.listen({.appeared =
                      [this, watchesTabs](const platform::Screen& screen) {
                        seen_->push_back(nameOf(screen));
                        if (watchesTabs) watchTabsAround(screen);
                      },
                  .laidOut = [layouts = layouts_](const platform::Screen&) { ++*layouts; }});
}

std::string ScreenJournal::nameOf(const platform::Screen& screen) {
  base::TextArena arena;
  EXPECT_EQ(screen.facts().kind, platform::ScreenKind::page);
  std::vector<std::string_view> names{screen.title(arena), screen.navigationTitle(arena)};
  for (platform::Screen at = screen; at; at = at.parent()) names.push_back(at.tabTitle(arena));
  names.push_back(screen.rootTypeText(arena));
  names.push_back(screen.classText(arena));
  return std::string(
      *std::find_if(names.begin(), names.end() - 1, [](auto name) { return !name.empty(); }));
}

void ScreenJournal::watchTabsAround(const platform::Screen& screen) {
  for (platform::Screen at = screen.parent(); at; at = at.parent()) {
    if (at.facts().kind != platform::ScreenKind::tabs || tabs_.count(at.id()) > 0) continue;
    auto weak = std::make_shared<platform::WeakScreen>(at.weak());
    tabs_[at.id()] = events_.observeSelection(
        at, [this, weak](std::optional<int> former, std::optional<int> now) {
          base::TextArena arena;
          const platform::Screen tabs = weak->lock();
          ASSERT_TRUE(tabs);
          seen_->push_back("tab " + std::to_string(former.value_or(-1)) + " to " +
                           std::to_string(now.value_or(-1)) + ": " +
                           std::string(tabs.tabTitleAt(now.value_or(-1), arena)));
        });
  }
}

void ScreenJournal::expect(const std::vector<std::string>& screens) {
  waitUntil([&] { return seen_->size() >= screens.size(); });
  QTest::qWait(250);  // two looks and more: nothing else may come
  EXPECT_EQ(*seen_, screens);
}

}  // namespace zarn::testing
