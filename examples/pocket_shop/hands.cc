#include "hands.h"

#include <QElapsedTimer>
#include <QQuickWindow>
#include <QTest>

#include "visit_record.h"

namespace {

constexpr int kPatienceMs = 10'000;
constexpr int kStillMs = 80;  // as long in one place counts as being at rest

template <typename Accept>
QQuickItem* search(QQuickItem& item, const Accept& accept) {
  if (!item.isVisible() || item.opacity() < 1) return nullptr;
  if (accept(item)) return &item;
  const auto children = item.childItems();
  for (auto child = children.rbegin(); child != children.rend(); ++child) {
    if (QQuickItem* found = search(**child, accept)) return found;
  }
  return nullptr;
}

}  // namespace

QQuickItem* Hands::find(const QString& name) const {
  const QRectF window(QPointF(), window_.size());
  return search(*window_.contentItem(), [&](QQuickItem& item) {
    return item.objectName() == name && window.contains(placeOf(item).center());
  });
}

/// Pages slide in the picture only: their items are where they will be from the beginning.
bool Hands::isTurning() const {
  return search(*window_.contentItem(), [](const QQuickItem& item) {
           return item.inherits("QQuickStackView") && item.property("busy").toBool();
         }) != nullptr;
}

QRectF Hands::placeOf(const QQuickItem& item) const {
  return item.mapRectToScene(QRectF(0, 0, item.width(), item.height()));
}

QQuickItem& Hands::await(const QString& name) {
  QRectF place;
  QElapsedTimer still;
  const bool found = QTest::qWaitFor(
      [&] {
        const QQuickItem* item = find(name);
        const QRectF now = item != nullptr ? placeOf(*item) : QRectF();
        if (item == nullptr || now != place || isTurning() || !still.isValid()) still.start();
        place = now;
        return item != nullptr && item->isEnabled() && still.elapsed() >= kStillMs;
      },
      kPatienceMs);
  QQuickItem* const item = found ? find(name) : nullptr;
  if (item == nullptr) throw Stuck("there is no " + name.toStdString());
  return *item;
}

void Hands::tap(const QString& name) {
  press(placeOf(await(name)).center().toPoint());
}

void Hands::press(QPoint place) {
  record_.tap();
  QTest::mouseClick(&window_, Qt::LeftButton, {}, place);
}

void Hands::type(const QString& field, const QString& text) {
  tap(field);
  for (const QChar& key : text) QTest::keyClick(&window_, key.toLatin1());
  const QString typed = await(field).property("text").toString();
  if (typed != text) throw Stuck(field.toStdString() + " did not take what was typed");
}

void Hands::scroll(const QString& name, int distance) {
  constexpr int kSteps = 12;
  QQuickItem& area = await(name);
  const QPoint from = placeOf(area).center().toPoint() + QPoint(0, distance / 2);
  QTest::mousePress(&window_, Qt::LeftButton, {}, from);
  for (int step = 1; step <= kSteps; ++step) {
    QTest::mouseMove(&window_, from - QPoint(0, distance * step / kSteps));
    QTest::qWait(16);
  }
  QTest::mouseRelease(&window_, Qt::LeftButton, {}, from - QPoint(0, distance));
  record_.scroll();
  if (!QTest::qWaitFor([&] { return !area.property("moving").toBool(); }, kPatienceMs)) {
    throw Stuck(name.toStdString() + " does not come to rest");
  }
}

void Hands::rest(std::chrono::milliseconds time) {
  if (time.count() > 0) QTest::qWait(static_cast<int>(time.count()));
}
