#include "qt/class_table.h"

#include <algorithm>
#include <iterator>

namespace zarn::qt {
namespace {

using platform::ViewKind;

// In the order of their names.
constexpr KnownClass kClasses[] = {
    {"QAbstractButton", ViewKind::button, Trait::button},
    {"QAbstractItemView", ViewKind::list, Trait::none},
    {"QAbstractScrollArea", ViewKind::scroll, Trait::none},
    {"QAbstractSlider", ViewKind::control, Trait::control},
    {"QAbstractSpinBox", ViewKind::control, Trait::spinBox},
    {"QCheckBox", ViewKind::control, Trait::button},
    {"QComboBox", ViewKind::control, Trait::comboBox},
    {"QDeclarativeGeoMap", ViewKind::map, Trait::none},
    {"QFrame", ViewKind::plain, Trait::none},
    {"QGradient", ViewKind::other, Trait::gradient},
    {"QGraphicsView", ViewKind::other, Trait::opaque},
    {"QGroupBox", ViewKind::plain, Trait::groupBox},
    {"QHeaderView", ViewKind::other, Trait::none},
    {"QLabel", ViewKind::label, Trait::label},
    {"QLineEdit", ViewKind::textField, Trait::textInput},
    {"QPlainTextEdit", ViewKind::textView, Trait::textEdit},
    {"QProgressBar", ViewKind::progress, Trait::none},
    {"QQuickAbstractAnimation", ViewKind::other, Trait::animation},
    {"QQuickAbstractButton", ViewKind::button, Trait::button},
    {"QQuickAccessibleAttached", ViewKind::other, Trait::accessible},
    {"QQuickAnimatedSprite", ViewKind::image, Trait::none},
    {"QQuickBusyIndicator", ViewKind::activityIndicator, Trait::indicator},
    {"QQuickCanvasItem", ViewKind::image, Trait::none},
    {"QQuickCheckBox", ViewKind::control, Trait::button},
    {"QQuickComboBox", ViewKind::control, Trait::comboBox},
    {"QQuickContainer", ViewKind::plain, Trait::container},
    {"QQuickControl", ViewKind::plain, Trait::control},
    {"QQuickDial", ViewKind::control, Trait::control},
    {"QQuickFlickable", ViewKind::scroll, Trait::none},
    {"QQuickGradient", ViewKind::other, Trait::gradient},
    {"QQuickGroupBox", ViewKind::plain, Trait::groupBox},
    {"QQuickImage", ViewKind::image, Trait::none},
    {"QQuickImageBase", ViewKind::image, Trait::none},
    {"QQuickItem", ViewKind::plain, Trait::item},
    {"QQuickItemDelegate", ViewKind::cell, Trait::button},
    {"QQuickItemView", ViewKind::list, Trait::itemView},
    {"QQuickMouseArea", ViewKind::plain, Trait::mouseArea},
    {"QQuickPathView", ViewKind::list, Trait::pathView},
    {"QQuickPen", ViewKind::other, Trait::pen},
    {"QQuickPopupItem", ViewKind::plain, Trait::popupItem},
    {"QQuickProgressBar", ViewKind::progress, Trait::none},
    {"QQuickRadioButton", ViewKind::control, Trait::button},
    {"QQuickRangeSlider", ViewKind::control, Trait::control},
    {"QQuickRectangle", ViewKind::plain, Trait::rectangle},
    {"QQuickShaderEffect", ViewKind::other, Trait::effect},
    {"QQuickShaderEffectSource", ViewKind::image, Trait::effect},
    {"QQuickSlider", ViewKind::control, Trait::control},
    {"QQuickSpinBox", ViewKind::control, Trait::spinBox},
    {"QQuickSpriteSequence", ViewKind::image, Trait::none},
    {"QQuickSwipeView", ViewKind::plain, Trait::pages},
    {"QQuickSwitch", ViewKind::control, Trait::button},
    {"QQuickTabBar", ViewKind::tabBar, Trait::tabBar},
    {"QQuickTableView", ViewKind::list, Trait::itemView},
    {"QQuickTapHandler", ViewKind::other, Trait::tapHandler},
    {"QQuickText", ViewKind::label, Trait::label},
    {"QQuickTextEdit", ViewKind::textView, Trait::textEdit},
    {"QQuickTextInput", ViewKind::textField, Trait::textInput},
    {"QQuickToolBar", ViewKind::navigationBar, Trait::toolBar},
    {"QQuickTumbler", ViewKind::control, Trait::control},
    {"QQuickWidget", ViewKind::other, Trait::opaque},
    {"QRadioButton", ViewKind::control, Trait::button},
    {"QScrollBar", ViewKind::plain, Trait::control},
    {"QStackedWidget", ViewKind::plain, Trait::none},
    {"QSvgWidget", ViewKind::image, Trait::none},
    {"QTabBar", ViewKind::tabBar, Trait::tabBar},
    {"QTextEdit", ViewKind::textView, Trait::textEdit},
    {"QToolBar", ViewKind::navigationBar, Trait::none},
    {"QWidget", ViewKind::plain, Trait::none},
    {"QWindowContainer", ViewKind::other, Trait::opaque},
};

// The more private comes first.
constexpr KnownClass kNameParts[] = {
    {"InputPanel", ViewKind::other, Trait::keyboard}, {"WebEngineView", ViewKind::web, Trait::none},
    {"WebView", ViewKind::web, Trait::none},          {"VideoOutput", ViewKind::media, Trait::none},
    {"VideoWidget", ViewKind::media, Trait::none},    {"MediaPlayer", ViewKind::media, Trait::none},
    {"Viewfinder", ViewKind::media, Trait::none},     {"GeoMap", ViewKind::map, Trait::none},
    {"MapView", ViewKind::map, Trait::none},
};

}  // namespace

const KnownClass* knownClass(std::string_view name) {
  static_assert(std::ranges::is_sorted(kClasses, {}, &KnownClass::name));
  const auto found = std::ranges::lower_bound(kClasses, name, {}, &KnownClass::name);
  return found != std::end(kClasses) && found->name == name ? found : nullptr;
}

const KnownClass* classNamedLike(std::string_view name) {
  const auto found = std::ranges::find_if(
      kNameParts, [&](const KnownClass& part) { return name.ends_with(part.name); });
  return found != std::end(kNameParts) ? found : nullptr;
}

}  // namespace zarn::qt
