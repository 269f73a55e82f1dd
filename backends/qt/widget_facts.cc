#include "qt/widget_facts.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QGraphicsOpacityEffect>
#include <QGroupBox>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMovie>
#include <QPicture>
#include <QPlainTextEdit>
#include <QRegularExpressionValidator>
#include <QSpinBox>
#include <QTabBar>
#include <QTextBlock>
#include <QTextEdit>
#include <QWidget>

#include "qt/class_kinds.h"
#include "qt/content_guess.h"
#include "qt/redaction.h"
#include "qt/text.h"
#include "qt/widget_effects.h"

namespace zarn::qt {
namespace {

using platform::TextContentType;
using platform::ViewFacts;
using platform::ViewKind;

template <typename T>
const T* as(const QWidget& widget) {
  return qobject_cast<const T*>(&widget);
}

/// Remembers it.
bool isSecure(QWidget& widget) {
  const auto* const field = as<QLineEdit>(widget);
  if (field == nullptr) return false;
  const ObjectNote* const note = noteOf(widget);
  if (note != nullptr && note->wasSecure) return true;
  if (field->echoMode() == QLineEdit::Normal) return false;
  noteFor(widget).wasSecure = true;
  return true;
}

/// A field may show its content by other widgets that it holds.
bool isInSecureField(QWidget& widget) {
  constexpr int kMostLevels = 4;
  QWidget* at = &widget;
  for (int level = 0; level <= kMostLevels && at != nullptr; ++level, at = at->parentWidget()) {
    if (isSecure(*at)) return true;
  }
  return false;
}

bool isMarkup(const QLabel& label, const QString& text) {
  return label.textFormat() == Qt::RichText ||
         (label.textFormat() == Qt::AutoText && Qt::mightBeRichText(text));
}

/// A label has a text or one of the others.
bool showsImage(const QLabel& label) {
  const QString text = label.text();
  if (text.isEmpty()) {
    return !label.pixmap(Qt::ReturnByValue).isNull() || label.movie() != nullptr ||
           !label.picture(Qt::ReturnByValue).isNull();
  }
  if (!text.contains(QLatin1String("<img"), Qt::CaseInsensitive) || !isMarkup(label, text)) {
    return false;
  }
  base::TextArena arena;
  return plainToArena(text, arena).empty();
}

ViewKind kindOf(const QWidget& widget, const ClassFacts& type) {
  if (const auto* label = as<QLabel>(widget)) {
    return showsImage(*label) ? ViewKind::image : type.kind;
  }
  if (const auto* combo = as<QComboBox>(widget); combo != nullptr && combo->isEditable()) {
    return ViewKind::textField;
  }
  if (type.trait == Trait::spinBox) return ViewKind::textField;
  return type.kind;
}

/// By the keyboard or an input method. What is no field but takes either may be a field that the
/// app has made itself.
bool acceptsTextInput(const QWidget& widget, const ClassFacts& type) {
  if (const auto* field = as<QLineEdit>(widget)) return !field->isReadOnly();
  if (const auto* edit = as<QTextEdit>(widget)) return !edit->isReadOnly();
  if (const auto* edit = as<QPlainTextEdit>(widget)) return !edit->isReadOnly();
  if (const auto* box = as<QAbstractSpinBox>(widget)) return !box->isReadOnly();
  if (const auto* combo = as<QComboBox>(widget)) return combo->isEditable();
  // It edits its rows in fields.
  if (type.isToolkits && as<QAbstractItemView>(widget) != nullptr) return false;
  return widget.testAttribute(Qt::WA_InputMethodEnabled);
}

double opacityOf(const QWidget& widget) {
  const auto* const effect = qobject_cast<const QGraphicsOpacityEffect*>(widget.graphicsEffect());
  const double own = effect != nullptr && effect->isEnabled() ? effect->opacity() : 1;
  return widget.isWindow() ? own * widget.windowOpacity() : own;
}

FieldHints hintsOf(const QWidget& widget) {
  FieldHints hints;
  hints.input = widget.inputMethodHints();
  const auto* const field = as<QLineEdit>(widget);
  if (field == nullptr) return hints;
  hints.mask = field->inputMask();
  hints.maximumLength = field->maxLength();
  const QValidator* const validator = field->validator();
  if (const auto* pattern = qobject_cast<const QRegularExpressionValidator*>(validator)) {
    hints.pattern = pattern->regularExpression().pattern();
  }
  hints.wantsNumber = qobject_cast<const QIntValidator*>(validator) != nullptr;
  return hints;
}

/// Labels that point to the field or stand before it.
TextContentType guessByLabels(const QWidget& widget, base::TextArena& arena) {
  const QWidget* const parent = widget.parentWidget();
  if (parent == nullptr) return TextContentType::none;
  TextContentType type = TextContentType::none;
  const QLabel* before = nullptr;
  for (const QObject* const child : parent->children()) {
    const auto* const label = qobject_cast<const QLabel*>(child);
    const bool isBefore = child == &widget && before != nullptr;
    if (isBefore) type = stricter(type, guessContentType(toArena(before->text(), arena)));
    if (label != nullptr && label->buddy() == &widget) {
      type = stricter(type, guessContentType(toArena(label->text(), arena)));
    }
    if (child->isWidgetType()) before = label;
  }
  type = stricter(type, guessContentType(toArena(parent->objectName(), arena)));
  if (!classOf(*parent).isToolkits) {
    type = stricter(type, guessContentType(classText(*parent, arena)));
  }
  return type;
}

QString placeholderOf(const QWidget& widget) {
  if (const auto* field = as<QLineEdit>(widget)) return field->placeholderText();
  if (const auto* edit = as<QTextEdit>(widget)) return edit->placeholderText();
  if (const auto* edit = as<QPlainTextEdit>(widget)) return edit->placeholderText();
  return {};
}

/// No more of a long document than a view's text holds.
std::string_view beginOf(const QTextDocument& document, base::TextArena& arena) {
  constexpr qsizetype kEnough = platform::ViewToolkit::kMaxText;
  QString text;
  for (QTextBlock block = document.begin(); block.isValid() && text.size() < kEnough;
       block = block.next()) {
    if (!text.isEmpty()) text += u'\n';
    text += block.text();
  }
  return toArena(text, arena);
}

std::string_view labelText(const QLabel& label, base::TextArena& arena) {
  const QString text = label.text();
  if (isMarkup(label, text)) return plainToArena(text, arena);
  return label.buddy() != nullptr ? labelToArena(text, arena) : toArena(text, arena);
}

}  // namespace

ViewFacts widgetFacts(QWidget& widget) {
  const ClassFacts type = classOf(widget);
  ViewFacts facts;
  facts.kind = kindOf(widget, type);
  facts.isHidden = !widget.isVisible();
  facts.alpha = opacityOf(widget);
  facts.size = {double(widget.width()), double(widget.height())};
  facts.isControl = type.trait == Trait::button || type.trait == Trait::textInput ||
                    type.kind == ViewKind::control;
  facts.isDisabled = !widget.isEnabled();
  const ObjectNote* const note = noteOf(widget);
  facts.isMarkedPrivate = type.trait == Trait::opaque || (note != nullptr && note->isPrivate) ||
                          (widget.isWindow() && isWithinPrivate(widget));
  facts.isSecureTextEntry = isSecure(widget);
  facts.acceptsTextInput = acceptsTextInput(widget, type);
  // A field that the app has made itself.
  if (facts.acceptsTextInput && facts.kind == ViewKind::plain) facts.kind = ViewKind::other;
  facts.drawsNothing = facts.kind == ViewKind::plain && type.isBare && type.trait != Trait::control;
  facts.clipsChildren = true;
  if (const auto painted = paintedByEffect(widget)) {
    facts.painted = *painted;
    facts.clipsChildren = false;
    facts.isMarkedPrivate = facts.isMarkedPrivate || holdsPrivate(widget);
  }
  return facts;
}

platform::LayerFacts widgetLayer(const QWidget& widget) {
  const ClassFacts type = classOf(widget);
  platform::LayerFacts layer;
  layer.hasVideo = type.kind == ViewKind::media;
  layer.hasShimmer = type.isPlaceholder && widget.isVisible();
  return layer;
}

TextContentType widgetContentType(QWidget& widget) {
  if (const ObjectNote* const note = noteOf(widget); note != nullptr && note->contentType) {
    return *note->contentType;
  }
  const ClassFacts type = classOf(widget);
  const ViewKind kind = kindOf(widget, type);
  if (kind != ViewKind::textField && kind != ViewKind::textView) return TextContentType::none;
  base::TextArena arena;
  TextContentType found = guessContentType(hintsOf(widget));
  const auto consider = [&](std::string_view words) {
    found = stricter(found, guessContentType(words));
  };
  consider(toArena(placeholderOf(widget), arena));
  consider(toArena(widget.objectName(), arena));
  consider(toArena(widget.accessibleName(), arena));
  consider(classText(widget, arena));
  return stricter(found, guessByLabels(widget, arena));
}

bool drawsRows(const QWidget& widget) {
  const auto* const list = as<QAbstractItemView>(widget);
  return list != nullptr && list->model() != nullptr &&
         list->model()->rowCount(list->rootIndex()) > 0;
}

std::string_view widgetText(QWidget& widget, base::TextArena& arena) {
  if (isInSecureField(widget)) return {};
  if (const auto* label = as<QLabel>(widget)) return labelText(*label, arena);
  if (const auto* button = as<QAbstractButton>(widget)) return labelToArena(button->text(), arena);
  if (const auto* field = as<QLineEdit>(widget)) return toArena(field->text(), arena);
  if (const auto* edit = as<QTextEdit>(widget)) return beginOf(*edit->document(), arena);
  if (const auto* edit = as<QPlainTextEdit>(widget)) return beginOf(*edit->document(), arena);
  if (const auto* box = as<QGroupBox>(widget)) return labelToArena(box->title(), arena);
  return {};
}

std::string_view widgetAccessibleName(QWidget& widget, base::TextArena& arena) {
  if (isInSecureField(widget)) return {};
  const QString name = widget.accessibleName();
  // As screen readers have it.
  if (name.isEmpty() && classOf(widget).trait == Trait::button) return widgetText(widget, arena);
  return toArena(name, arena);
}

}  // namespace zarn::qt
