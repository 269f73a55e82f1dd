#include "qt/quick_facts.h"

#include <QColor>
#include <QMarginsF>
#include <QQuickItem>
#include <QQuickWindow>
#include <algorithm>

#include "qt/appearance.h"
#include "qt/redaction.h"

namespace zarn::qt {
namespace {

using platform::ViewFacts;
using platform::ViewKind;

/// Whether a list's cells are delegates of a model: those of tab bars and swipe views are not.
bool holdsCells(const QQuickItem& list) {
  const QQuickItem* const around = list.parentItem();
  if (around == nullptr) return true;
  const Trait trait = classOf(*around).trait;
  return trait != Trait::container && trait != Trait::pages && trait != Trait::tabBar;
}

ViewKind kindOfList(const QQuickItem& list) {
  const QQuickItem* const around = list.parentItem();
  if (around != nullptr && classOf(*around).trait == Trait::pages) return ViewKind::plain;
  return holdsCells(list) ? ViewKind::list : ViewKind::plain;
}

ViewKind kindOf(const QQuickItem& item, const ClassFacts& type) {
  switch (type.trait) {
    case Trait::itemView:
      return kindOfList(item);
    case Trait::toolBar:  // 0 is the header
      return type.read<int>(item, Property::position) == 0 ? type.kind : ViewKind::plain;
    case Trait::comboBox:
    case Trait::spinBox:
      return type.read<bool>(item, Property::editable) ? ViewKind::textField : type.kind;
    default:
      break;
  }
  const bool isAnything = type.kind == ViewKind::plain || type.kind == ViewKind::other;
  if ((isAnything || type.kind == ViewKind::button) && isCell(item)) return ViewKind::cell;
  // The simplest item draws nothing; a class of which only that is known, and which does, may show
  // anything.
  if (type.trait == Trait::item && (item.flags() & QQuickItem::ItemHasContents)) {
    return ViewKind::other;
  }
  return type.kind;
}

bool acceptsTextInput(const QQuickItem& item, const ClassFacts& type) {
  if (type.trait == Trait::keyboard) return true;
  if (item.flags() & QQuickItem::ItemAcceptsInputMethod) return true;
  return (type.trait == Trait::comboBox || type.trait == Trait::spinBox) &&
         type.read<bool>(item, Property::editable);
}

bool isControl(const ClassFacts& type) {
  return type.trait == Trait::button || type.trait == Trait::textInput ||
         type.kind == ViewKind::control;
}

bool hasTapGesture(const QQuickItem& item, const ClassFacts& type) {
  if (type.trait == Trait::mouseArea) return type.read<bool>(item, Property::enabled, true);
  bool hasHandler = false;
  eachHanging(item, [&](const QObject& object, const ClassFacts& hanging) {
    hasHandler =
        hanging.trait == Trait::tapHandler && hanging.read<bool>(object, Property::enabled, true);
    return !hasHandler;
  });
  return hasHandler;
}

bool drawsNothing(const QQuickItem& item, const ClassFacts& type, ViewKind kind) {
  if (kind != ViewKind::plain) return false;
  if (!(item.flags() & QQuickItem::ItemHasContents)) return true;
  return type.trait == Trait::rectangle &&
         type.read<QColor>(item, Property::color, Qt::white).alpha() == 0 &&
         quickLayer(item).borderWidth == 0;
}

constexpr qsizetype kMostHanging = 256;
bool isRunningForever(const QObject& animation, const ClassFacts& type) {
  return type.read<bool>(animation, Property::running) &&
         type.read<int>(animation, Property::loops, 1) < 0;  // for ever
}

bool showsText(const ClassFacts& type) {
  return type.trait == Trait::label || type.trait == Trait::textInput ||
         type.trait == Trait::textEdit;
}

QMarginsF paddingOf(const QQuickItem& text, const ClassFacts& type) {
  const auto read = [&](Property side) { return type.read<double>(text, side); };
  return {read(Property::leftPadding), read(Property::topPadding), read(Property::rightPadding),
          read(Property::bottomPadding)};
}

/// A text that has more to say than there is room for goes on outside of its item. Qt tells where
/// as if there were no padding.
base::Rect paintedBeyond(const QQuickItem& text, const ClassFacts& type) {
  const QRectF box(0, 0, text.width(), text.height());
  const QRectF written = text.boundingRect();
  const QMarginsF padding = paddingOf(text, type);
  const QSizeF room = box.marginsRemoved(padding).size();
  const bool isInward =
      std::min({padding.left(), padding.top(), padding.right(), padding.bottom()}) >= 0;
  const bool fits = written.width() <= room.width() && written.height() <= room.height();
  if (isInward && fits && box.contains(written)) return {};
  // How much of the padding moves it depends on its alignment.
  const QRectF painted = written.translated(padding.left(), padding.top()) |
                         written.translated(-padding.right(), -padding.bottom());
  return {painted.x(), painted.y(), painted.width(), painted.height()};
}

base::Size sizeOf(const QQuickItem& item) {
  if (!standsForWindow(item)) return {item.width(), item.height()};
  return {double(item.window()->width()), double(item.window()->height())};
}

}  // namespace

bool standsForWindow(const QQuickItem& item) {
  return item.window() != nullptr && item.window()->contentItem() == &item;
}

bool isCell(const QQuickItem& item) {
  const QQuickItem* const parent = item.parentItem();
  if (parent == nullptr) return false;
  const ClassFacts around = classOf(*parent);
  if (around.trait == Trait::pathView) return true;
  if (around.trait != Trait::item || parent->parentItem() == nullptr) return false;
  const QQuickItem& list = *parent->parentItem();
  const ClassFacts type = classOf(list);
  if (type.trait != Trait::itemView || !holdsCells(list)) return false;
  for (const Property other :
       {Property::headerItem, Property::footerItem, Property::highlightItem}) {
    if (type.read<QQuickItem*>(list, other) == &item) return false;
  }
  return type.read<QQuickItem*>(list, Property::contentItem) == parent;
}

void eachHanging(const QQuickItem& item,
                 base::FunctionRef<bool(const QObject&, const ClassFacts&)> visit) {
  const QObjectList& objects = item.children();
  const qsizetype count = std::min(objects.size(), kMostHanging);
  for (qsizetype i = 0; i < count; ++i) {
    const QObject& object = *objects[i];
    if (!object.isQuickItemType() && !visit(object, classOf(object))) return;
  }
}

bool isSecure(const QQuickItem& item, const ClassFacts& type) {
  if (type.trait != Trait::textInput) return false;
  const ObjectNote* const note = noteOf(item);
  if (note != nullptr && note->wasSecure) return true;
  if (type.read<int>(item, Property::echoMode, -1) == 0) return false;  // 0 shows it
  noteFor(const_cast<QQuickItem&>(item)).wasSecure = true;
  return true;
}

ViewFacts quickFacts(QQuickItem& item) {
  const ClassFacts type = classOf(item);
  ViewFacts facts;
  facts.kind = kindOf(item, type);
  facts.isHidden = !item.isVisible();
  facts.alpha = item.opacity();
  facts.size = sizeOf(item);
  if (showsText(type)) facts.painted = paintedBeyond(item, type);
  facts.isControl = isControl(type);
  facts.hasTapGesture = hasTapGesture(item, type);
  facts.isDisabled = !item.isEnabled();
  facts.isAnimating =
      type.trait == Trait::indicator && type.read<bool>(item, Property::running, true);
  facts.isMarkedPrivate = isMarkedPrivate(item) || showsPrivateItems(item, type);
  facts.isSecureTextEntry = isSecure(item, type);
  facts.acceptsTextInput = acceptsTextInput(item, type);
  // A field that the app has made itself.
  if (facts.acceptsTextInput && facts.kind == ViewKind::plain) facts.kind = ViewKind::other;
  facts.drawsNothing = drawsNothing(item, type, facts.kind);
  facts.clipsChildren = item.clip();
  return facts;
}

platform::LayerFacts quickLayer(const QQuickItem& item) {
  const ClassFacts type = classOf(item);
  platform::LayerFacts layer;
  layer.hasVideo = type.kind == ViewKind::media;
  bool hasGradient = false;
  bool isMoving = false;
  eachHanging(item, [&](const QObject& object, const ClassFacts& hanging) {
    hasGradient = hasGradient || hanging.trait == Trait::gradient;
    isMoving = isMoving || (hanging.trait == Trait::animation && isRunningForever(object, hanging));
    if (hanging.trait == Trait::pen && type.trait == Trait::rectangle) {
      const auto color = hanging.read<QColor>(object, Property::color, Qt::transparent);
      const auto width = hanging.read<double>(object, Property::width);
      if (color.alpha() > 0 && width > 0) {
        layer.borderWidth = width;
        layer.borderColor = toColor(color);
      }
    }
    return true;
  });
  layer.hasShimmer = item.isVisible() && (type.isPlaceholder || (hasGradient && isMoving));
  if (type.trait == Trait::rectangle)
    layer.cornerRadius = type.read<double>(item, Property::radius);
  return layer;
}

}  // namespace zarn::qt
